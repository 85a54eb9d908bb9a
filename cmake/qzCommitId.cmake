# Writes a header that defines QZ_COMMIT_ID, the first 16 digits of the commit that the sources come from.
#   cmake -D QZ_SOURCE_DIR=<sources> -D QZ_HEADER=<header> [-D QZ_GIT=<git>] -P qzCommitId.cmake
#
# In a checkout git says which commit it is; changes that are not committed leave no mark. In a source archive made by
# git archive it stands in cmake/commit-id.txt. Sources that came in any other way have sixteen zeros.
# The header is only touched when the id has changed, so a build that runs this every time rebuilds nothing for it.
set(commit "")
if(QZ_GIT)
  # A blank prefix means that the checkout starts here: a repository around the sources is somebody else's.
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
  set(commit "")  # not filled in: the file stands outside an archive
endif()
string(SUBSTRING "${commit}0000000000000000" 0 16 commit)
file(CONFIGURE OUTPUT ${QZ_HEADER} CONTENT "#pragma once\n#define QZ_COMMIT_ID \"${commit}\"\n" @ONLY)
