# What every target of this project has in common.

# The compiler's warnings, PRIVATE for a target's own sources, INTERFACE for those that include its headers.
function(pngslab_warnings target scope)
  target_compile_options(${target} ${scope} -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  if(PNGSLAB_WARNINGS_AS_ERRORS)
    target_compile_options(${target} ${scope} -Werror)
  endif()
endfunction()

# Warnings, sanitizers and include directories of one target.
function(pngslab_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # What a program does not use is left out of it: it starts faster for that.
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  target_link_options(${target} PRIVATE LINKER:--gc-sections)
  pngslab_warnings(${target} PRIVATE)
  # Assertions name their file as the tree does: what is built is the same wherever the tree lies.
  target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  if(PNGSLAB_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${PNGSLAB_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${PNGSLAB_SANITIZE})
  endif()
  if(PNGSLAB_COVERAGE)
    target_compile_options(${target} PRIVATE -fprofile-instr-generate -fcoverage-mapping)
    target_link_options(${target} PUBLIC -fprofile-instr-generate)
  endif()
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quillory>)
endfunction()

# A library of every source file in one folder, and its public headers. The list is kept for what installs
# and checks them. Static always: there is no promise about the binary interface.
function(pngslab_library target folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${target} STATIC ${sources})
  add_library(Quillory::${target} ALIAS ${target})
  pngslab_compile_options(${target})
  list(TRANSFORM ARGN PREPEND ${folder}/ OUTPUT_VARIABLE headers)
  set_target_properties(${target} PROPERTIES PNGSLAB_PUBLIC_HEADERS "${headers}")
endfunction()
