# Runs PROGRAM, which must succeed, and compares its standard output with the file RECORDED.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE output ERROR_VARIABLE error RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ends with ${result}:\n${error}")
endif()
file(READ ${RECORDED} recorded)
if(NOT output STREQUAL recorded)
  message(FATAL_ERROR "printed\n${output}\nbut recorded in ${RECORDED} is\n${recorded}")
endif()
