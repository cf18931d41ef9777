# Starts the installed studio on its sample project with --screenshot and checks that it ran and
# wrote a picture of its window.
file(REMOVE ${PICTURE})
execute_process(COMMAND ${STUDIO} --screenshot ${PICTURE} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err
                TIMEOUT 90)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed studio did not run (${rc}):\n${out}\n${err}")
endif()
if(NOT EXISTS ${PICTURE})
  message(FATAL_ERROR "the installed studio wrote no picture:\n${out}\n${err}")
endif()
file(READ ${PICTURE} signature LIMIT 8 HEX)
file(SIZE ${PICTURE} size)
if(NOT signature STREQUAL "89504e470d0a1a0a" OR size LESS 10000)
  message(FATAL_ERROR "the picture is no PNG of a window: ${signature}, ${size} bytes")
endif()
message(STATUS "studio ok: ${size} bytes")
