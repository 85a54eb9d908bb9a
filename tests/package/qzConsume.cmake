# cmake -DQZ_LIBRARY=... -DPACKAGE=<where the package is> -DWORK=... [-DOPTIONS=...] [-DKIND=shared|static] [-DALONE=ON]
# -P: an outside project finds the package, builds and runs. KIND says which kind of library it must have got, ALONE that
# it must do without oneTBB and Highway.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
if(ALONE)
  list(APPEND OPTIONS -DCMAKE_DISABLE_FIND_PACKAGE_TBB=ON -DCMAKE_DISABLE_FIND_PACKAGE_hwy=ON)
endif()
qz_configure(${CMAKE_CURRENT_LIST_DIR}/consumer ${WORK} -DQZ_LIBRARY=${QZ_LIBRARY}
  -DCMAKE_PREFIX_PATH=${PACKAGE} ${OPTIONS})

# The package that was found is the one under test, not another of this machine.
file(STRINGS ${WORK}/CMakeCache.txt found REGEX "^${QZ_LIBRARY}_DIR:")
string(FIND "${found}" "=${PACKAGE}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "found the package elsewhere: ${found}")
endif()

qz_build(${WORK})
qz_check_consumer(${WORK}/consumer ${KIND})
