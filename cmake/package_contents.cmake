# cpack runs this on the folders of the packages before it packs them. It adds what Debian's policy asks for beyond the
# installed files.
set(gzip gzip -9 --no-name --force)

# A section of CHANGELOG.md ("## version - date" and a list) as an entry of a Debian changelog.
function(debian_entry package section out)
  string(REGEX MATCH "^## ([0-9.]+) - ([0-9-]+)\n\n(.*)" _ "${section}")
  set(version ${CMAKE_MATCH_1})
  set(day ${CMAKE_MATCH_2})
  string(REGEX REPLACE "(^|\n)- " "\\1* " items "${CMAKE_MATCH_3}")
  string(STRIP "${items}" items)
  string(REPLACE "\n" "\n  " items "${items}")
  execute_process(COMMAND date --utc --rfc-email --date=${day} OUTPUT_VARIABLE date
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(contact "${CPACK_PACKAGE_CONTACT}")
  if(NOT contact MATCHES "<")
    string(APPEND contact " <>") # Debian's form needs an address
  endif()
  set(${out} "${package} (${version}) unstable; urgency=medium\n\n  ${items}\n\n -- ${contact}  ${date}\n"
      PARENT_SCOPE)
endfunction()

# CHANGELOG.md as the changelog of a package.
function(write_changelog package folder)
  file(READ ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md changes)
  string(ASCII 1 semicolon) # stands for those of the text: semicolons divide CMake's lists
  string(REPLACE ";" ${semicolon} changes "${changes}")
  string(REPLACE "\n## " "\n;## " sections "${changes}")
  list(POP_FRONT sections) # the title
  set(text "")
  foreach(section IN LISTS sections)
    debian_entry(${package} "${section}" entry)
    string(APPEND text "${entry}\n")
  endforeach()
  string(REPLACE ${semicolon} ";" text "${text}")
  string(STRIP "${text}" text)
  string(APPEND text "\n")
  file(WRITE ${folder}/changelog "${text}")
  execute_process(COMMAND ${gzip} ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX})
  write_changelog(${package} ${root}/share/doc/${package})
  file(GLOB pages ${root}/share/man/man1/*.1)
  if(pages)
    execute_process(COMMAND ${gzip} ${pages} COMMAND_ERROR_IS_FATAL ANY)
  endif()
  # Compilers write their name into each file.
  file(GLOB_RECURSE binaries ${root}/bin/* ${root}/lib/*.a)
  execute_process(COMMAND strip --strip-debug --enable-deterministic-archives --remove-section=.comment
                          --remove-section=.note ${binaries} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
# lintian takes a static position-independent program for a library without prerequisites.
set(overrides ${CPACK_TEMPORARY_DIRECTORY}/pngslab${CPACK_PACKAGING_INSTALL_PREFIX}/share/lintian/overrides/pngslab)
file(WRITE ${overrides} "pngslab: shared-library-lacks-prerequisites [usr/bin/pngslab]\n")

# All users may read the folders and the new files, whatever the umask of the build.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}" DIRECTORY_PERMISSIONS
     OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
file(GLOB_RECURSE compressed ${CPACK_TEMPORARY_DIRECTORY}/*.gz)
file(CHMOD ${compressed} ${overrides} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
