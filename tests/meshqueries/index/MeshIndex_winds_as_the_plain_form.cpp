// Winding numbers against loops over all triangles and all boundary edges with the kernels: bit for bit, for trees of
// every quality and for every instruction set.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "meshqueries/qzQueryBuilds.h"
#include "plain/qzPlainNearQueries.h"
#include "plain/qzPlainWinding.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzQueryPoints.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

std::vector<double> plainAnswers(const QueryMesh& mesh, const PointList& points) {
  const qzPlain::tWinding plain(mesh.view());
  std::vector<double> answers;
  for (std::size_t i = 0; i < points.size(); ++i) answers.push_back(plain.windingNumber(points[i].data()));
  return answers;
}

/// The point at which an index answers in another way; empty if none.
std::string wrongAnswer(const MeshIndex& index, const PointList& points, const std::vector<double>& expected) {
  std::vector<double> batch(points.size() + 1, -77.0);
  index.windingNumbers(points.data(), points.size(), batch.data());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto tell = [&](double answer) {
      return describe(points[i]) + ": " + std::to_string(answer) + " for " + std::to_string(expected[i]);
    };
    if (!sameBits(batch[i], expected[i])) return "batch, " + tell(batch[i]);
    const double single = index.windingNumber(points[i].data());
    if (!sameBits(single, expected[i])) return tell(single);
    if (index.contains(points[i].data()) != (std::fabs(expected[i]) > 0.5)) return "contains, " + tell(single);
  }
  return batch.back() == -77.0 ? std::string() : "an answer too many";
}

/// The point whose signed distance is not the plain distance with the sign of the winding number; empty if none.
std::string wrongDistance(const QueryMesh& mesh, const MeshIndex& index, const PointList& points,
                          const std::vector<double>& windings) {
  const qzPlain::tNearQueries plain(mesh.view());
  std::vector<float> batch(points.size() + 1, -77.0f);
  index.signedDistances(points.data(), points.size(), batch.data());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const float distance = plain.nearest(points[i].data()).distance;
    const float expected = windings[i] > 0.5 || windings[i] < -0.5 ? -distance : distance;
    if (!sameBits(batch[i], expected)) return "batch, " + describe(points[i]);
    if (!sameBits(index.signedDistance(points[i].data()), expected)) return describe(points[i]);
  }
  return batch.back() == -77.0f ? std::string() : "a distance too many";
}

void checkAll(const QueryMesh& mesh, std::size_t count, std::uint32_t seed) {
  const PointList points = QueryPoints(mesh, seed).many(count);
  const std::vector<double> expected = plainAnswers(mesh, points);
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    std::string wrong = wrongAnswer(index, points, expected);
    if (wrong.empty()) wrong = wrongDistance(mesh, index, points, expected);
    if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ": ", wrong);
  });
}

QueryMesh withHoles(const QueryMesh& mesh, std::uint32_t seed) {
  Random random(seed);
  QueryMesh result = mesh;
  result.name += ", with holes";
  result.triangles.clear();
  for (std::size_t i = 0; i < mesh.triangleCount(); ++i)
    if (random.below(8) != 0)
      result.addTriangle(mesh.triangles[3 * i], mesh.triangles[3 * i + 1], mesh.triangles[3 * i + 2]);
  return result;
}

QueryMesh withTurnedTriangles(const QueryMesh& mesh, std::uint32_t seed) {
  Random random(seed);
  QueryMesh result = mesh;
  result.name += ", with turned triangles";
  for (std::size_t i = 0; i < mesh.triangleCount(); ++i)
    if (random.below(8) == 0) std::swap(result.triangles[3 * i], result.triangles[3 * i + 1]);
  return result;
}

QueryMesh withDoubledTriangles(const QueryMesh& mesh, std::uint32_t seed) {
  Random random(seed);
  QueryMesh result = mesh;
  result.name += ", with doubled triangles";
  for (std::size_t i = 0; i < mesh.triangleCount(); ++i)
    for (std::uint32_t k = random.below(4); k > 1; --k)
      result.addTriangle(mesh.triangles[3 * i], mesh.triangles[3 * i + 1], mesh.triangles[3 * i + 2]);
  return result;
}

}  // namespace

TEST_CASE("winding numbers are those of the plain form on difficult meshes") {
  std::uint32_t seed = 2101;
  for (const QueryMesh& mesh : difficultMeshes()) checkAll(mesh, 300, seed++);
}

TEST_CASE(
    "winding numbers are those of the plain form on closed meshes, and on these with holes, turned and doubled "
    "triangles") {
  std::uint32_t seed = 2201;
  for (const QueryMesh& mesh : closedMeshes()) {
    seed += 10;
    checkAll(mesh, 60, seed);
    checkAll(withHoles(mesh, seed), 80, seed + 1);
    checkAll(withTurnedTriangles(mesh, seed), 60, seed + 2);
    checkAll(withDoubledTriangles(mesh, seed), 60, seed + 3);
    checkAll(unshared(withHoles(transformed(mesh, 1e6f, -1e6f, 0.0f, 1e6f), seed)), 60, seed + 4);
    checkAll(withHoles(transformed(mesh, 1e-6f, 0.0f, 0.0f, 0.0f), seed), 60, seed + 5);
  }
}

