#include <apps/qzquery/qzScene.h>
#include <doctest/doctest.h>
#include <toolkit/run/qzChildProcess.h>
#include <toolkit/run/qzInterruption.h>

#include <csignal>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

TEST_CASE("a signal while rays are awaited ends the program by that signal, with one line and no file") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", asObj(gridMesh(2)));
  folder.write("old.csv", "old bytes");
  const std::set<std::string> before = folder.names();
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    for (const std::string hits : {"old.csv", "new.csv", "new.npy"}) {
      INFO(signal, " ", hits);
      const Outcome outcome =
          runQueryUntil("hierarchy: ", signal, {"cast", mesh, "-", "-o", folder.path(hits)}, "0,0,2,0,0,-1\n");
      CHECK(outcome.exitCode == -signal);
      CHECK(outcome.error.substr(outcome.error.rfind('\n', outcome.error.size() - 2) + 1) == "qzquery: interrupted\n");
      CHECK(folder.names() == before);
      CHECK(folder.read("old.csv") == "old bytes");
    }
  }
}

TEST_CASE("a build stops where the library asks, whichever builder it is") {
  const qz::qzTriMesh mesh = gridMesh(8);
  for (const auto builder : {qzQuery::tBuilder::eLinear, qzQuery::tBuilder::eSurfaceArea}) {
    qzQuery::tOptions options;
    options.mBuilder = builder;
    for (const bool isAsked : {false, true}) {
      qzToolkit::qzChildProcess process({10, std::size_t(1) << 30}, [&](const qzToolkit::qzChildProcess::tOutput& out) {
        char answer = 'i';
        qzToolkit::qzInterruption::CatchSignals();
        if (isAsked) std::raise(SIGINT);
        try {
          answer = qzQuery::buildBinaryHierarchy(mesh, options).getNbNodes() > 1 ? 'd' : 'x';
        } catch (const qzToolkit::qzInterrupted&) {
        }
        out.write(&answer, 1);
      });
      char answer;
      process.read(&answer, 1);
      CHECK(answer == (isAsked ? 'i' : 'd'));
    }
  }
}
