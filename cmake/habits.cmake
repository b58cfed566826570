# What every target of this project has in common.

# Warnings, sanitizers and include directories of one target.
function(pngslab_habits target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # What a program does not use is left out of it: it starts faster for that.
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  target_link_options(${target} PRIVATE LINKER:--gc-sections)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  # Assertions name their file as the tree does: what is built is the same wherever the tree lies.
  target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  if(PNGSLAB_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
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

# A library of every source file in one folder; what others may include is named. Static always: there is
# no promise about the binary interface.
function(pngslab_library target folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${target} STATIC ${sources})
  add_library(Quillory::${target} ALIAS ${target})
  pngslab_habits(${target})
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/${folder}/" OUTPUT_VARIABLE headers)
  set_target_properties(${target} PROPERTIES PUBLIC_HEADER "${headers}" FOLDER_OF_HEADERS ${folder})
endfunction()
