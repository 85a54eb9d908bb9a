# cmake -DQZ_LIBRARY=... -DWORK=... -P: a project takes the sources in, by add_subdirectory and by FetchContent.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
qz_configure(${CMAKE_CURRENT_LIST_DIR}/embedder ${WORK} -DCMAKE_BUILD_TYPE=
  -DQZ_SOURCE_DIR=${QZ_SOURCE_DIR} -DQZ_BY=add_subdirectory -DQZ_LIBRARY=${QZ_LIBRARY})
qz_build(${WORK})
qz_check_consumer(${WORK}/consumer shared)

# The same folder again, so that nothing of the library is compiled a second time.
qz_run(${CMAKE_COMMAND} ${WORK} -DQZ_BY=FetchContent)
file(REMOVE ${WORK}/consumer)
qz_build(${WORK})
qz_check_consumer(${WORK}/consumer shared)
