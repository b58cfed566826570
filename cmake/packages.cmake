# The Debian packages that cpack makes: the converter, which needs no other package, the companion, and the
# development files.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR Quillory)
set(CPACK_PACKAGE_CONTACT "The Quillory engineers" CACHE STRING "The maintainer of the packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package_contents.cmake)
# Each package has its own description; cpack would put the project's above it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENTS_ALL pngslab development)
if(PNGSLAB_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL slabtool)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PNGSLAB_PACKAGE_NAME pngslab)
set(CPACK_DEBIAN_PNGSLAB_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_PNGSLAB_DESCRIPTION "Turns PNG images into surfaces that are ready to draw on
A surface file holds the decoded pixels behind a header of 20 bytes.
Programs map it and draw on it at once.")
set(CPACK_DEBIAN_SLABTOOL_PACKAGE_NAME slabtool)
set(CPACK_DEBIAN_SLABTOOL_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_SLABTOOL_PACKAGE_RECOMMENDS pngslab)
set(CPACK_COMPONENT_SLABTOOL_DESCRIPTION "Converts folders of PNG images into surface files
It checks, prepares and converts images, and describes, draws, compares
and embeds surface files. It says why pngslab rejects an image.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquillory-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# The CMake package names the converter as one of its targets.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "pngslab (= ${PROJECT_VERSION})")
# Some options of quillory_add_surfaces() need it.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS slabtool)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Surfaces, PNG and DEFLATE decoders for C++ programs
Headers, static libraries, and files for CMake and pkg-config. Builds can
make surfaces of images with them.")
include(CPack)
