#include <doctest/doctest.h>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

/// Runs qzquery, which has to fail with exit code 2, nothing on standard output and one line on standard error, the
/// last one after what it said about its work; returns that line.
std::string failure(const std::vector<std::string>& arguments, const std::string& input = "") {
  std::vector<std::string> all = arguments;
  if (!all.empty() && all.size() > 1) all.push_back("--quiet");
  const Outcome outcome = runQuery(all, input);
  CHECK(outcome.exitCode == 2);
  CHECK(outcome.output.empty());
  REQUIRE(!outcome.error.empty());
  CHECK(outcome.error.find('\n') == outcome.error.size() - 1);
  const std::string start = "qzquery: ";
  CHECK(outcome.error.substr(0, start.size()) == start);
  return outcome.error.substr(start.size(), outcome.error.size() - start.size() - 1);
}

const std::string kObj = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

}  // namespace

TEST_CASE("an invalid command line") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kObj);
  CHECK(failure({}) == "A subcommand is required");
  CHECK(failure({"paint"}) == "A subcommand is required");
  CHECK(failure({"info"}).find("MESH is required") != std::string::npos);
  CHECK(failure({"info", mesh, "twice"}).find("twice") != std::string::npos);
  CHECK(failure({"info", mesh, "--lef", "4"}).find("--lef") != std::string::npos);
  CHECK(failure({"info", mesh, "--leaf", "0"}).find("--leaf") != std::string::npos);
  CHECK(failure({"info", mesh, "--leaf", "-3"}).find("--leaf") != std::string::npos);
  CHECK(failure({"info", mesh, "--leaf", "four"}).find("--leaf") != std::string::npos);
  CHECK(failure({"info", mesh, "--builder", "best"}) == "--builder: best not in {linear,sah}");
  CHECK(failure({"info", mesh, "--builder", "be\nst"}).find("--builder: be") == 0);
  CHECK(failure({"info", mesh, "--builder", "sah", "--leaf", "4"}) ==
        "--leaf: is for --builder linear; sah chooses its own leaf sizes");
  CHECK(failure({"info", mesh, "--threads", "0"}).find("--threads") != std::string::npos);
  CHECK(failure({"cast", mesh, "-"}).find("--output is required") != std::string::npos);
  CHECK(failure({"cast", mesh, "-", "-o", "-", "--policy", "sides"}) == "--policy: sides not in {both,front,back}");
  CHECK(failure({"cast", mesh, "-", "-o", "-", "--policy", "0"}) == "--policy: 0 not in {both,front,back}");
  CHECK(failure({"cast", mesh, "-", "-o", "-", "--policy", "front", "--symmetric"}).find("excludes") !=
        std::string::npos);
  CHECK(failure({"info", mesh, "--engine", "qbvh"}).find("--engine") != std::string::npos);
  const auto cast = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"cast", mesh, "-", "-o", "-"});
    return failure(options);
  };
  CHECK(cast({"--engine", "both"}) == "--engine: both not in {index,qbvh}");
  CHECK(cast({"--engine", "index", "--builder", "sah"}) == "--builder: is for --engine qbvh");
  CHECK(cast({"--engine", "index", "--leaf", "4"}) == "--leaf: is for --engine qbvh");
  CHECK(cast({"--engine", "qbvh", "--quality", "best"}) == "--quality: is for --engine index");
  CHECK(cast({"--leaf", "3", "--quality", "fast"}) == "--quality: is for --engine index");
  CHECK(cast({"--quality", "bad"}) == "--quality: bad not in {fast,good,best}");
  for (const char* asked : {"--any", "--all", "--count"}) {
    CHECK(cast({asked, "--engine", "qbvh"}) == "--any, --all and --count: need --engine index");
    CHECK(cast({asked, "--symmetric"}).find("excludes") != std::string::npos);
  }
  CHECK(cast({"--any", "--all"}).find("excludes") != std::string::npos);
  CHECK(cast({"--any", "--count"}).find("excludes") != std::string::npos);
  CHECK(cast({"--any", "--point"}).find("excludes") != std::string::npos);
  CHECK(cast({"--count", "--normal"}).find("excludes") != std::string::npos);
  CHECK(failure({"render", mesh, "-o", folder.path("a.png"), "--engine", "index", "--shading", "cost"}) ==
        "--shading: cost is for --engine qbvh, whose nodes it counts");
  const std::string huge = folder.write("huge.obj", "v 0 0 0\nv 1 0 0\nv 0 2e15 0\nf 1 2 3\n");
  CHECK(failure({"cast", huge, "-", "-o", "-"}) ==
        huge + ": triangle 0: a coordinate of vertex 2 is not a number from -1e15 to 1e15; --engine qbvh takes it");
  std::remove(huge.c_str());
  CHECK(failure({"render", mesh}).find("--output is required") != std::string::npos);
  for (const char* size : {"1280", "0x10", "10x0", "-5x5", "10x10x", "20000x10", "16384x16384", "axb"}) {
    CHECK(failure({"render", mesh, "-o", folder.path("a.png"), "--size", size}).find("--size") != std::string::npos);
  }
  CHECK(failure({"render", mesh, "-o", folder.path("a.png"), "--shading", "pink"}) ==
        "--shading: pink not in {facing,normal,depth,cost}");
  CHECK(failure({"render", mesh, "-o", folder.path("a.png"), "--up", "x"}) == "--up: x not in {y,z}");
  CHECK(failure({"render", mesh, "-o", folder.path("a.png"), "--view", "above"}) ==
        "view 'above': neither x,y,z nor one of front, back, left, right, top, bottom, iso");
  CHECK(folder.names() == std::set<std::string>{"mesh.obj"});
}

