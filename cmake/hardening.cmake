# Checks at run time that compiler, linker and C library can add to the programs.
include(CheckCXXCompilerFlag)

set(pngslab_hardening "")
set(pngslab_stack_protector "")
if(NOT PNGSLAB_SANITIZE AND NOT WIN32 AND NOT EMSCRIPTEN)
  foreach(flag -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard -fstack-protector-strong)
    string(MAKE_C_IDENTIFIER "PNGSLAB_HAS${flag}" has)
    check_cxx_compiler_flag("-Werror ${flag}" ${has}) # some exist on one processor only
    if(${has} AND flag STREQUAL -fstack-protector-strong)
      set(pngslab_stack_protector ${flag})
    elseif(${has})
      list(APPEND pngslab_hardening ${flag})
    endif()
  endforeach()
  # The checks of the C library need the optimizer.
  list(APPEND pngslab_hardening "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

# pngslab_harden([FAST] target ...): FAST leaves out the stack protector, for libraries of the decoder. There it costs
# 1 to 3 % (SECURITY.md). The other checks cost at most 0.4 %.
function(pngslab_harden)
  cmake_parse_arguments(PARSE_ARGV 0 arg FAST "" "")
  set(flags ${pngslab_hardening})
  if(NOT arg_FAST)
    list(APPEND flags ${pngslab_stack_protector})
  endif()
  foreach(target ${arg_UNPARSED_ARGUMENTS})
    target_compile_options(${target} PRIVATE ${flags})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL EXECUTABLE AND NOT WIN32 AND NOT EMSCRIPTEN)
      target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack)
    endif()
  endforeach()
endfunction()
