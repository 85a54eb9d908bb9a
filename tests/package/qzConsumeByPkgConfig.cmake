# cmake -DQZ_LIBRARY=... -DLIBDIR=<where the libraries are> -DINCLUDEDIR=... -DKIND=shared|static -DWORK=... -DPKG_CONFIG=... -P: a program
# is built with what pkg-config says about an installation, and runs. With -DSYSROOT=<folder> the installation is below that.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/abi/${QZ_LIBRARY}/expected.cmake)
set(ENV{PKG_CONFIG_LIBDIR} ${LIBDIR}/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${SYSROOT})
set(ENV{LD_LIBRARY_PATH} ${LIBDIR})
# The machine's own folders are searched anyway and would be left out.
set(ENV{PKG_CONFIG_ALLOW_SYSTEM_CFLAGS} 1)
set(ENV{PKG_CONFIG_ALLOW_SYSTEM_LIBS} 1)

set(option)
if(KIND STREQUAL "static")
  set(option --static)
endif()
qz_run(${PKG_CONFIG} ${option} --print-errors --cflags --libs "${QZ_LIBRARY} = ${expectedVersion}")
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

# A static program needs no shared library at all, if its other libraries come as static ones as well; those that
# qzMeshQueries uses do not.
if(KIND STREQUAL "static" AND QZ_LIBRARY STREQUAL "qzMeshQueries")
  list(TRANSFORM flags REPLACE "^-l((qz|Wm4).*)$" "-l:lib\\1.a")
elseif(KIND STREQUAL "static")
  list(APPEND flags -static)
endif()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
qz_run(${QZ_CXX_COMPILER} -std=c++17 -O1 ${CMAKE_CURRENT_LIST_DIR}/consumer/${QZ_LIBRARY}.cpp -o ${WORK}/consumer ${flags})
qz_check_consumer(${WORK}/consumer ${KIND})