TEST_CASE("an invalid mesh fails every subcommand with the same message and leaves no file") {
  const TemporaryFolder folder;
  const std::string cut = folder.write("cut.obj.gz", gzip(asObj(gridMesh(9))).substr(0, 100));
  const std::string wild = folder.write("wild.obj", kObj + "f 1 2 4\n");
  const std::string none = folder.write("none.obj", "v 0 0 0\n");
  const std::string missing = folder.path("missing.obj");
  const std::pair<std::string, std::string> meshes[] = {{cut, ": the file is cut off: the gzip data end too early"},
                                                        {wild, ":5: the face names vertex 4, the file has 3"},
                                                        {none, ": no triangles in the file"},
                                                        {missing, ": cannot be opened: No such file or directory"},
                                                        {folder.path(""), ": cannot be read: Is a directory"}};
  const std::set<std::string> before = folder.names();
  for (const auto& [mesh, reason] : meshes) {
    CHECK(failure({"info", mesh}) == mesh + reason);
    CHECK(failure({"info", mesh, "--json"}) == mesh + reason);
    CHECK(failure({"render", mesh, "-o", folder.path("a.png")}) == mesh + reason);
    CHECK(failure({"cast", mesh, "-", "-o", folder.path("a.csv")}, "0,0,1,0,0,-1\n") == mesh + reason);
  }
  CHECK(folder.names() == before);
}

TEST_CASE("invalid rays are named with file and line, and the old hits remain") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kObj), rays = folder.write("rays.csv", "0,0,1,0,0,-1\n0,0,1,0,0\n");
  const std::string hits = folder.write("hits.csv", "precious");
  const std::string columns = " columns instead of 6 (origin, direction), 7 (tMin too) or 8 (tMin and tMax)";
  CHECK(failure({"cast", mesh, rays, "-o", hits}) == rays + ":2: 5" + columns);
  CHECK(failure({"cast", mesh, "-", "-o", hits}, "x\n") == "standard input:1: 1 column" + columns.substr(8));
  CHECK(failure({"cast", mesh, "-", "-o", hits}, "0,0,1,0,0,-1\n0,0,1,0,0,down\n") ==
        "standard input:2: 'down' is not a number");
  CHECK(failure({"cast", mesh, "-", "-o", hits, "--symmetric"}, "0,0,1,0,0,-1,0\n0,0,1,0,0,-1,0.5\n") ==
        "standard input: ray 1: tMin must be 0 with --symmetric, which looks both ways from the origin");
  CHECK(folder.read("hits.csv") == "precious");
  CHECK(folder.names() == std::set<std::string>{"mesh.obj", "rays.csv", "hits.csv"});
}

TEST_CASE("output that cannot be written") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kObj), nowhere = folder.path("missing/out");
  CHECK(failure({"cast", mesh, "-", "-o", nowhere}, "0,0,1,0,0,-1\n") ==
        nowhere + ": cannot be written: No such file or directory");
  CHECK(failure({"render", mesh, "-o", nowhere, "--size", "8x8"}) ==
        nowhere + ": cannot be written: No such file or directory");
  CHECK(failure({"render", mesh, "-o", "/dev/full", "--size", "8x8"}) ==
        "/dev/full: cannot be written: No space left on device");
  const std::vector<std::string> toStandardOutput[] = {{"info", mesh, "--quiet"},
                                                       {"info", mesh, "--json", "--quiet"},
                                                       {"cast", mesh, "-", "-o", "-", "--quiet"},
                                                       {"render", mesh, "-o", "-", "--size", "8x8", "--quiet"}};
  for (const std::vector<std::string>& arguments : toStandardOutput) {
    const Outcome outcome = runQuery(arguments, "", "/dev/full");
    CHECK(outcome.exitCode == 2);
    CHECK(outcome.error == "qzquery: standard output: cannot be written: No space left on device\n");
  }
}
