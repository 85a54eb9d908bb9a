// Batches of points: the answers are those of the plain form, whatever the order of the points, their number, the number
// of threads and the points beside them.

#include <doctest/doctest.h>

#include <algorithm>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzNearChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

std::vector<Nearest> plainNearests(const QueryMesh& mesh, const std::vector<Place>& points, float maxDistance = kInf) {
  const qzPlain::tNearQueries plain(mesh.view());
  std::vector<Nearest> expected;
  for (const Place& point : points) expected.push_back(plain.nearest(point.data(), maxDistance));
  return expected;
}

std::vector<Place> anyPoints(const QueryMesh& mesh, std::size_t count, std::uint32_t seed) {
  NearQuestions questions(mesh, seed);
  std::vector<Place> points;
  while (points.size() < count) points.push_back(questions.point());
  return points;
}

void checkBatch(const QueryMesh& mesh, const std::vector<Place>& points, float maxDistance) {
  const std::vector<Nearest> expected = plainNearests(mesh, points, maxDistance);
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    const std::string wrong = wrongBatch(index, expected, points, maxDistance, 1);
    if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ": ", wrong);
  });
}

}  // namespace

TEST_CASE("batches of points have the answers of the plain form on difficult meshes") {
  std::uint32_t seed = 2101;
  for (const QueryMesh& mesh : difficultMeshes()) {
    checkBatch(mesh, anyPoints(mesh, 300, ++seed), kInf);
    checkBatch(mesh, anyPoints(mesh, 100, ++seed), 0.125f);
    checkBatch(mesh, anyPoints(mesh, 20, ++seed), 0.0f);
    checkBatch(mesh, NearQuestions(mesh, seed).grid(5), kInf);
  }
}

TEST_CASE("any number of points, in any order, on any number of threads") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(25, 2201));
  const MeshIndex index(mesh.view());
  std::vector<Place> points = anyPoints(mesh, 2500, 2202);
  const std::vector<Place> grid = NearQuestions(mesh, 2203).grid(13);
  points.insert(points.end(), grid.begin(), grid.end());
  REQUIRE(points.size() > 4096);  // more than two parts
  std::vector<Nearest> expected = plainNearests(mesh, points);
  for (const std::size_t count : {0u, 1u, 2u, 3u, 5u, 17u, 300u, 2047u, 2048u, 2049u, 4097u, 4697u})
    for (const int threads : {0, 1, 2, 3, 7}) {
      const std::vector<Place> some(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
      const std::string wrong = wrongBatch(index, expected, some, kInf, threads);
      if (!wrong.empty()) FAIL_CHECK(count, " points on ", threads, " threads: ", wrong);
    }
  std::reverse(points.begin(), points.end());
  std::reverse(expected.begin(), expected.end());
  CHECK(wrongBatch(index, expected, points) == "");
}

TEST_CASE("an index without triangles has no nearest points, and numbers have firstTriangle added") {
  const std::vector<Place> points(5, Place{1.0f, 2.0f, 3.0f});
  const QueryMesh none;
  CHECK(wrongBatch(MeshIndex(), plainNearests(none, points), points) == "");
  CHECK(wrongBatch(MeshIndex(none.view()), plainNearests(none, points), points) == "");

  const QueryMesh mesh = cubeMesh();
  BuildOptions options;
  options.firstTriangle = 100;
  const MeshIndex index(mesh.view(), options);
  std::vector<Nearest> expected = plainNearests(mesh, points);
  for (Nearest& nearest : expected) nearest.triangle += 100;
  CHECK(wrongBatch(index, expected, points) == "");
  CHECK(wrongBatch(index, std::vector<Nearest>(5, plainNearests(none, points)[0]), points, 1.0f) == "");
}
