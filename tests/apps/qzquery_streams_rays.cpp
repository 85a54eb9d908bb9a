#include <doctest/doctest.h>

#include <csignal>

#include "apps/qzProcess.h"
#include "support/qzFileSizeLimit.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

const std::string kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
const std::string kNames = "distance,triangle,weight0,weight1,weight2\n", kMiss = "inf,-1,nan,nan,nan\n";

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

}  // namespace

TEST_CASE("rays in a pipe are answered as they arrive") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kTriangle);
  for (const char* threads : {"1", "2", "5"}) {
    const Outcome outcome =
        converse({"cast", mesh, "-", "-o", "-", "--quiet", "--threads", threads},
                 {{"x,y,z,x,y,z\n0.25,0.25,1,0,0,-1\n", 2}, {"9,9,1,0,0,-1\n0.25,0.2", 3}, {"5,2,0,0,-1", 3}});
    CHECK(outcome.exitCode == 0);
    CHECK(outcome.error.empty());
    CHECK(outcome.output == kNames + "1,0,0.5,0.25,0.25\n|" + kMiss + "||2,0,0.5,0.25,0.25\n");
  }
}

TEST_CASE("when the reader of the hits goes away, SIGPIPE ends the program without a message") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kTriangle);
  const std::string rays = folder.write("rays.csv", repeated("1,2,3,4,5,6\n", 100000));
  const Outcome outcome = runQueryWithoutReader({"cast", mesh, rays, "-o", "-", "--quiet"});
  CHECK(outcome.exitCode == -SIGPIPE);
  CHECK(outcome.error.empty());
}

TEST_CASE("hits long before an invalid ray are on standard output already; a file does not appear") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kTriangle);
  constexpr int kNbRays = 100000;
  const std::string rays =
      folder.write("rays.csv", repeated("1,2,3,4,5,6\n", kNbRays) + "1,2,3\n" + repeated("worse\n", kNbRays));
  const std::string reason =
      rays + ":100001: 3 columns instead of 6 (origin, direction), 7 (tMin too) or 8 (tMin and tMax)";
  for (const char* threads : {"1", "2", "5"}) {
    const Outcome outcome = runQuery({"cast", mesh, rays, "-o", "-", "--quiet", "--threads", threads});
    CHECK(outcome.exitCode == 2);
    CHECK(outcome.error == "qzquery: " + reason + "\n");
    const std::string all = kNames + repeated(kMiss, kNbRays);
    CHECK(outcome.output.size() > 1000000);
    CHECK((outcome.output == all.substr(0, outcome.output.size())));
    CHECK(outcome.output.back() == '\n');
    const Outcome file = runQuery({"cast", mesh, rays, "-o", folder.path("hits.npy"), "--quiet", "--threads", threads});
    CHECK(file.exitCode == 2);
    CHECK(file.error == outcome.error);
  }
  CHECK(folder.names() == std::set<std::string>{"mesh.obj", "rays.csv"});
}

TEST_CASE("a ray that --symmetric refuses is named by its number in the whole file") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kTriangle);
  const std::string rays =
      folder.write("rays.csv", repeated("1,2,3,4,5,6,0\n\n", 100000) + "1,2,3,4,5,6,1\n1,2,3,4,5,down,0\n");
  for (const char* threads : {"1", "3"}) {
    const Outcome outcome =
        runQuery({"cast", mesh, rays, "-o", folder.path("hits.csv"), "--quiet", "--symmetric", "--threads", threads});
    CHECK(outcome.exitCode == 2);
    CHECK(outcome.error ==
          "qzquery: " + rays +
              ": ray 100000: tMin must be 0 with --symmetric, which looks both ways from the origin\n");
  }
  CHECK(folder.names() == std::set<std::string>{"mesh.obj", "rays.csv"});
}

TEST_CASE("when the disk is full the old hits are unchanged") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kTriangle);
  const std::string rays = folder.write("rays.csv", repeated("1,2,3,4,5,6\n", 100000));
  for (const char* name : {"hits.csv", "hits.npy"}) {
    const std::string hits = folder.write(name, "precious");
    const FileSizeLimit limit(1000000);
    const Outcome outcome = runQuery({"cast", mesh, rays, "-o", hits, "--quiet"});
    CHECK(outcome.exitCode == 2);
    CHECK(outcome.error == "qzquery: " + hits + ": cannot be written: File too large\n");
    CHECK(folder.read(name) == "precious");
  }
  CHECK(folder.names() == std::set<std::string>{"hits.csv", "hits.npy", "mesh.obj", "rays.csv"});
}
