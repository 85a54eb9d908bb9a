# cmake -DLIBDIR=<where the libraries are> -DINCLUDEDIR=... -DKIND=shared|static -DWORK=... -DPKG_CONFIG=... -P: a program
# is built with what pkg-config says about an installation, and runs. With -DSYSROOT=<folder> the installation is below that.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
set(ENV{PKG_CONFIG_LIBDIR} ${LIBDIR}/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${SYSROOT})
set(ENV{LD_LIBRARY_PATH} ${LIBDIR})
# The machine's own folders are searched anyway and would be left out.
set(ENV{PKG_CONFIG_ALLOW_SYSTEM_CFLAGS} 1)
set(ENV{PKG_CONFIG_ALLOW_SYSTEM_LIBS} 1)

set(static)
if(KIND STREQUAL "static")
  set(static -static)  # for the linker: a program that needs no shared library at all
endif()
list(TRANSFORM static PREPEND - OUTPUT_VARIABLE option)
qz_run(${PKG_CONFIG} ${option} --print-errors --cflags --libs "qzCommonAddOns >= 3.0")
separate_arguments(flags UNIX_COMMAND "${QZ_OUTPUT}")

# They lead to this installation and to no other.
set(places ${flags})
list(FILTER places INCLUDE REGEX "^-[IL]")
list(TRANSFORM places REPLACE "^-[IL]" "")
foreach(place IN LISTS places)
  file(REAL_PATH ${place} place)
  if(NOT place STREQUAL INCLUDEDIR AND NOT place STREQUAL LIBDIR)
    message(FATAL_ERROR "pkg-config leads to ${place}: ${flags}")
  endif()
endforeach()
if(NOT places)
  message(FATAL_ERROR "pkg-config leads nowhere: ${flags}")
endif()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
qz_run(${QZ_CXX_COMPILER} -std=c++17 -O1 ${CMAKE_CURRENT_LIST_DIR}/consumer/consumer.cpp -o ${WORK}/consumer ${flags}
  ${static})
qz_check_consumer(${WORK}/consumer ${KIND})
