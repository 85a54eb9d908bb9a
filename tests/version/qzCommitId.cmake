# Where a build finds its commit id: in a checkout, in a source archive, and in neither.
#   cmake -D QZ_SOURCE_DIR=<sources> -D QZ_WORK_DIR=<scratch> -D QZ_GIT=<git> -P qzCommitId.cmake
set(header ${QZ_WORK_DIR}/qzCommitId.h)
set(sources ${QZ_WORK_DIR}/sources)

function(git)
  execute_process(COMMAND ${QZ_GIT} -c user.name=Nobody -c user.email=nobody@example.com -c commit.gpgsign=false ${ARGN}
    WORKING_DIRECTORY ${QZ_WORK_DIR} COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output ERROR_QUIET
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(output ${output} PARENT_SCOPE)
endfunction()

function(look_up git)
  execute_process(COMMAND ${CMAKE_COMMAND} -D QZ_SOURCE_DIR=${sources} -D QZ_HEADER=${header} -D QZ_GIT=${git}
    -P ${QZ_SOURCE_DIR}/cmake/qzCommitId.cmake COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(expect id what)
  file(READ ${header} text)
  if(NOT text STREQUAL "#pragma once\n#define QZ_COMMIT_ID \"${id}\"\n")
    message(SEND_ERROR "${what}: expected ${id} in\n${text}")
  endif()
endfunction()

# The project's own file is ready to be filled in, or has been.
file(STRINGS ${QZ_SOURCE_DIR}/cmake/commit-id.txt text)
if(NOT text STREQUAL "$Format:%H$" AND NOT text MATCHES "^[0-9a-f]+$")
  message(SEND_ERROR "cmake/commit-id.txt says '${text}'")
endif()

# A checkout with one commit.
file(REMOVE_RECURSE ${QZ_WORK_DIR})
file(WRITE ${sources}/cmake/commit-id.txt "$Format:%H$\n")
file(COPY ${QZ_SOURCE_DIR}/.gitattributes DESTINATION ${sources})
git(init -q sources)
git(-C sources add -A)
git(-C sources commit -q -m one)
git(-C sources rev-parse HEAD)
set(commit ${output})
string(SUBSTRING ${commit} 0 16 id)
look_up(${QZ_GIT})
expect(${id} "in a checkout")

# Nothing has changed: the header is left alone.
file(TIMESTAMP ${header} before)
execute_process(COMMAND ${CMAKE_COMMAND} -E sleep 1.1)
look_up(${QZ_GIT})
file(TIMESTAMP ${header} after)
if(NOT before STREQUAL after)
  message(SEND_ERROR "the header was written again though the commit is the same")
endif()

# A change that is not committed leaves no mark; the next commit does.
file(WRITE ${sources}/new.txt "new")
look_up(${QZ_GIT})
expect(${id} "with changes that are not committed")
git(-C sources add -A)
git(-C sources commit -q -m two)
git(-C sources rev-parse HEAD)
string(SUBSTRING ${output} 0 16 second)
look_up(${QZ_GIT})
expect(${second} "after another commit")

# A source archive has its commit id without git, also inside another project's checkout.
git(-C sources archive --format=tar --prefix=sources/ -o ${QZ_WORK_DIR}/archive.tar ${commit})
file(REMOVE_RECURSE ${sources})
file(ARCHIVE_EXTRACT INPUT ${QZ_WORK_DIR}/archive.tar DESTINATION ${QZ_WORK_DIR})
look_up("")
expect(${id} "in a source archive")
git(init -q .)
git(add -A)
git(commit -q -m theirs)
look_up(${QZ_GIT})
expect(${id} "in a source archive within a foreign checkout")

# Neither: no id was filled in, or the file is missing.
file(WRITE ${sources}/cmake/commit-id.txt "$Format:%H$\n")
look_up("")
expect(0000000000000000 "in bare sources")
file(REMOVE_RECURSE ${sources}/cmake)
look_up(${QZ_GIT})
expect(0000000000000000 "without the file")
