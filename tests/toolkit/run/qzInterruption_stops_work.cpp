// A signal is for a whole process and stays, so each of these runs in one of its own.

#include <doctest/doctest.h>
#include <toolkit/inspect/qzMeshReport.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/mesh/qzMeshFile.h>
#include <toolkit/run/qzChildProcess.h>
#include <toolkit/run/qzInterruption.h>
#include <toolkit/run/qzThreads.h>

#include <atomic>
#include <csignal>
#include <functional>

#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using qzToolkit::qzChildProcess;
using qzToolkit::qzInterruption;

namespace {

/// The answer of function in a process of its own, or what became of that.
std::string apart(const std::function<char()>& function) {
  qzChildProcess process({10, std::size_t(1) << 30}, [&](const qzChildProcess::tOutput& output) {
    const char answer = function();
    output.write(&answer, 1);
  });
  char answer;
  try {
    process.read(&answer, 1);
  } catch (const qzChildProcess::tFailure& failure) {
    return failure.what();
  }
  return std::string(1, answer);
}

/// "i" when work is given up after a signal, "d" when it is done.
std::string outcomeAfterSignal(const std::function<void()>& work, int signal = SIGINT) {
  return apart([&] {
    qzInterruption::CatchSignals();
    std::raise(signal);
    try {
      work();
    } catch (const qzToolkit::qzInterrupted&) {
      return 'i';
    }
    return 'd';
  });
}

}  // namespace

TEST_CASE("each of three signals asks to stop, and another one does not") {
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) CHECK(outcomeAfterSignal(qzToolkit::checkInterruption, signal) == "i");
  CHECK(outcomeAfterSignal(qzToolkit::checkInterruption, SIGWINCH) == "d");
  CHECK(qzInterruption::Signal() == 0);
  CHECK_FALSE(qzInterruption().isCanceled());
}

TEST_CASE("the signal is known by its number, and a builder hears of it") {
  CHECK(apart([] {
          qzInterruption::CatchSignals();
          if (qzInterruption::Signal() != 0 || qzInterruption().isCanceled()) return 'x';
          std::raise(SIGTERM);
          return qzInterruption::Signal() == SIGTERM && qzInterruption().isCanceled() ? 'y' : 'n';
        }) == "y");
}

TEST_CASE("what the process was started to ignore stays ignored") {
  CHECK(apart([] {
          std::signal(SIGHUP, SIG_IGN);
          qzInterruption::CatchSignals();
          std::raise(SIGHUP);
          return qzInterruption::Signal() == 0 ? 'y' : 'n';
        }) == "y");
}

TEST_CASE("without CatchSignals a signal ends the process, and so it does around work that cannot be stopped") {
  CHECK(apart([] {
          const qzToolkit::qzSuddenInterruption sudden;
          std::raise(SIGINT);
          return 'x';
        }) == "broke down (Interrupt)");
  CHECK(apart([] {
          qzInterruption::CatchSignals();
          const qzToolkit::qzSuddenInterruption sudden;
          std::raise(SIGTERM);
          return 'x';
        }) == "broke down (Terminated)");
  CHECK(outcomeAfterSignal([] { const qzToolkit::qzSuddenInterruption sudden; }) == "i");
  CHECK(apart([] {
          qzInterruption::CatchSignals();
          { const qzToolkit::qzSuddenInterruption sudden; }
          std::raise(SIGINT);
          return qzInterruption::Signal() == SIGINT ? 'y' : 'n';
        }) == "y");
}

TEST_CASE("a file that was to be written is as it was, and nothing lies beside it") {
  const TemporaryFolder folder;
  folder.write("old", "old bytes");
  CHECK(outcomeAfterSignal([&] { qzToolkit::writeFile(folder.path("old"), "new bytes"); }) == "i");
  CHECK(outcomeAfterSignal([&] { qzToolkit::writeFile(folder.path("new"), "new bytes"); }) == "i");
  CHECK(folder.read("old") == "old bytes");
  CHECK(folder.names() == std::set<std::string>{"old"});
}

TEST_CASE("reading, looking through a mesh and loops on threads stop") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(2);
  const std::string plain = folder.write("mesh.obj", asObj(mesh)), packed = folder.write("m.obj.gz", gzip(asObj(mesh))),
                    foreign = folder.write("mesh.off", asOff(mesh));
  for (const std::string& name : {plain, packed, foreign}) {
    INFO(name);
    CHECK(outcomeAfterSignal([&] { qzToolkit::loadMesh(name); }) == "i");
  }
  CHECK(outcomeAfterSignal([&] { qzToolkit::readFile(plain); }) == "i");
  CHECK(outcomeAfterSignal([&] { qzToolkit::inspectMesh(mesh); }) == "i");
  CHECK(outcomeAfterSignal([&] { qzToolkit::qzThreads(1).forEachBlock(10, 1, [](std::size_t, std::size_t) {}); }) ==
        "i");
}
