#include <doctest/doctest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/run/qzChildProcess.h>
#include <unistd.h>

#include <filesystem>
#include <future>

#include "support/qzFileSizeLimit.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

/// Reads a named pipe to its end.
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

TEST_CASE("an existing file with the name of the temporary file is left alone") {
  const TemporaryFolder folder;
  const auto temporaryName = [&] {
    const qzFileWriter file(folder.path("new"));
    CHECK(folder.names().size() == 1);
    return *folder.names().begin();
  };
  const std::string name = temporaryName();
  CHECK(temporaryName() == name);  // so the next writer will try it first
  folder.write(name, "precious");
  writeFile(folder.path("new"), "bytes");
  CHECK(folder.read("new") == "bytes");
  CHECK(folder.read(name) == "precious");
  std::filesystem::remove(folder.path(name));
  std::filesystem::create_symlink(folder.write("elsewhere", "precious"), folder.path(name));
  writeFile(folder.path("new"), "others");
  CHECK(folder.read("new") == "others");
  CHECK(folder.read("elsewhere") == "precious");
}

TEST_CASE("a file without permission to write is not replaced, though its folder would allow it") {
  const TemporaryFolder folder;
  REQUIRE(::chmod(folder.path("").c_str(), 0777) == 0);
  REQUIRE(::chmod(folder.write("old", "precious").c_str(), 0444) == 0);
  std::string error(17, ' ');
  qzChildProcess process({10, std::size_t(1) << 30}, [&](const qzChildProcess::tOutput& output) {
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return;  // root may write everything
    const std::string text = errorOf([&] { writeFile(folder.path("old"), "bytes"); });
    output.write(text.data() + text.size() - error.size(), error.size());
  });
  process.read(error.data(), error.size());
  CHECK(error == "Permission denied");
  CHECK(folder.read("old") == "precious");
  CHECK(folder.names() == std::set<std::string>{"old"});
}

TEST_CASE("the size of a regular file is known, and a device has none") {
  const TemporaryFolder folder;
  CHECK(qzFileReader(folder.write("file", "bytes")).getSize() == 5);
  CHECK(qzFileReader("/dev/zero").getSize() == 0);
}

TEST_CASE("bytes for a pipe or device are buffered in an unlinked file") {
  const TemporaryFolder folder;
  const char* const before = ::getenv("TMPDIR");
  const std::string previous = before == nullptr ? "" : before;
  ::setenv("TMPDIR", folder.path("").c_str(), 1);
  qzFileWriter file("/dev/null", nullptr, true);
  file.append("bytes");
  CHECK(folder.names().empty());
  before == nullptr ? ::unsetenv("TMPDIR") : ::setenv("TMPDIR", previous.c_str(), 1);
}

TEST_CASE("a truncated, damaged or uncompressed gzip file is an error") {
  const TemporaryFolder folder;
  const std::string packed = gzip(std::string(5000, 'x') + "y");
  const auto error = [&](const std::string& bytes) {
    const std::string path = folder.write("file.gz", bytes);
    const std::string text = errorOf([&] { readGzipFile(path); });
    return text.substr(0, path.size() + 2) == path + ": " ? text.substr(path.size() + 2) : text;
  };
  CHECK(error(packed) == "nothing thrown");
  for (std::size_t length = 2; length < packed.size(); ++length) {
    CAPTURE(length);
    CHECK(error(packed.substr(0, length)) == "the file is cut off: the gzip data end too early");
  }
  std::string damaged = packed;
  damaged[packed.size() - 6] = static_cast<char>(damaged[packed.size() - 6] ^ 1);
  CHECK(error(damaged) == "damaged gzip data: incorrect data check");
  CHECK(error("This is a letter.") == "not a gzip file");
  CHECK(error("") == "the file is empty");
  CHECK(errorOf([&] { readGzipFile(folder.path("")); }) == folder.path("") + ": cannot be read: Is a directory");
}

TEST_CASE("on a full disk the old file and nothing else remains") {
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

TEST_CASE("a file written in blocks appears at commit, or not at all") {
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
    qzFileWriter file(folder.path(name), nullptr, true);
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

TEST_CASE("a pipe gets bytes as they are written, or at commit if they can be rewritten") {
  const TemporaryFolder folder;
  const std::string many(300000, 'x');
  for (const bool isRewritten : {false, true}) {
    const std::string pipe = folder.path(isRewritten ? "rewritten" : "plain");
    std::future<std::string> bytes = readPipe(pipe);
    qzFileWriter(pipe, nullptr, isRewritten).append("of a writer without commit");
    CHECK(bytes.get() == (isRewritten ? "" : "of a writer without commit"));
    std::filesystem::remove(pipe);
    bytes = readPipe(pipe);
    {
      qzFileWriter file(pipe, nullptr, isRewritten);
      file.append("one" + many);
      if (isRewritten) file.rewriteStart("ONE");
      file.append("two");
      file.commit();
    }
    CHECK((bytes.get() == (isRewritten ? "ONE" : "one") + many + "two"));
  }
}

TEST_CASE("a device is written directly and stays a device") {
  CHECK(errorOf([&] { writeFile("/dev/full", "x"); }) == "/dev/full: cannot be written: No space left on device");
  writeFile("/dev/null", "x");
  CHECK(std::filesystem::is_character_file("/dev/null"));
  CHECK(std::filesystem::is_character_file("/dev/full"));
}

TEST_CASE("a file that cannot be written or read is named with the reason") {
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
