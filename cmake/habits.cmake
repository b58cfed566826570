# What every target of this project has in common.

# Warnings, float rules and include directories of one target.
function(pngslab_habits target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # What a program does not use is left out of it: it starts faster for that.
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  target_link_options(${target} INTERFACE LINKER:--gc-sections)
  # Float results are pinned bit by bit, so products and sums are never contracted.
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -ffp-contract=off)
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
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/pngslab>)
endfunction()

# A library of every source file in one folder.
function(pngslab_library target folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
  add_library(${target} ${sources})
  pngslab_habits(${target})
endfunction()
