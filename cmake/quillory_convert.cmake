# Makes one surface file, or none: the converter empties its output before it has checked the image, so it writes under
# another name, and the file is renamed at the end. The converter's messages are shown only if it fails.
#
#     cmake -P quillory_convert.cmake -- CONVERTER IMAGE.png SURFACE [more options of the converter]
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE 4 ${last})
  list(APPEND arguments "${CMAKE_ARGV${i}}")
endforeach()
list(POP_FRONT arguments converter image surface)

cmake_path(GET surface PARENT_PATH folder)
file(MAKE_DIRECTORY "${folder}")
set(unfinished "${surface}.unfinished")
execute_process(COMMAND "${converter}" --image "${image}" --output "${unfinished}" ${arguments}
                RESULT_VARIABLE status OUTPUT_VARIABLE words ERROR_VARIABLE words)

# The converter does not report a full disk; the size that it prints shows it.
set(size "")
if(status EQUAL 0 AND words MATCHES "size ([0-9]+) bytes")
  file(SIZE "${unfinished}" size)
endif()
if(size STREQUAL "" OR NOT size STREQUAL CMAKE_MATCH_1)
  file(REMOVE "${unfinished}")
  message(FATAL_ERROR "No surface of ${image} (exit status ${status}):\n${words}")
endif()
file(RENAME "${unfinished}" "${surface}")
