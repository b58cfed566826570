# Surface files as part of a build.

# quillory_add_surfaces(TARGET name IMAGES image.png ... [ROTATION 90|180|270] [ALPHA_ONLY]
#                       [OUTPUT_DIRECTORY folder])
#
# Adds the target `name`, part of the default build, which makes a surface file of every image and makes it
# again when the image or the converter changes. Relative images lie in the current source directory, and
# an image icons/a.png becomes icons/a.surface in the output directory (by default, and if it is relative,
# in the current binary directory); images from elsewhere lose their folder. The target's property
# QUILLORY_SURFACES lists the files. A build for another machine sets QUILLORY_PNGSLAB to the path of a
# converter that runs on this one.
function(quillory_add_surfaces)
  cmake_parse_arguments(PARSE_ARGV 0 arg "ALPHA_ONLY" "TARGET;ROTATION;OUTPUT_DIRECTORY" "IMAGES")
  if(arg_UNPARSED_ARGUMENTS OR arg_KEYWORDS_MISSING_VALUES OR NOT arg_TARGET OR NOT arg_IMAGES)
    message(FATAL_ERROR "quillory_add_surfaces(TARGET name IMAGES image.png ... [ROTATION 90|180|270] "
                        "[ALPHA_ONLY] [OUTPUT_DIRECTORY folder])")
  endif()
  set(options "")
  if(DEFINED arg_ROTATION)
    list(APPEND options --rotation ${arg_ROTATION})
  endif()
  if(arg_ALPHA_ONLY)
    list(APPEND options --alphaonly)
  endif()
  set(output_directory "${arg_OUTPUT_DIRECTORY}")
  cmake_path(ABSOLUTE_PATH output_directory BASE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}" NORMALIZE)

  set(surfaces "")
  foreach(image IN LISTS arg_IMAGES)
    cmake_path(ABSOLUTE_PATH image BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
    _quillory_surface_name(surface "${image}")
    cmake_path(APPEND output_directory "${surface}" OUTPUT_VARIABLE surface)
    # Two commands for one file would get in each other's way, in a parallel build without a word.
    get_property(is_taken GLOBAL PROPERTY "quillory_add_surfaces ${surface}" SET)
    if(is_taken)
      message(FATAL_ERROR "quillory_add_surfaces: ${surface} would be made twice")
    endif()
    set_property(GLOBAL PROPERTY "quillory_add_surfaces ${surface}" ON)
    list(APPEND surfaces "${surface}")
    _quillory_add_surface("${image}" "${surface}" "${options}")
  endforeach()
  add_custom_target(${arg_TARGET} ALL DEPENDS ${surfaces})
  set_target_properties(${arg_TARGET} PROPERTIES QUILLORY_SURFACES "${surfaces}")
endfunction()

# Where an image's surface lies below the output directory.
function(_quillory_surface_name name image)
  cmake_path(GET image FILENAME path)
  # The binary directory first: it mostly lies in the source directory.
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

# One command that makes one surface.
function(_quillory_add_surface image surface options)
  set(converter "$<TARGET_FILE:Quillory::pngslab>")
  set(converter_target Quillory::pngslab)
  if(QUILLORY_PNGSLAB)
    set(converter "${QUILLORY_PNGSLAB}")
    set(converter_target "${QUILLORY_PNGSLAB}")
  endif()
  set(script "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/quillory_convert.cmake")
  add_custom_command(
    OUTPUT "${surface}"
    COMMAND "${CMAKE_COMMAND}" -P "${script}" -- "${converter}" "${image}" "${surface}" ${options}
    DEPENDS "${image}" "${script}" "${converter_target}"
    COMMENT "Making ${surface}"
    VERBATIM)
endfunction()
