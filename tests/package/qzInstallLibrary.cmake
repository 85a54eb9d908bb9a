# cmake -DWORK=... -DOPTIONS=... [-DDEBUG_INFORMATION=ON] [-DFLAGS=...] -P: builds and installs the libraries for the
# tests that follow. FLAGS replace those of a release.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(REMOVE_RECURSE ${WORK}/prefix)
set(flags)
if(DEBUG_INFORMATION)
  set(flags "-DCMAKE_CXX_FLAGS=-g -ffile-prefix-map=${QZ_SOURCE_DIR}=.")
endif()
if(FLAGS)
  list(APPEND flags "-DCMAKE_CXX_FLAGS_RELEASE=${FLAGS}")
endif()
qz_install_libraries(${WORK} ${OPTIONS} ${flags})