TEST_CASE("winding numbers are those of the plain form on boundaries of thousands of edges") {
  checkAll(queryMeshOf("terrain", terrainMesh(40, 2301)), 60, 2302);
  checkAll(queryMeshOf("soup", soupMesh(3000, 2303)), 40, 2304);
  checkAll(queryMeshOf("awkward", awkwardMesh(1500, 2305)), 40, 2306);
}

TEST_CASE("the order of triangles and of vertices changes no bit") {
  Random random(2401);
  for (const QueryMesh& mesh : {withHoles(torusMesh(12, 20), 2402), queryMeshOf("soup", soupMesh(100, 2403))}) {
    QueryMesh other = unshared(mesh);
    for (std::size_t i = 0; i < other.triangleCount(); ++i) {
      const auto triangle = other.triangles.begin() + static_cast<std::ptrdiff_t>(3 * i);
      std::swap_ranges(triangle, triangle + 3,
                       other.triangles.begin() + 3 * static_cast<std::ptrdiff_t>(random.below(std::uint32_t(i + 1))));
    }
    const PointList points = QueryPoints(mesh, 2404).many(300);
    const MeshIndex index(mesh.view()), indexOfOther(other.view());
    int nbDifferent = 0;
    for (std::size_t i = 0; i < points.size(); ++i)
      if (!sameBits(index.windingNumber(points[i].data()), indexOfOther.windingNumber(points[i].data()))) ++nbDifferent;
    CHECK(nbDifferent == 0);
  }
}

TEST_CASE("a point that is not finite or beyond 1e15 has winding number 0 and lies in nothing") {
  for (const QueryMesh& mesh : {cubeMesh(), withHoles(icosphereMesh(2), 2501)})
    forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
      INFO(mesh.name, ", ", what);
      PointList points;
      for (std::size_t axis = 0; axis < 3; ++axis)
        for (const float value : {kNaN, kInf, -kInf, 1.0001e15f, -kMaxFloat}) {
          std::array<float, 3> point = {};
          CHECK(index.windingNumber(point.data()) > 0.7);
          point[axis] = value;
          CHECK(sameBits(index.windingNumber(point.data()), 0.0));
          CHECK(!index.contains(point.data()));
          CHECK(index.signedDistance(point.data()) == kInf);
          points.add({});
          points.add(point);
        }
      std::vector<double> batch(points.size(), -1.0);
      index.windingNumbers(points.data(), points.size(), batch.data());
      for (std::size_t i = 0; i < points.size(); ++i) {
        if (i % 2 == 0) CHECK(batch[i] > 0.7);
        if (i % 2 == 1) CHECK(sameBits(batch[i], 0.0));
      }
    });
}

TEST_CASE("without triangles every winding number is 0") {
  const float point[3] = {1.0f, 2.0f, 3.0f};
  const float points[2][3] = {{1.0f, 2.0f, 3.0f}, {0.0f, 0.0f, 0.0f}};
  MeshIndex moved(cubeMesh().view());
  const MeshIndex taken = std::move(moved);
  const MeshIndex none, empty{Mesh()};
  // NOLINTNEXTLINE(bugprone-use-after-move): a moved-from index has no triangles
  for (const MeshIndex* index : {&none, &empty, static_cast<const MeshIndex*>(&moved)}) {
    CHECK(sameBits(index->windingNumber(point), 0.0));
    CHECK(!index->contains(point));
    CHECK(index->signedDistance(point) == kInf);
    float distances[3] = {5, 5, 5};
    index->signedDistances(points, 2, distances);
    CHECK(distances[0] == kInf);
    CHECK(distances[1] == kInf);
    CHECK(distances[2] == 5);
    index->signedDistances(nullptr, 0, nullptr);
    double out[3] = {5, 5, 5};
    index->windingNumbers(points, 2, out);
    CHECK(sameBits(out[0], 0.0));
    CHECK(sameBits(out[1], 0.0));
    CHECK(out[2] == 5);
    index->windingNumbers(nullptr, 0, nullptr);
  }
}

TEST_CASE("the caller's floating-point mode changes no winding number, and is kept") {
  const QueryMesh mesh = joined("", transformed(withHoles(starMesh(1, 2601), 2602), 1e-40f, 0.0f, 0.0f, 0.0f),
                                withHoles(starMesh(1, 2603), 2604));
  const PointList points = QueryPoints(mesh, 2605).many(200);
  const std::vector<double> expected = plainAnswers(mesh, points);
  const MeshIndex ofDefault(mesh.view());
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    std::string wrong, wrongOfBuild;
    bool isKept;
    {
      const CallersFloatMode callers(mode);
      const MeshIndex index(mesh.view());
      wrong = wrongAnswer(ofDefault, points, expected);
      wrongOfBuild = wrongAnswer(index, points, expected);
      isKept = callers.isKept();
    }
    INFO("mode ", static_cast<unsigned int>(mode));
    CHECK(wrong == "");
    CHECK(wrongOfBuild == "");
    CHECK(isKept);
  }
}
