# Makes one surface file, or none at all: the converter empties its output before it knows whether it can
# fill it, so it writes under another name, which becomes the right one at the end. Its words are shown
# only if something is wrong.
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

# The converter does not report a disk that is full; the size that it prints tells.
set(size "")
if(status EQUAL 0 AND words MATCHES "size ([0-9]+) bytes")
  file(SIZE "${unfinished}" size)
endif()
if(size STREQUAL "" OR NOT size STREQUAL CMAKE_MATCH_1)
  file(REMOVE "${unfinished}")
  message(FATAL_ERROR "No surface of ${image} (exit status ${status}):\n${words}")
endif()
file(RENAME "${unfinished}" "${surface}")
