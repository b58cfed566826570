# The files of `cmake --install`. The installed folder may be moved as a whole.
#
# The libraries have a folder of their own: names like libinflate.a are too general for a shared folder.
set(quillory_libraries ${CMAKE_INSTALL_LIBDIR}/quillory)
set(quillory_includes ${CMAKE_INSTALL_INCLUDEDIR}/quillory)
set(quillory_package ${CMAKE_INSTALL_LIBDIR}/cmake/Quillory)

set(PNGSLAB_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Where zsh looks for completions; Debian's packages have a folder of their own")

# A program's manual page, and its completions for three shells. Each shell expects another file name.
function(pngslab_install_page_and_completions program)
  install(FILES docs/man/${program}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${program})
  install(FILES completions/${program}.bash COMPONENT ${program} RENAME ${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES completions/${program}.zsh COMPONENT ${program} RENAME _${program}
          DESTINATION ${PNGSLAB_ZSH_DIR})
  install(FILES completions/${program}.fish COMPONENT ${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endfunction()

install(TARGETS pngslab EXPORT Quillory COMPONENT pngslab)
pngslab_install_page_and_completions(pngslab)
if(PNGSLAB_TOOL)
  # A separate list of targets: the libraries can be installed without the companion.
  install(TARGETS slabtool EXPORT QuillorySlabtool COMPONENT slabtool)
  install(EXPORT QuillorySlabtool NAMESPACE Quillory:: FILE QuillorySlabtoolTargets.cmake
          DESTINATION ${quillory_package} COMPONENT slabtool)
  pngslab_install_page_and_completions(slabtool)
  install(FILES ${PROJECT_BINARY_DIR}/slabtool.spdx.json DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/slabtool
          COMPONENT slabtool)
endif()

# The option parser belongs to the converter and is not installed. File sets would create the folders of the headers, but
# need CMake 3.23.
foreach(target ds_graphics inflate png_surface)
  install(TARGETS ${target} EXPORT Quillory COMPONENT development ARCHIVE DESTINATION ${quillory_libraries})
  get_target_property(headers ${target} PNGSLAB_PUBLIC_HEADERS)
  foreach(header ${headers})
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION ${quillory_includes}/${folder} COMPONENT development)
  endforeach()
endforeach()
install(TARGETS surface_reader EXPORT Quillory COMPONENT development)
install(FILES include/quillory_surface.h DESTINATION ${quillory_includes} COMPONENT development)

# The CMake package.
include(CMakePackageConfigHelpers)
write_basic_package_version_file(QuilloryConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/QuilloryConfig.cmake cmake/QuilloryAddSurfaces.cmake cmake/quillory_convert.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/QuilloryConfigVersion.cmake
        DESTINATION ${quillory_package} COMPONENT development)
install(EXPORT Quillory NAMESPACE Quillory:: FILE QuilloryTargets.cmake
        DESTINATION ${quillory_package} COMPONENT development)

# The pkg-config files. They find the libraries relative to their own place.
function(pngslab_pkg_config name target description requires)
  set(folder ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH include ${folder} ${CMAKE_INSTALL_FULL_INCLUDEDIR}/quillory)
  configure_file(cmake/quillory.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
pngslab_pkg_config(quillory-graphics ds_graphics "Surfaces in ten color modes, and drawing on them" "")
pngslab_pkg_config(quillory-inflate inflate "A resumable DEFLATE decoder" "")
pngslab_pkg_config(quillory-png png_surface "Turns PNG images into surfaces"
                   "quillory-graphics quillory-inflate")

# The documents and the files that they link to, in the folders of the tree, so that links work in both places.
set(quillory_pages ${CMAKE_INSTALL_DATAROOTDIR}/doc/quillory)
install(FILES README.md SECURITY.md CONTRIBUTING.md CHANGELOG.md DESTINATION ${quillory_pages} COMPONENT development)
install(DIRECTORY docs DESTINATION ${quillory_pages} COMPONENT development
        FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.json" PATTERN man EXCLUDE)
install(FILES bench/README.md DESTINATION ${quillory_pages}/bench COMPONENT development)
install(DIRECTORY samples DESTINATION ${quillory_pages} COMPONENT development
        FILES_MATCHING PATTERN "*.png")
install(FILES examples/draw_on_surface.cpp examples/read_surface.c examples/read_surface.py
        DESTINATION ${quillory_pages}/examples COMPONENT development)
install(DIRECTORY examples/postcard DESTINATION ${quillory_pages}/examples COMPONENT development
        PATTERN "make_*.py" EXCLUDE)
