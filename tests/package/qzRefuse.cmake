# cmake -DQZ_LIBRARY=... -DPACKAGE=... -DREQUEST=... -DREASON=<regex> -DWORK=... -P: a request that the package cannot satisfy fails with
# a message.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(REMOVE_RECURSE ${WORK})
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${WORK} -G ${QZ_GENERATOR}
    -DCMAKE_CXX_COMPILER=${QZ_CXX_COMPILER} -DQZ_LIBRARY=${QZ_LIBRARY} -DCMAKE_PREFIX_PATH=${PACKAGE} ${REQUEST}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(result EQUAL 0)
  message(FATAL_ERROR "${REQUEST} was accepted")
endif()
# With this reason and no other.
string(REGEX REPLACE "[ \n]+" " " output "${output}")
if(NOT output MATCHES "${REASON}")
  message(FATAL_ERROR "${REQUEST} was refused, but the reason does not say \"${REASON}\":\n${output}")
endif()
