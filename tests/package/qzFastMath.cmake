# cmake -DPACKAGE=... -DCOMPILER=... -DFLAGS=... -DEXPECTED=<file> -DMODE=<regex> -DWORK=... -P: builds the caller with
# those flags and compares its output with that of the caller without flags. A run that is to make that file says
# -DMAKE=ON.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
set(QZ_CXX_COMPILER ${COMPILER})
qz_configure(${CMAKE_CURRENT_LIST_DIR}/fast_math ${WORK} -DCMAKE_PREFIX_PATH=${PACKAGE} "-DCMAKE_CXX_FLAGS=${FLAGS}")
qz_build(${WORK})
qz_run(${WORK}/caller)

# The mode of the processor shows that the flags reached the program; everything else must not differ.
string(REGEX MATCH "^mode [0-9a-f]+\n" mode "${QZ_OUTPUT}")
string(REGEX REPLACE "^mode [0-9a-f]+\n" "" output "${QZ_OUTPUT}")
if(NOT mode MATCHES "${MODE}")
  message(FATAL_ERROR "the caller ran in ${mode}, which is not the mode that these flags set: ${FLAGS}")
endif()
if(MAKE)
  file(WRITE ${EXPECTED} "${output}")
  return()
endif()

file(READ ${EXPECTED} expected)
if(output STREQUAL expected)
  return()
endif()
string(REPLACE "\n" ";" output "${output}")
string(REPLACE "\n" ";" expected "${expected}")
set(different)
foreach(line wanted IN ZIP_LISTS output expected)
  if(NOT line STREQUAL wanted)
    string(APPEND different "  ${line}\n    expected ${wanted}\n")
  endif()
endforeach()
message(FATAL_ERROR "results differ with ${COMPILER} ${FLAGS}:\n${different}")
