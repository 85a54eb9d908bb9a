#include <doctest/doctest.h>
#include <fcntl.h>
#include <toolkit/io/file/qzDescriptor.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/run/qzChildProcess.h>

#include <filesystem>
#include <set>

#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

bool isOpen(int number) {
  return ::fcntl(number, F_GETFD) >= 0;
}

/// The numbers of all files that this process has open.
std::set<int> openFiles() {
  std::set<int> numbers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    numbers.insert(std::stoi(entry.path().filename().string()));
  }
  for (auto number = numbers.begin(); number != numbers.end();) {  // not the one that lists them
    number = isOpen(*number) ? std::next(number) : numbers.erase(number);
  }
  return numbers;
}

}  // namespace

TEST_CASE("a descriptor closes its file; a moved-from one does not") {
  const int number = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  {
    qzDescriptor first(number), third;
    {
      qzDescriptor second(std::move(first));
      CHECK_FALSE(first.isOpen());
      CHECK(second.get() == number);
      third = std::move(second);
    }
    CHECK(third.get() == number);
    CHECK(isOpen(number));
  }
  CHECK_FALSE(isOpen(number));
}

TEST_CASE("standard streams stay open") {
  qzChildProcess process({10, std::size_t(1) << 30}, [](const qzChildProcess::tOutput& output) {
    for (int number : {0, 1, 2}) {
      { const qzDescriptor stream(number); }
      const char answer = isOpen(number) ? 'y' : 'n';
      output.write(&answer, 1);
    }
  });
  char answers[4] = {};
  process.read(answers, 3);
  CHECK(std::string(answers) == "yyy");
}

TEST_CASE("reading and writing leave no file open, also when they fail") {
  const TemporaryFolder folder;
  const std::string plain = folder.write("plain", "bytes"), packed = folder.write("packed.gz", gzip("bytes")),
                    cut = folder.write("cut.gz", gzip("bytes").substr(0, 12));
  const std::set<int> before = openFiles();
  writeFile(folder.path("written"), "bytes");
  CHECK(readFile(plain) == "bytes");
  CHECK(readGzipFile(packed) == "bytes");
  for (const std::string& name : {cut, plain, folder.path("")}) {
    CHECK(errorOf([&] { readGzipFile(name); }).substr(0, name.size()) == name);
  }
  CHECK(errorOf([&] { writeFile("/dev/full", "bytes"); }) != "nothing thrown");
  qzFileWriter("/dev/null", nullptr, true).append("bytes");
  CHECK(openFiles() == before);
}

TEST_CASE("started programs inherit no files") {
  const TemporaryFolder folder;
  const std::set<int> before = openFiles();
  const qzFileReader reader(folder.write("read", "bytes"));
  const qzFileWriter file(folder.path("written")), device("/dev/null", nullptr, true);
  int nbFiles = 0;
  for (int number : openFiles()) {
    if (before.count(number) != 0) continue;
    CAPTURE(number);
    CHECK((::fcntl(number, F_GETFD) & FD_CLOEXEC) != 0);
    ++nbFiles;
  }
  CHECK(nbFiles == 4);  // a device has a temporary file beside it
}
