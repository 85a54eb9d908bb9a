# Writes a header that defines QZ_COMMIT_ID, the first 16 digits of the commit of the sources.
#   cmake -D QZ_SOURCE_DIR=<sources> -D QZ_HEADER=<header> [-D QZ_GIT=<git>] -P qzCommitId.cmake
#
# In a checkout git knows the commit; uncommitted changes do not show. In a source archive made by git archive it is in
# cmake/commit-id.txt. Otherwise the id is sixteen zeros. The header is written only when the id has changed, so running
# this in every build causes no rebuild.
set(commit "")
if(QZ_GIT)
  # An empty prefix means that the checkout starts here, and the sources are not a folder of another repository.
  execute_process(COMMAND ${QZ_GIT} rev-parse --show-prefix WORKING_DIRECTORY ${QZ_SOURCE_DIR}
    RESULT_VARIABLE failed OUTPUT_VARIABLE prefix ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(failed EQUAL 0 AND prefix STREQUAL "")
    execute_process(COMMAND ${QZ_GIT} rev-parse --verify --quiet HEAD WORKING_DIRECTORY ${QZ_SOURCE_DIR}
      OUTPUT_VARIABLE commit ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
endif()
if(commit STREQUAL "" AND EXISTS ${QZ_SOURCE_DIR}/cmake/commit-id.txt)
  file(STRINGS ${QZ_SOURCE_DIR}/cmake/commit-id.txt commit LIMIT_COUNT 1)
endif()

if(NOT commit MATCHES "^[0-9a-f]+$")
  set(commit "")  # not filled in: the sources are no archive
endif()
string(SUBSTRING "${commit}0000000000000000" 0 16 commit)
file(CONFIGURE OUTPUT ${QZ_HEADER} CONTENT "#pragma once\n#define QZ_COMMIT_ID \"${commit}\"\n" @ONLY)
