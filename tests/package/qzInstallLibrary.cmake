# cmake -DWORK=... -DOPTIONS=... -P: builds and installs the library for the tests that follow.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(REMOVE_RECURSE ${WORK}/prefix)
qz_install_library(${WORK} ${OPTIONS})
