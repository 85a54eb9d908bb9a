# cmake -DPACKAGE=<where the package is> -DWORK=... [-DOPTIONS=...] [-DKIND=shared|static] -P: an outside project finds
# the package, builds and runs. KIND says which kind of library it must have got.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
qz_configure(${CMAKE_CURRENT_LIST_DIR}/consumer ${WORK} -DQZ_REQUESTED_VERSION=3.0
  -DCMAKE_PREFIX_PATH=${PACKAGE} ${OPTIONS})

# The package that was found is the one under test, not another of this machine.
file(STRINGS ${WORK}/CMakeCache.txt found REGEX "^qzCommonAddOns_DIR:")
string(FIND "${found}" "=${PACKAGE}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "found the package elsewhere: ${found}")
endif()

qz_build(${WORK})
qz_check_consumer(${WORK}/consumer ${KIND})
