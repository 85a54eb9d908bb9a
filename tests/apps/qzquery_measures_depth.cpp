#include <doctest/doctest.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/io/mesh/qzMeshFile.h>
#include <toolkit/view/qzCamera.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "apps/qzDepthMap.h"
#include "apps/qzPicture.h"
#include "apps/qzProcess.h"
#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

using tVector = std::array<double, 3>;

/// A cube from (2, 3, 4) to (4, 5, 6).
const std::string kCube =
    "v 2 3 4\nv 4 3 4\nv 4 5 4\nv 2 5 4\nv 2 3 6\nv 4 3 6\nv 4 5 6\nv 2 5 6\n"
    "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
const double kLow[3] = {2, 3, 4}, kHigh[3] = {4, 5, 6};

double dot(const tVector& a, const tVector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The line through the centre of a pixel, as the answer describes the camera; the direction has length 1 along the
/// line of sight, so that multiples of it are depths.
struct Line {
  tVector origin, direction;
};
Line lineThrough(const DepthMap& map, int x, int y) {
  const nlohmann::json& camera = map.answer["cameras"][0];
  const auto vector = [&](const char* name) { return camera[name].get<tVector>(); };
  const double right = (2.0 * (x + 0.5) / map.width - 1.0) * map.answer["halfWidth"].get<double>();
  const double up = (1.0 - 2.0 * (y + 0.5) / map.height) * map.answer["halfHeight"].get<double>();
  Line line = {vector("origin"), {}};
  for (std::size_t i = 0; i < 3; ++i) {
    line.direction[i] = right * vector("right")[i] + up * vector("up")[i] - vector("backward")[i];
  }
  return line;
}

/// The depth of a box, and how clearly the line meets or misses it.
double depthOfBox(const Line& line, double& clearness) {
  double enter = -1e30, leave = 1e30;
  for (std::size_t i = 0; i < 3; ++i) {
    const double a = (kLow[i] - line.origin[i]) / line.direction[i],
                 b = (kHigh[i] - line.origin[i]) / line.direction[i];
    enter = std::max(enter, std::min(a, b));
    leave = std::min(leave, std::max(a, b));
  }
  clearness = std::abs(leave - enter);
  return leave > enter ? enter : double(kInf);
}

/// Runs qzquery, which has to fail with one line, and returns that.
std::string failure(const std::vector<std::string>& arguments, const std::string& outputName = "") {
  const Outcome outcome = runQuery(arguments, "", outputName);
  CHECK(outcome.exitCode == 2);
  CHECK(outcome.output.empty());
  CHECK(outcome.error.find('\n') == outcome.error.size() - 1);
  return outcome.error;
}

}  // namespace

TEST_CASE("the depth of a tilted square is that of its plane, and infinite elsewhere") {
  const TemporaryFolder folder;
  // y = z, from x and z -1 to 1; seen from the front the square fills the picture but for a margin.
  const std::string mesh = folder.write("mesh.obj", "v -1 -1 -1\nv 1 -1 -1\nv 1 1 1\nv -1 1 1\nf 1 2 3 4\n");
  const DepthMap map = measureDepth({mesh, "--size", "50x40", "--view", "front", "--samples", "1"});
  REQUIRE(map.width == 50);
  REQUIRE(map.height == 40);
  std::size_t nbInside = 0, nbOutside = 0, nbHits = 0;
  float nearest = kInf, farthest = 0.0f;
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 50; ++x) {
      const Line line = lineThrough(map, x, y);
      CHECK(line.direction[1] == 1.0);  // what is seen from the front is deep along y
      const double depth = (line.origin[2] - line.origin[1]) / (line.direction[1] - line.direction[2]);
      const double px = line.origin[0] + depth * line.direction[0], pz = line.origin[2] + depth * line.direction[2];
      const double beyond = std::max(std::abs(px), std::abs(pz)) - 1.0;
      CAPTURE(x);
      CAPTURE(y);
      if (beyond < -1e-3) {
        CHECK(map.at(x, y) == doctest::Approx(depth).epsilon(2e-6));
        CHECK(map.at(x, y) == doctest::Approx(pz - line.origin[1]).epsilon(2e-6));
        ++nbInside;
      } else if (beyond > 1e-3) {
        CHECK(map.at(x, y) == kInf);
        ++nbOutside;
      }
      if (map.at(x, y) < kInf) {
        ++nbHits;
        nearest = std::min(nearest, map.at(x, y));
        farthest = std::max(farthest, map.at(x, y));
      }
    }
  }
  CHECK(nbInside > 700);
  CHECK(nbOutside > 200);
  CHECK(map.at(25, 38) < map.at(25, 2));  // row 0 is on top, where the square is farther away
  CHECK(map.answer["depth"]["hits"] == nbHits);
  CHECK(map.answer["depth"]["nearest"] == nearest);
  CHECK(map.answer["depth"]["farthest"] == farthest);
}

