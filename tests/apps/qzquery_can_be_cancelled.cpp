#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/picture/qzRenderer.h>
#include <apps/qzquery/scene/qzHierarchyBuild.h>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <toolkit/io/mesh/qzMeshFile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzCancelAt.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

/// Runs a command line in this process; false when it is interrupted.
bool isDone(std::vector<std::string> arguments, const CancelAt& cancel) {
  qzQuery::tOptions options;
  CLI::App app;
  qzQuery::addCommands(app, options, cancel);
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
  try {
    app.parse(arguments);
  } catch (const qzToolkit::qzInterrupted&) {
    return false;
  }
  return true;
}

template <class tFunction>
bool isInterrupted(const tFunction& function) {
  try {
    function();
  } catch (const qzToolkit::qzInterrupted&) {
    return true;
  }
  return false;
}

std::string lastLine(const std::string& text) {
  return text.substr(text.rfind('\n', text.size() - 2) + 1);
}

}  // namespace

TEST_CASE("a signal while waiting for rays ends the program by that signal, with one line and no file") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", asObj(gridMesh(2)));
  folder.write("old.csv", "old bytes");
  const std::set<std::string> before = folder.names();
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    for (const std::string hits : {"old.csv", "new.csv", "new.npy"}) {
      INFO(signal, " ", hits);
      const Outcome outcome =
          runQueryUntil("index: ", signal, {"cast", mesh, "-", "-o", folder.path(hits)}, "0,0,2,0,0,-1\n");
      CHECK(outcome.exitCode == -signal);
      CHECK(lastLine(outcome.error) == "qzquery: interrupted\n");
      CHECK(folder.names() == before);
      CHECK(folder.read("old.csv") == "old bytes");
    }
  }
}

TEST_CASE("a signal while the mesh is read or the picture is rendered ends the program likewise") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", asObj(gridMesh(2))), pipe = folder.path("pipe.obj");
  REQUIRE(::mkfifo(pipe.c_str(), 0600) == 0);
  const std::set<std::string> before = folder.names();
  const int endOfPipe = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);  // never at its end, as a writer remains
  REQUIRE(endOfPipe >= 0);
  REQUIRE(::write(endOfPipe, "v 0 0 0\n", 8) == 8);
  const Outcome reading = runQueryUntilRead(endOfPipe, SIGTERM, {"info", pipe});
  ::close(endOfPipe);
  CHECK(reading.exitCode == -SIGTERM);
  CHECK(reading.error == "qzquery: interrupted\n");
  const Outcome rendering = runQueryUntil(
      "index: ", SIGINT, {"render", mesh, "-o", folder.path("a.png"), "--size", "8192x8192", "--samples", "16"}, "");
  CHECK(rendering.exitCode == -SIGINT);
  CHECK(lastLine(rendering.error) == "qzquery: interrupted\n");
  CHECK(folder.names() == before);
}

TEST_CASE("reading, building and rendering each poll while they work, and stop at any poll") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.obj", asObj(gridMesh(30)));
  const CancelAt never;
  const qz::qzTriMesh mesh = qzToolkit::loadMesh(name, &never);
  CHECK(never.nbPolls() > 1800);  // the triangles
  CHECK(isInterrupted([&] { qzToolkit::loadMesh(name, &static_cast<const CancelAt&>(CancelAt(never.nbPolls()))); }));

  qzQuery::tOptions options;
  const CancelAt neverInBuild;
  CHECK(qzQuery::buildBinaryHierarchy(mesh, options, neverInBuild).getNbNodes() > 100);
  CHECK(neverInBuild.nbPolls() > 10);
  for (long poll = 1; poll <= neverInBuild.nbPolls(); ++poll) {
    CAPTURE(poll);
    CHECK(isInterrupted([&] { qzQuery::buildBinaryHierarchy(mesh, options, CancelAt(poll)); }));
  }
  options.mBuilder = qzQuery::tBuilder::eSurfaceArea;  // polls before it begins only
  CHECK(isInterrupted([&] { qzQuery::buildBinaryHierarchy(mesh, options, CancelAt(1)); }));

  options = {};
  qzToolkit::qzHierarchy hierarchy;
  qzQuery::buildHierarchy(mesh, options, never, hierarchy);
  const auto camera = qzToolkit::qzCamera::Frame(mesh, {0, -1, 1}, qzToolkit::qzCamera::eUpZ, 1.0);
  const auto cast = [&](const qzToolkit::qzRay* rays, std::size_t count, qzToolkit::qzHit* hits) {
    hierarchy.castRays(rays, count, qzQBVH::eIntersectBothFaces, hits);
  };
  const qzQuery::qzRenderer renderer(mesh, cast, hierarchy, {camera}, qzToolkit::qzCamera::eUpZ,
                                     qzQuery::tShading::eFacing);
  struct tRows : qzToolkit::qzProgress {
    std::atomic<std::size_t> count{0};
    void advance(std::size_t rows) override { count += rows; }
  };
  const qzQuery::qzSheet sheet(64, 64, 1);
  qzQuery::qzRenderer::tStatistics statistics;
  const auto render = [&](const CancelAt& cancel) {
    tRows rows;
    const bool isGivenUp =
        isInterrupted([&] { renderer.render(sheet, 1, qzToolkit::qzThreads(1), cancel, rows, statistics); });
    return std::pair(isGivenUp, rows.count.load());
  };
  CHECK(render(never) == std::pair(false, std::size_t(64)));
  CHECK(render(CancelAt(8)).first);
  CHECK(render(CancelAt(8)).second == 28);  // seven blocks of four rows, one at a time
}

TEST_CASE("cancelled at any poll from start to end, cast and render write no file") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", asObj(gridMesh(4)));
  const std::string rays = folder.write("rays.csv", "0,0,2,0,0,-1\n0,0,2,0,0,1\n");
  const std::set<std::string> before = folder.names();
  const std::vector<std::string> commands[] = {
      {"cast", mesh, rays, "-o", folder.path("hits.csv"), "--quiet"},
      {"cast", mesh, rays, "-o", folder.path("hits.npy"), "--quiet", "--builder", "sah"},
      {"cast", mesh, rays, "-o", folder.path("hits.npy"), "--quiet", "--all", "--quality", "best"},
      {"render", mesh, "-o", folder.path("a.png"), "--depth", folder.path("a.npy"), "--size", "9x9", "--quiet"},
      {"render", mesh, "-o", folder.path("a.png"), "--shading", "cost", "--size", "9x9", "--turntable", "3",
       "--quiet"}};
  for (const std::vector<std::string>& command : commands) {
    CAPTURE(command[0]);
    const CancelAt never;
    CHECK(isDone(command, never));
    CHECK(folder.names() != before);
    for (const std::string& made : folder.names()) {
      if (before.count(made) == 0) std::remove(folder.path(made).c_str());
    }
    CHECK(never.nbPolls() > 50);
    for (long poll = 1; poll <= never.nbPolls(); ++poll) {
      CAPTURE(poll);
      CHECK_FALSE(isDone(command, CancelAt(poll)));
      CHECK(folder.names() == before);
    }
  }
}
