# cmake -DSHARED=<build> -DSTATIC=<build> -DPREFIX=... -P: installs two builds to one place, and looks for the places of
# this machine in what is there. Debug information is left out, as the places of sources belong there.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(REMOVE_RECURSE ${PREFIX})
foreach(build ${STATIC} ${SHARED})
  qz_run(${CMAKE_COMMAND} --install ${build} --strip --prefix ${PREFIX})
endforeach()
qz_check_places(${PREFIX} ${QZ_SOURCE_DIR} ${SHARED} ${STATIC} ${PREFIX})