TEST_CASE("the depth of a cube from every side is that of its nearest face") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  for (const char* view : {"", "front", "top", "iso", "3,1,-2", "-1,-1e-3,0.2"}) {
    for (const char* up : {"y", "z"}) {
      CAPTURE(view);
      CAPTURE(up);
      const DepthMap map = measureDepth({mesh, "--size", "31x44", "--view", view, "--up", up, "--samples", "1"});
      int nbHits = 0, nbMisses = 0, nbAtEdges = 0;
      for (int y = 0; y < 44; ++y) {
        for (int x = 0; x < 31; ++x) {
          double clearness;
          const double depth = depthOfBox(lineThrough(map, x, y), clearness);
          if (clearness < 1e-3) continue;
          if (depth < double(kInf)) {
            CHECK(map.at(x, y) == doctest::Approx(depth).epsilon(1e-4));
            nbAtEdges += std::abs(map.at(x, y) - depth) > 1e-5 * depth;  // triangles reach a little over their edges
          } else {
            CHECK(map.at(x, y) == kInf);
          }
          ++(depth < double(kInf) ? nbHits : nbMisses);
        }
      }
      CHECK(nbAtEdges <= 1);
      CHECK(nbHits > 300);
      CHECK(nbMisses > 100);
    }
  }
}

TEST_CASE("depths are those of the library to the bit for any samples, shading and threads") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.stl", asStlBytes(soupMesh(6000, 21)));
  const qz::qzTriMesh mesh = qzToolkit::loadMesh(name);
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
  constexpr int kWidth = 70, kHeight = 45;
  const auto camera =
      qzToolkit::qzCamera::Frame(mesh, {1, -2, 0.5}, qzToolkit::qzCamera::eUpZ, double(kWidth) / kHeight);
  std::vector<float> expected;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const Wm4::Vector3<float> direction = camera.getDirection((x + 0.5) / kWidth, (y + 0.5) / kHeight);
      float distance = kInf;
      Wm4::Vector2<float> weights;
      unsigned triangle;
      const bool isHit = hierarchy.intersectRay(camera.getOrigin(), direction, 0.0f, distance, weights, triangle,
                                                qzQBVH::eIntersectBothFaces);
      const double depth = -distance * dot({direction[0], direction[1], direction[2]}, camera.getBackward());
      expected.push_back(isHit ? static_cast<float>(depth) : kInf);
    }
  }
  CHECK(std::count(expected.begin(), expected.end(), kInf) > 500);
  CHECK(std::count(expected.begin(), expected.end(), kInf) < kWidth * kHeight - 500);

  const std::vector<std::string> choices[] = {{},
                                              {"--samples", "1"},
                                              {"--samples", "2", "--threads", "1"},
                                              {"--threads", "3"},
                                              {"--threads", "8", "--shading", "cost"},
                                              {"--shading", "depth", "--samples", "1"}};
  for (const std::vector<std::string>& choice : choices) {
    std::vector<std::string> arguments = {name, "--size", "70x45", "--view", "1,-2,0.5", "--engine", "qbvh"};
    arguments.insert(arguments.end(), choice.begin(), choice.end());
    const DepthMap map = measureDepth(arguments);
    REQUIRE(map.values.size() == expected.size());
    CHECK(std::equal(expected.begin(), expected.end(), map.values.begin(), sameBits<float>));
  }
}

TEST_CASE("a .pfm file has the same floats as the .npy file, bottom row first") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  const auto write = [&](const char* name, const char* threads) {
    const Outcome outcome = runQuery({"render", mesh, "-o", folder.path("a.png"), "--size", "23x17", "--depth",
                                      folder.path(name), "--threads", threads});
    CHECK(outcome.exitCode == 0);
    CHECK(outcome.error.find("\ndepth: ") != std::string::npos);
    CHECK(outcome.error.find(" pixels hit, from ") != std::string::npos);
    return folder.read(name);
  };
  const DepthMap map = decodeNumpy(write("a.npy", "2"));
  const std::string bytes = write("a.PFM", "2"), header = "Pf\n23 17\n-1.0\n";
  CHECK(bytes == write("b.pfm", "1"));
  CHECK(bytes.substr(0, header.size()) == header);
  REQUIRE(bytes.size() == header.size() + 4 * 23 * 17);
  for (int y = 0; y < 17; ++y) {
    const float* const row = &map.values[static_cast<std::size_t>(23 * y)];
    CHECK(std::memcmp(bytes.data() + header.size() + 4 * 23 * std::size_t(16 - y), row, 4 * 23) == 0);
  }
}

