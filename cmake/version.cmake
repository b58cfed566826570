# quillory_version: the version in tools/version.h. A change there configures the build again.
set(quillory_version "")
foreach(part Major Minor Patch)
  file(STRINGS tools/version.h number REGEX "kVersion${part} = ")
  string(REGEX MATCH "[0-9]+" number "${number}")
  list(APPEND quillory_version ${number})
endforeach()
list(JOIN quillory_version . quillory_version)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS tools/version.h)
