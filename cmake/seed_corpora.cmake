# The seeds of all fuzzers, in one folder for each in the build folder. The archives have the layout that public fuzzing
# services use.
set(pngslab_seeds ${PROJECT_BINARY_DIR}/seeds)

# pngslab_unpack_seeds() fills that folder. A changed archive configures the build again.
function(pngslab_unpack_seeds)
  file(GLOB archives CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/corpus/*_seed_corpus.zip)
  file(REMOVE_RECURSE ${pngslab_seeds})
  foreach(archive ${archives})
    cmake_path(GET archive STEM name)
    string(REPLACE _seed_corpus "" name ${name})
    file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${pngslab_seeds}/${name})
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${archives})
endfunction()
