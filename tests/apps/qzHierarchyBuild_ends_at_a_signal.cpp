#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/console/qzSignals.h>
#include <apps/qzquery/scene/qzHierarchyBuild.h>
#include <doctest/doctest.h>
#include <toolkit/run/qzChildProcess.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "support/scenes/qzTestMeshes.h"

using qzToolkit::qzChildProcess;

TEST_CASE("a signal during a build by surface areas, which polls nothing, ends the process at once") {
  const qz::qzTriMesh mesh = qzTest::soupMesh(400000, 1);
  qzQuery::tOptions options;
  options.mBuilder = qzQuery::tBuilder::eSurfaceArea;
  qzChildProcess process({60, std::size_t(1) << 32}, [&](const qzChildProcess::tOutput& output) {
    qzToolkit::qzCancelToken token;
    const qzQuery::qzSignals signals(token);
    std::thread([] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the build takes many times as long
      ::kill(::getpid(), SIGINT);
    }).detach();
    char answer = 'd';
    try {
      qzQuery::buildBinaryHierarchy(mesh, options, token);
    } catch (const qzToolkit::qzInterrupted&) {
      answer = 'i';
    }
    output.write(&answer, 1);
  });
  char answer = 'x';
  CHECK_THROWS_WITH_AS(process.read(&answer, 1), "failed (Interrupt)", qzChildProcess::tFailure);
  CHECK(answer == 'x');
}
