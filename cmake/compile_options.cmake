# Compile options of every target of this project.

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
  # Unused functions are removed from a program, so it starts faster.
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  target_link_options(${target} PRIVATE LINKER:--gc-sections)
  pngslab_warnings(${target} PRIVATE)
  # Assertions name files relative to the tree, so the build does not depend on the place of the tree.
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

# A library of all source files in one folder, with its public headers. Installation and checks use the list of headers.
# Always static: the binary interface may change.
function(pngslab_library target folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${target} STATIC ${sources})
  add_library(Quillory::${target} ALIAS ${target})
  pngslab_compile_options(${target})
  list(TRANSFORM ARGN PREPEND ${folder}/ OUTPUT_VARIABLE headers)
  set_target_properties(${target} PROPERTIES PNGSLAB_PUBLIC_HEADERS "${headers}")
endfunction()
