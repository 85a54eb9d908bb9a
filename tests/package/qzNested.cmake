# What the scripts of this folder share: commands that must succeed, and small projects configured from scratch.
#
# The variables QZ_SOURCE_DIR, QZ_GENERATOR, QZ_CXX_COMPILER and QZ_LAUNCHER come from the command line.

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

# qz_install_library(work option...): the library alone, built in work/build and installed to work/prefix.
function(qz_install_library work)
  qz_configure(${QZ_SOURCE_DIR} ${work}/build
    -DQZ_BUILD_TESTS=OFF -DQZ_BUILD_APPS=OFF -DQZ_BUILD_BENCHMARKS=OFF
    -DCMAKE_INSTALL_PREFIX=${work}/prefix -DCMAKE_INSTALL_LIBDIR=lib ${ARGN})
  qz_build(${work}/build --target qzCommonAddOns)
  qz_run(${CMAKE_COMMAND} --install ${work}/build)
endfunction()
