#include <doctest/doctest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "docs/qzMarkdown.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

namespace {

bool isShell(const qzTest::Block& block) {
  return block.language == "sh" && qzTest::valueOf(block.mark, "file").empty();
}

// The commands of a page in order, except those marked as not run.
std::string commandsOf(const std::string& page) {
  std::string commands;
  for (const qzTest::Block& block : qzTest::blocksOf(page)) {
    if (isShell(block) && qzTest::valueOf(block.mark, "not run").empty()) commands += block.text;
  }
  return commands;
}

struct Ending {
  int exitCode;
  std::string output;  // both streams, each command before its output
};

Ending runInShell(const qzTest::TemporaryFolder& folder, const std::string& commands) {
  folder.write("commands.sh", "PATH='" QZ_PROGRAM_DIRS "':$PATH\nset -exo pipefail\n" + commands);
  const std::string command = "cd '" + folder.path("") + "' && bash commands.sh < /dev/null > commands.log 2>&1";
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("commands.log")};
}

// The files that commands of the pages may use: a compressed mesh, and rays.
void fill(const qzTest::TemporaryFolder& folder) {
  folder.write("bike.obj.gz", qzTest::gzip(qzTest::asObj(qzTest::gridMesh(16))));
  folder.write("rays.csv", "0,0,5,0,0,-1\n1,2,5,0,0,-1\n");
}

}  // namespace

TEST_CASE("the commands of every page run in a folder with a mesh and rays") {
  int nbPages = 0;
  for (const std::string& page : qzTest::pages()) {
    const std::string commands = commandsOf(page);
    if (commands.empty()) continue;
    const qzTest::TemporaryFolder folder;
    fill(folder);
    const Ending ending = runInShell(folder, commands);
    CAPTURE(page);
    CAPTURE(ending.output);
    CHECK(ending.exitCode == 0);
    ++nbPages;
  }
  CHECK(nbPages > 0);
}

TEST_CASE("a command that fails, and a missing one, are noticed") {
  const qzTest::TemporaryFolder folder;
  fill(folder);
  CHECK(runInShell(folder, "qzquery info bike.obj.gz\n").exitCode == 0);
  CHECK(runInShell(folder, "qzquery info bicycle.obj.gz\nqzquery info bike.obj.gz\n").exitCode == 2);
  CHECK(runInShell(folder, "qzanswer bike.obj.gz\ntrue\n").exitCode == 127);
}

TEST_CASE("scripts that commands name exist, even if the commands are not run") {
  int nbScripts = 0;
  for (const std::string& page : qzTest::pages()) {
    for (const qzTest::Block& block : qzTest::blocksOf(page)) {
      if (!isShell(block)) continue;
      std::istringstream words(block.text);
      for (std::string word; words >> word;) {
        if (word.compare(0, 7, "script/") != 0) continue;
        CAPTURE(page);
        CAPTURE(word);
        const auto status = std::filesystem::status(QZ_SOURCE_DIR "/" + word);
        CHECK(std::filesystem::is_regular_file(status));
        CHECK((status.permissions() & std::filesystem::perms::owner_exec) != std::filesystem::perms::none);
        ++nbScripts;
      }
    }
  }
  CHECK(nbScripts > 0);
}

TEST_CASE("a block that is not run says why, and no other mark is misspelt") {
  for (const std::string& page : qzTest::pages()) {
    for (const qzTest::Block& block : qzTest::blocksOf(page)) {
      if (block.mark.empty()) continue;
      CAPTURE(page);
      CAPTURE(block.line);
      CAPTURE(block.mark);
      CHECK((!qzTest::valueOf(block.mark, "not run").empty() || !qzTest::valueOf(block.mark, "file").empty()));
    }
  }
}
