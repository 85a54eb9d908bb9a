# cmake -DPACKAGE=... -DVERSION=... -DWORK=... -P: a project that asks for another major version is told so.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(REMOVE_RECURSE ${WORK})
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${WORK} -G ${QZ_GENERATOR}
    -DCMAKE_CXX_COMPILER=${QZ_CXX_COMPILER} -DCMAKE_PREFIX_PATH=${PACKAGE} -DQZ_REQUESTED_VERSION=${VERSION}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(result EQUAL 0)
  message(FATAL_ERROR "version ${VERSION} was accepted")
endif()
# Refused for its version, and not for some other reason.
foreach(expected "considered but not" "version: 3\\.0\\.0")
  if(NOT output MATCHES "${expected}")
    message(FATAL_ERROR "version ${VERSION} was refused, but the reason does not say \"${expected}\":\n${output}")
  endif()
endforeach()