TEST_CASE("the picture is the same with a depth map, also on standard output") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  const std::vector<std::string> plain = {"render", mesh, "-o", "-", "--size", "30x20", "--quiet"};
  std::vector<std::string> withDepth = plain;
  withDepth.insert(withDepth.end(), {"--depth", folder.path("a.npy")});
  const Outcome outcome = runQuery(withDepth);
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.error.empty());
  CHECK((outcome.output == runQuery(plain).output));
  CHECK(decodeNumpy(folder.read("a.npy")).width == 30);
}

TEST_CASE("without a hit all depths are infinite and there is no nearest one") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("point.obj", "v 1 2 3\nf 1 1 1\n");
  const DepthMap map = measureDepth({mesh, "--size", "5x4"});
  CHECK(map.values == std::vector<float>(20, kInf));
  CHECK(map.answer["depth"]["hits"] == 0);
  CHECK(map.answer["depth"].find("nearest") == map.answer["depth"].end());
  const Outcome outcome =
      runQuery({"render", mesh, "-o", folder.path("a.png"), "--size", "5x4", "--depth", folder.path("a.npy")});
  CHECK(outcome.error.find("\ndepth: no pixel hit\n") != std::string::npos);
}

TEST_CASE("if one of the two files cannot be written, the other one is unchanged") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube), nowhere = folder.path("missing/a.npy");
  const std::string full = folder.path("full.npy");
  std::filesystem::create_symlink("/dev/full", full);
  const auto run = [&](const std::string& image, const std::string& depth, const std::string& outputName = "") {
    return failure({"render", mesh, "-o", image, "--depth", depth, "--size", "8x8", "--quiet"}, outputName);
  };
  const std::string noSpace = ": cannot be written: No space left on device\n",
                    noFolder = ": cannot be written: No such file or directory\n";
  for (bool isThere : {false, true}) {
    CAPTURE(isThere);
    if (isThere) {
      folder.write("a.png", "old picture");
      folder.write("a.npy", "old depth");
    }
    const std::set<std::string> before = folder.names();
    CHECK(run(folder.path("a.png"), nowhere) == "qzquery: " + nowhere + noFolder);
    CHECK(run(folder.path("a.png"), full) == "qzquery: " + full + noSpace);
    CHECK(run(folder.path("missing/a.png"), folder.path("a.npy")) ==
          "qzquery: " + folder.path("missing/a.png") + noFolder);
    CHECK(run("/dev/full", folder.path("a.npy")) == "qzquery: /dev/full" + noSpace);
    CHECK(run("-", folder.path("a.npy"), "/dev/full") == "qzquery: standard output" + noSpace);
    CHECK(run("", folder.path("a.npy")) == "qzquery: " + noFolder);
    CHECK(run(folder.path(""), folder.path("a.npy")) ==
          "qzquery: " + folder.path("") + ": cannot be written: Is a directory\n");
    CHECK(folder.names() == before);
    if (isThere) {
      CHECK(folder.read("a.png") == "old picture");
      CHECK(folder.read("a.npy") == "old depth");
    }
  }
}

TEST_CASE("a depth file that is neither .npy nor .pfm, or is the picture, is refused before any work") {
  const TemporaryFolder folder;
  const std::string missing = folder.path("missing.obj");  // would be the complaint of any work
  for (const std::string name : {"-", "depth", "a.png", "a.npy.gz", ".npy", "a.npz", ""}) {
    CHECK(failure({"render", missing, "-o", folder.path("a.png"), "--depth", name}) ==
          "qzquery: --depth: '" + name + "' ends neither in .npy nor in .pfm\n");
  }
  folder.write("a.npy", "old");
  std::filesystem::create_symlink("a.npy", folder.path("link.npy"));
  for (const char* name : {"a.npy", "./a.npy", "link.npy", "new.npy", "../new.pfm"}) {
    const std::string base = std::filesystem::path(folder.path("")).parent_path().filename().string();
    const bool isNew = std::string(name).find("new") != std::string::npos;
    const std::string other = !isNew                           ? "a.npy"
                              : name == std::string("new.npy") ? "./new.npy"
                                                               : "../" + base + "/../new.pfm";
    CHECK(failure({"render", missing, "-o", folder.path(other), "--depth", folder.path(name)}) ==
          "qzquery: --depth: names the same file as --output\n");
  }
  CHECK(folder.names() == std::set<std::string>{"a.npy", "link.npy"});
  CHECK(folder.read("a.npy") == "old");
}
