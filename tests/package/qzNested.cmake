# What the scripts of this folder share: commands that must succeed, and small projects configured from scratch.
#
# The variables QZ_SOURCE_DIR, QZ_GENERATOR, QZ_CXX_COMPILER, QZ_LAUNCHER, QZ_READELF and QZ_WITH_MESHQUERIES come from
# the command line. So does QZ_LIBRARY where a script is about one of the libraries, qzCommonAddOns or qzMeshQueries.

cmake_minimum_required(VERSION 3.25)

function(qz_run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " line)
    message(FATAL_ERROR "failed with ${result}: ${line}\n${output}")
  endif()
  set(QZ_OUTPUT "${output}" PARENT_SCOPE)
endfunction()

# qz_configure(source build option...): from scratch, with the compiler that the tests are built with.
function(qz_configure source build)
  file(REMOVE_RECURSE ${build})
  set(options -G ${QZ_GENERATOR} -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=${QZ_CXX_COMPILER})
  if(QZ_LAUNCHER)
    list(APPEND options -DCMAKE_CXX_COMPILER_LAUNCHER=${QZ_LAUNCHER})
  endif()
  qz_run(${CMAKE_COMMAND} -S ${source} -B ${build} ${options} ${ARGN})
endfunction()

function(qz_build build)
  qz_run(${CMAKE_COMMAND} --build ${build} --parallel 2 ${ARGN})
endfunction()

# qz_install_libraries(work option...): the libraries alone, built in work/build and installed to work/prefix.
function(qz_install_libraries work)
  set(targets qzCommonAddOns)
  if(QZ_WITH_MESHQUERIES)
    list(APPEND targets qzMeshQueries)
  endif()
  qz_configure(${QZ_SOURCE_DIR} ${work}/build
    -DQZ_BUILD_TESTS=OFF -DQZ_BUILD_APPS=OFF -DQZ_BUILD_BENCHMARKS=OFF -DQZ_BUILD_MESHQUERIES=${QZ_WITH_MESHQUERIES}
    -DCMAKE_INSTALL_PREFIX=${work}/prefix -DCMAKE_INSTALL_LIBDIR=lib ${ARGN})
  qz_build(${work}/build --target ${targets})
  qz_run(${CMAKE_COMMAND} --install ${work}/build)
endfunction()

# qz_check_consumer(program [shared|static]): the consumer of QZ_LIBRARY runs, with the right answers, and with that kind
# of library.
function(qz_check_consumer program)
  qz_run(${program})
  if(NOT QZ_OUTPUT MATCHES "all right\n$")
    message(FATAL_ERROR "the consumer printed: ${QZ_OUTPUT}")
  endif()
  if(ARGN)
    qz_run(${QZ_READELF} -d ${program})
    set(kind static)
    if(QZ_OUTPUT MATCHES "NEEDED[^\n]*lib${QZ_LIBRARY}\\.so\\.[0-9]+")
      set(kind shared)
    endif()
    if(NOT kind STREQUAL ARGN)
      message(FATAL_ERROR "linked with the ${kind} library:\n${QZ_OUTPUT}")
    endif()
  endif()
endfunction()

# qz_check_places(tree place...): no file of the tree names one of these places.
function(qz_check_places tree)
  list(TRANSFORM ARGN PREPEND --regexp= OUTPUT_VARIABLE places)
  execute_process(COMMAND grep --recursive --fixed-strings --files-with-matches ${places} ${tree}
    OUTPUT_VARIABLE found RESULT_VARIABLE result)
  if(NOT result EQUAL 1)
    message(FATAL_ERROR "these files name a place of this machine, ${ARGN}:\n${found}")
  endif()
endfunction()
