# Run by cpack on what will be a package: its folders are for all to read, whatever the umask of whoever
# makes it. (The files' modes do not depend on that.)
file(CHMOD_RECURSE "${CPACK_TEMPORARY_DIRECTORY}" DIRECTORY_PERMISSIONS
     OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
