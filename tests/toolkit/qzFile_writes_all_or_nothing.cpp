#include <doctest/doctest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <toolkit/qzFile.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

/// While it lives, a file that grows beyond size cannot be written, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : mPreviousHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &mPrevious);
    const rlimit limit = {size, mPrevious.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &mPrevious);
    std::signal(SIGXFSZ, mPreviousHandler);
  }

 private:
  rlimit mPrevious;
  void (*mPreviousHandler)(int);
};

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
