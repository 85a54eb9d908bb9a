# cmake -DWORK=... -P: installs the foreign family, builds and installs the libraries for it with its adapter, builds a
# program of the family on top and runs it. Compiled with -O1 and for one instruction set, which is enough to show that
# members and results fit.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
set(foreign ${CMAKE_CURRENT_LIST_DIR}/foreign)

file(REMOVE_RECURSE ${WORK}/prefix)
set(quickly "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DHWY_COMPILE_ONLY_STATIC")
qz_configure(${foreign}/platform ${WORK}/siblings ${quickly} -DCMAKE_INSTALL_PREFIX=${WORK}/prefix -DCMAKE_INSTALL_LIBDIR=lib)
qz_build(${WORK}/siblings)
qz_run(${CMAKE_COMMAND} --install ${WORK}/siblings)

qz_install_libraries(${WORK} ${quickly}
  -DQZ_PLATFORM=system -DQZ_PLATFORM_ADAPTER=${foreign}/qzForeignAdapter.h -DCMAKE_PREFIX_PATH=${WORK}/prefix)
if(EXISTS ${WORK}/build/platform)
  message(FATAL_ERROR "the stand-ins were built beside the family's own libraries")
endif()

qz_configure(${foreign}/program ${WORK}/program ${quickly} -DCMAKE_PREFIX_PATH=${WORK}/prefix)
qz_build(${WORK}/program)
qz_run(${WORK}/program/foreign_program)
if(NOT QZ_OUTPUT MATCHES "test cases: +[1-9]")
  message(FATAL_ERROR "the program tested nothing:\n${QZ_OUTPUT}")
endif()
