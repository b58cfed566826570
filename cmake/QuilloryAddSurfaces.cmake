# Surface files as part of a build.

# quillory_add_surfaces(TARGET name IMAGES image.png ... [ROTATION 90|180|270] [ALPHA_ONLY]
#                       [OUTPUT_DIRECTORY folder]
#                       [MODE mode] [DITHER kind] [BACKGROUND #RRGGBB] [PALETTE] [EMBED])
#
# Adds the target `name` to the default build. It makes a surface file of every image, and makes it again when the
# image, the options or the converter change. Relative images are found in the current source directory. The image
# icons/a.png becomes icons/a.surface in the output directory. That is the current binary directory by default, and
# relative folders are relative to it. Images from other places lose their folder. The target's property
# QUILLORY_SURFACES lists the files.
#
# The options of the last line are options of `slabtool convert`. If one of them is given, slabtool makes the surfaces,
# otherwise pngslab does. EMBED makes the target a library to link, with the surfaces as arrays; its header is name.h.
# A build for another machine sets QUILLORY_PNGSLAB and QUILLORY_SLABTOOL to the paths of programs that run on this
# machine.
function(quillory_add_surfaces)
  cmake_parse_arguments(PARSE_ARGV 0 arg "ALPHA_ONLY;PALETTE;EMBED"
                        "TARGET;ROTATION;OUTPUT_DIRECTORY;MODE;DITHER;BACKGROUND" "IMAGES")
  if(arg_UNPARSED_ARGUMENTS OR arg_KEYWORDS_MISSING_VALUES OR NOT arg_TARGET OR NOT arg_IMAGES)
    message(FATAL_ERROR "quillory_add_surfaces(TARGET name IMAGES image.png ... [ROTATION 90|180|270] "
                        "[ALPHA_ONLY] [OUTPUT_DIRECTORY folder] [MODE mode] [DITHER kind] "
                        "[BACKGROUND #RRGGBB] [PALETTE] [EMBED])")
  endif()
  set(options "")
  foreach(word IN ITEMS MODE DITHER BACKGROUND ROTATION)
    if(DEFINED arg_${word})
      string(TOLOWER "${word}" option)
      list(APPEND options --${option} "${arg_${word}}")
    endif()
  endforeach()
  if(arg_ALPHA_ONLY)
    list(APPEND options --alphaonly)
  endif()
  if(arg_PALETTE)
    list(APPEND options --palette)
  endif()
  set(program pngslab)
  if(DEFINED arg_MODE OR DEFINED arg_DITHER OR DEFINED arg_BACKGROUND OR arg_PALETTE OR arg_EMBED)
    set(program slabtool)
  endif()
  _quillory_program(command dependency ${program})
  set(output_directory "${arg_OUTPUT_DIRECTORY}")
  cmake_path(ABSOLUTE_PATH output_directory BASE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}" NORMALIZE)
  # Written only if it changes: make does not see a change of options.
  set(options_file "${CMAKE_CURRENT_BINARY_DIR}/CMakeFiles/${arg_TARGET}.surface_options")
  file(CONFIGURE OUTPUT "${options_file}" CONTENT "${options}\n" @ONLY)

  set(surfaces "")
  foreach(image IN LISTS arg_IMAGES)
    cmake_path(ABSOLUTE_PATH image BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
    _quillory_surface_name(surface "${image}")
    cmake_path(APPEND output_directory "${surface}" OUTPUT_VARIABLE surface)
    # Two commands for one file would overwrite each other's output, in a parallel build without a message.
    get_property(is_taken GLOBAL PROPERTY "quillory_add_surfaces ${surface}" SET)
    if(is_taken)
      message(FATAL_ERROR "quillory_add_surfaces: ${surface} would be made twice")
    endif()
    set_property(GLOBAL PROPERTY "quillory_add_surfaces ${surface}" ON)
    list(APPEND surfaces "${surface}")
    cmake_language(CALL _quillory_add_surface_by_${program} "${image}" "${surface}" "${options}"
                   "${command}" "${dependency};${options_file}")
  endforeach()
  if(arg_EMBED)
    _quillory_embed(${arg_TARGET} "${surfaces}" "${command}" "${dependency}")
  else()
    add_custom_target(${arg_TARGET} ALL DEPENDS ${surfaces})
  endif()
  set_target_properties(${arg_TARGET} PROPERTIES QUILLORY_SURFACES "${surfaces}")
endfunction()

# The command line of a program, and the file that changes with it.
function(_quillory_program command dependency program)
  string(TOUPPER "QUILLORY_${program}" path)
  if(${path})
    set(${command} "${${path}}" PARENT_SCOPE)
    set(${dependency} "${${path}}" PARENT_SCOPE)
    return()
  endif()
  if(NOT TARGET Quillory::${program})
    message(FATAL_ERROR "quillory_add_surfaces: MODE, DITHER, BACKGROUND, PALETTE and EMBED need slabtool. "
                        "Install it beside the libraries, or build the tree with PNGSLAB_TOOL, or set "
                        "${path} to its path.")
  endif()
  set(${command} "$<TARGET_FILE:Quillory::${program}>" PARENT_SCOPE)
  set(${dependency} Quillory::${program} PARENT_SCOPE)
endfunction()

# The path of an image's surface below the output directory.
function(_quillory_surface_name name image)
  cmake_path(GET image FILENAME path)
  # The binary directory first: it is usually inside the source directory.
  foreach(folder "${CMAKE_CURRENT_BINARY_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
    cmake_path(IS_PREFIX folder "${image}" NORMALIZE is_below)
    if(is_below)
      cmake_path(RELATIVE_PATH image BASE_DIRECTORY "${folder}" OUTPUT_VARIABLE path)
      break()
    endif()
  endforeach()
  if(NOT path MATCHES "\\.png$")
    message(FATAL_ERROR "quillory_add_surfaces: the name of ${image} does not end in .png")
  endif()
  string(REGEX REPLACE "\\.png$" ".surface" path "${path}")
  set(${name} "${path}" PARENT_SCOPE)
endfunction()

# A command that makes one surface.
function(_quillory_add_surface_by_pngslab image surface options command dependencies)
  set(script "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/quillory_convert.cmake")
  add_custom_command(
    OUTPUT "${surface}"
    COMMAND "${CMAKE_COMMAND}" -P "${script}" -- "${command}" "${image}" "${surface}" ${options}
    DEPENDS "${image}" "${script}" ${dependencies}
    COMMENT "Making ${surface}"
    VERBATIM)
endfunction()

# Likewise. One command for all images is quicker where all are made: 0.5 s instead of 5 s (ninja) or 13 s (make)
# for 500 images of 32 x 32 pixels; after a change of one image, both ways take 0.1 s to 0.3 s. But it would fail
# where another call writes into the same output directory, and its command line would exceed the system's limit
# of 128 KiB at about a thousand images. mkdir takes a third of what `cmake -E make_directory` does.
function(_quillory_add_surface_by_slabtool image surface options command dependencies)
  cmake_path(GET surface PARENT_PATH folder)
  cmake_path(REPLACE_EXTENSION surface LAST_ONLY palette OUTPUT_VARIABLE palette)
  add_custom_command(
    OUTPUT "${surface}"
    COMMAND mkdir -p "${folder}"
    COMMAND "${command}" convert --quiet ${options} "${image}" "${surface}"
    DEPENDS "${image}" ${dependencies}
    COMMENT "Making ${surface}"
    VERBATIM)
  # Only indexed images have one.
  if("--palette" IN_LIST options)
    set_property(DIRECTORY APPEND PROPERTY ADDITIONAL_CLEAN_FILES "${palette}")
  endif()
endfunction()

# A library with the surfaces. Its source compiles as C and as C++.
function(_quillory_embed target surfaces command dependency)
  get_property(languages GLOBAL PROPERTY ENABLED_LANGUAGES)
  if("C" IN_LIST languages)
    set(language C)
  elseif("CXX" IN_LIST languages)
    set(language CXX)
  else()
    message(FATAL_ERROR "quillory_add_surfaces: EMBED needs the language C or CXX")
  endif()
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/${target}_embedded")
  set(files "${folder}/${target}.h" "${folder}/${target}.c")
  add_custom_command(
    OUTPUT ${files}
    COMMAND mkdir -p "${folder}"
    COMMAND "${command}" embed -o "${folder}/${target}" ${surfaces}
    DEPENDS ${surfaces} "${dependency}"
    COMMENT "Embedding the surfaces of ${target}"
    VERBATIM)
  set_source_files_properties(${files} PROPERTIES LANGUAGE ${language})
  add_library(${target} STATIC ${files})
  target_include_directories(${target} INTERFACE "${folder}")
endfunction()
