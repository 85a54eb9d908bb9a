#include <doctest/doctest.h>
#include <sys/stat.h>
#include <toolkit/io/file/qzFile.h>
#include <unistd.h>

#include <filesystem>
#include <future>

#include "support/qzFileSizeLimit.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

/// A reader of everything that comes out of a pipe with a name.
std::future<std::string> readPipe(const std::string& name) {
  REQUIRE(::mkfifo(name.c_str(), 0600) == 0);
  return std::async(std::launch::async, [name] { return readFile(name); });
}

}  // namespace

TEST_CASE("a file is read and written byte for byte, whatever its size") {
  const TemporaryFolder folder;
  for (std::size_t size : {std::size_t(0), std::size_t(1), std::size_t(4096), std::size_t(3000001)}) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * i % 251);
    writeFile(folder.path("file"), bytes);
    CHECK(folder.read("file") == bytes);
    CHECK(readFile(folder.path("file")) == bytes);
    CHECK(readGzipFile(folder.write("file.gz", gzip(bytes + "x"))) == bytes + "x");
  }
  CHECK(folder.names() == std::set<std::string>{"file", "file.gz"});
}

TEST_CASE("writing replaces a file, keeps its permissions and follows a link to it") {
  const TemporaryFolder folder;
  folder.write("file", "old and longer");
  REQUIRE(::chmod(folder.path("file").c_str(), 0640) == 0);
  std::filesystem::create_symlink("file", folder.path("link"));
  writeFile(folder.path("link"), "new");
  CHECK(folder.read("file") == "new");
  CHECK(std::filesystem::is_symlink(folder.path("link")));
  struct stat status;
  REQUIRE(::stat(folder.path("file").c_str(), &status) == 0);
  CHECK((status.st_mode & 07777) == 0640);
  CHECK(folder.names() == std::set<std::string>{"file", "link"});
}

TEST_CASE("when the disk is full, the old file stays and nothing is left beside it") {
  const TemporaryFolder folder;
  folder.write("old", "old");
  for (const char* name : {"old", "new"}) {
    const std::string path = folder.path(name);
    const FileSizeLimit limit(1000);
    CHECK(errorOf([&] { writeFile(path, std::string(2000, 'x')); }) == path + ": cannot be written: File too large");
  }
  CHECK(folder.read("old") == "old");
  CHECK(folder.names() == std::set<std::string>{"old"});
}

TEST_CASE("a file written bit by bit appears with the commit, or not at all") {
  const TemporaryFolder folder;
  folder.write("old", "old");
  for (const char* name : {"old", "new"}) {
    {
      qzFileWriter file(folder.path(name));
      file.append("never");
      file.append(" seen");
    }
    CHECK(folder.names() == std::set<std::string>{"old"});
    const std::string path = folder.path(name);
    {
      const FileSizeLimit limit(1000);
      qzFileWriter file(path);
      for (int i = 0; i < 9; ++i) file.append(std::string(100, 'x'));
      CHECK(errorOf([&] { file.append(std::string(200, 'x')); }) == path + ": cannot be written: File too large");
    }
    CHECK(folder.read("old") == "old");
    CHECK(folder.names() == std::set<std::string>{"old"});
  }
  for (const char* name : {"old", "new"}) {
    qzFileWriter file(folder.path(name), true);
    file.append("one, ");
    file.append("two");
    file.rewriteStart("ONE");
    file.append(", three");
    CHECK(folder.names().size() == 2);  // the old one and a temporary one
    file.commit();
    CHECK(folder.read(name) == "ONE, two, three");
  }
  CHECK(folder.names() == std::set<std::string>{"new", "old"});
}

TEST_CASE("a pipe gets bytes as they are written, and rewritten ones with the commit") {
  const TemporaryFolder folder;
  const std::string many(300000, 'x');
  for (const bool isRewritten : {false, true}) {
    const std::string pipe = folder.path(isRewritten ? "rewritten" : "plain");
    std::future<std::string> bytes = readPipe(pipe);
    qzFileWriter(pipe, isRewritten).append("of a writer without commit");
    CHECK(bytes.get() == (isRewritten ? "" : "of a writer without commit"));
    std::filesystem::remove(pipe);
    bytes = readPipe(pipe);
    {
      qzFileWriter file(pipe, isRewritten);
      file.append("one" + many);
      if (isRewritten) file.rewriteStart("ONE");
      file.append("two");
      file.commit();
    }
    CHECK((bytes.get() == (isRewritten ? "ONE" : "one") + many + "two"));
  }
}

TEST_CASE("a device is written to as it stands and stays what it is") {
  CHECK(errorOf([&] { writeFile("/dev/full", "x"); }) == "/dev/full: cannot be written: No space left on device");
  writeFile("/dev/null", "x");
  CHECK(std::filesystem::is_character_file("/dev/null"));
  CHECK(std::filesystem::is_character_file("/dev/full"));
}

TEST_CASE("what cannot be written or read is named with the reason") {
  const TemporaryFolder folder;
  const std::string nowhere = folder.path("missing/file");
  CHECK(errorOf([&] { writeFile(nowhere, "x"); }) == nowhere + ": cannot be written: No such file or directory");
  CHECK(errorOf([&] { writeFile(folder.path(""), "x"); }) == folder.path("") + ": cannot be written: Is a directory");
  CHECK(errorOf([&] { readFile(nowhere); }) == nowhere + ": cannot be opened: No such file or directory");
  CHECK(errorOf([&] { readFile(folder.path("")); }) == folder.path("") + ": cannot be read: Is a directory");
  const std::string strange = folder.path("two\nlines");
  CHECK(errorOf([&] { readFile(strange); }) ==
        folder.path("two lines") + ": cannot be opened: No such file or directory");
}

TEST_CASE("the extension is what follows the last dot, in lower case") {
  CHECK(fileExtension("bike.obj") == "obj");
  CHECK(fileExtension("/some.where/bike.OBJ.GZ") == "gz");
  CHECK(fileExtension("/some.where/bike") == "");
  CHECK(fileExtension("-") == "");
}
