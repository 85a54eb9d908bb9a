#include <doctest/doctest.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <toolkit/run/qzChildProcess.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <new>
#include <numeric>
#include <vector>

#include "support/qzTemporaryFolder.h"

using qzTest::TemporaryFolder;
using qzToolkit::qzChildProcess;

namespace {

using Work = std::function<void(const qzChildProcess::tOutput&)>;

constexpr qzChildProcess::tLimits kLimits{10, std::size_t(1) << 30};

/// What the failure says when one byte is asked of work, which gives none.
std::string failureOf(const Work& work, const qzChildProcess::tLimits& limits = kLimits) {
  qzChildProcess process(limits, work);
  char byte;
  try {
    process.read(&byte, 1);
  } catch (const qzChildProcess::tFailure& failure) {
    return failure.what();
  }
  return "none";
}

}  // namespace

TEST_CASE("all bytes that the child writes arrive") {
  std::vector<int> expected(1000000), found(expected.size());
  std::iota(expected.begin(), expected.end(), 0);
  qzChildProcess process(kLimits, [&](const qzChildProcess::tOutput& output) {
    output.write(expected.data(), expected.size() * sizeof(int));
  });
  process.read(found.data(), 4);
  process.read(found.data() + 1, (found.size() - 1) * sizeof(int));
  CHECK(found == expected);
  char byte;
  CHECK_THROWS_AS(process.read(&byte, 1), qzChildProcess::tFailure);
}

TEST_CASE("a child that fails reports how") {
  CHECK(failureOf([](const auto&) {}) == "failed");
  CHECK(failureOf([](const auto&) { throw 1; }) == "failed");
  CHECK(failureOf([](const auto&) { std::exit(0); }) == "failed");
  CHECK(failureOf([](const auto&) { std::raise(SIGSEGV); }) == "failed (Segmentation fault)");
  CHECK(failureOf([](const auto&) { std::abort(); }) == "failed (Aborted)");
}

TEST_CASE("a child that loops fails at its time limit") {
  const auto loop = [](const auto&) {
    for (volatile unsigned i = 0;; i = i + 1) {  // may wrap around
    }
  };
  CHECK(failureOf(loop, {1, kLimits.mMemory}) == "exceeded its time limit");
}

TEST_CASE("a child can allocate up to its memory limit and no more") {
  const auto takes = [](std::size_t size) {
    return [size](const qzChildProcess::tOutput& output) {
      const char answer = std::malloc(size) != nullptr ? 'y' : 'n';
      output.write(&answer, 1);
    };
  };
  const qzChildProcess::tLimits limits{10, std::size_t(256) << 20};
  for (std::size_t megabytes : {64u, 1024u}) {
    CAPTURE(megabytes);
    char answer = 'n';  // a sanitizer may end the process instead of giving a null pointer
    try {
      qzChildProcess(limits, takes(megabytes << 20)).read(&answer, 1);
    } catch (const qzChildProcess::tFailure&) {
    }
    CHECK(answer == (megabytes == 64 ? 'y' : 'n'));
  }
}

TEST_CASE("memory of the parent does not count against the limit") {
  const std::size_t size = std::size_t(1) << 29;  // asked for, but never touched
  const std::unique_ptr<void, decltype(&std::free)> taken(std::malloc(size), &std::free);
  REQUIRE(taken != nullptr);
  qzChildProcess process({10, std::size_t(256) << 20}, [](const qzChildProcess::tOutput& output) {
    const char answer = std::malloc(std::size_t(64) << 20) != nullptr ? 'y' : 'n';
    output.write(&answer, 1);
  });
  char answer = 'n';
  process.read(&answer, 1);
  CHECK(answer == 'y');
}

TEST_CASE("a child that crashes leaves no core file") {
  rlimit before;
  REQUIRE(::getrlimit(RLIMIT_CORE, &before) == 0);
  const rlimit most = {before.rlim_max, before.rlim_max};
  REQUIRE(::setrlimit(RLIMIT_CORE, &most) == 0);
  qzChildProcess process(kLimits, [](const qzChildProcess::tOutput& output) {
    rlimit limit;
    ::getrlimit(RLIMIT_CORE, &limit);
    output.write(&limit.rlim_cur, sizeof limit.rlim_cur);
  });
  ::setrlimit(RLIMIT_CORE, &before);
  rlim_t size = 1;
  process.read(&size, sizeof size);
  CHECK(size == 0);
}

TEST_CASE("signals end the work whatever this process does about them") {
  const auto before = std::signal(SIGTERM, SIG_IGN);
  CHECK(failureOf([](const auto&) { std::raise(SIGTERM); }) == "failed (Terminated)");
  std::signal(SIGTERM, before);
}

TEST_CASE("no file stays open and no process is left") {
  const auto nbOpenFiles = [] {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  const auto before = nbOpenFiles();
  for (int i = 0; i < 3; ++i) {
    CHECK(failureOf([](const auto&) {}) == "failed");
    const qzChildProcess unread(kLimits, [](const auto&) {});
  }
  CHECK(nbOpenFiles() == before);
  CHECK(::waitpid(-1, nullptr, WNOHANG) < 0);  // there is none to wait for
}

TEST_CASE("what the work says on standard output or standard error is not seen") {
  const TemporaryFolder folder;
  const int file = ::open(folder.write("said", "").c_str(), O_WRONLY | O_CLOEXEC);
  for (int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    std::fflush(nullptr);
    const int previous = ::dup(stream);
    ::dup2(file, stream);
    const std::string failure = failureOf([stream](const auto&) {
      if (::write(stream, "words", 5) == 5) std::raise(SIGABRT);
    });
    ::dup2(previous, stream);
    ::close(previous);
    CHECK(failure == "failed (Aborted)");
  }
  ::close(file);
  CHECK(folder.read("said").empty());
}

TEST_CASE("what the work changes stays with it") {
  int number = 1;
  char byte = 0;
  qzChildProcess process(kLimits, [&](const qzChildProcess::tOutput& output) {
    number = 2;
    output.write(&byte, 1);
  });
  process.read(&byte, 1);
  CHECK(number == 1);
}

TEST_CASE("the destructor kills the child") {
  pid_t pid = 0;
  {
    qzChildProcess process(kLimits, [](const qzChildProcess::tOutput& output) {
      const pid_t own = ::getpid();
      output.write(&own, sizeof own);
      ::pause();
    });
    process.read(&pid, sizeof pid);
    CHECK(::kill(pid, 0) == 0);
  }
  CHECK(::kill(pid, 0) != 0);
}
