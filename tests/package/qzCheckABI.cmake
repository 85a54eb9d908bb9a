# cmake -DLIBRARY=<file> -DABIDW=... -DABIDIFF=... -DGZIP=... -DABI=<folder> -DWORK=... [-DRECORD=ON] -P: compares names,
# signatures and layouts of everything exported with the record, by libabigail. RECORD writes the record.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
set(record ${ABI}/interface.abi)

if(NOT EXISTS ${ABIDW} OR NOT EXISTS ${ABIDIFF})
  message(STATUS "skipped: abidw and abidiff are missing, script/bootstrap installs abigail-tools")
  return()
endif()
if(RECORD)
  qz_run(${ABIDW} --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed --no-parameter-names
    --no-write-default-sizes --exported-interfaces-only --out-file ${record} ${LIBRARY})
  qz_run(${GZIP} -9 --no-name --force ${record})
  message(STATUS "recorded ${record}.gz")
  return()
endif()

file(MAKE_DIRECTORY ${WORK})
file(COPY ${record}.gz DESTINATION ${WORK})
qz_run(${GZIP} --decompress --force ${WORK}/interface.abi.gz)
execute_process(COMMAND ${ABIDIFF} --exported-interfaces-only ${WORK}/interface.abi ${LIBRARY}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "abidiff ended with ${result}:\n${output}\n"
    "If that is meant: cmake --build <build> --target qz_record_abi, and a line in CHANGELOG.md")
endif()
message(STATUS "the same interface as recorded")
