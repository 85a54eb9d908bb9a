#include <doctest/doctest.h>
#include <toolkit/inspect/qzMeshReport.h>

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <tuple>

#include "support/qzBits.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using qzToolkit::qzMeshReport;

namespace {

using Place = Wm4::Vector3<float>;

qz::qzTriMesh meshOf(std::vector<Place> vertices, std::vector<int> indices) {
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

const std::vector<Place> kCorners = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

qzMeshReport inspect(const qz::qzTriMesh& mesh) {
  return qzToolkit::inspectMesh(mesh, qzToolkit::qzThreads(0));
}

}  // namespace

TEST_CASE("a closed tetrahedron has six edges and no defects") {
  const qzMeshReport report = inspect(meshOf(kCorners, {0, 2, 1, 0, 1, 3, 1, 2, 3, 2, 0, 3}));
  CHECK(report.mNbVertices == 4);
  CHECK(report.mNbTriangles == 4);
  CHECK(report.mNbEdges == 6);
  for (std::size_t count :
       {report.mNbNonFiniteVertices, report.mNbUnusedVertices, report.mNbRepeatedVertices,
        report.mNbOutOfRangeTriangles, report.mNbNonFiniteTriangles, report.mNbDegenerateTriangles,
        report.mNbRepeatedCornerTriangles, report.mNbDuplicateTriangles, report.mNbFlippedDuplicateTriangles,
        report.mNbBoundaryEdges, report.mNbNonManifoldEdges, report.mNbInconsistentEdges}) {
    CHECK(count == 0);
  }
}

TEST_CASE("separate vertices per triangle change the vertex counts only") {
  std::vector<Place> vertices;
  for (int corner : {0, 2, 1, 0, 1, 3, 1, 2, 3, 2, 0, 3})
    vertices.push_back(kCorners[static_cast<std::size_t>(corner)]);
  vertices[0] = {-0.0f, 0.0f, -0.0f};
  const qzMeshReport report = inspect(meshOf(vertices, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  CHECK(report.mNbVertices == 12);
  CHECK(report.mNbRepeatedVertices == 8);
  CHECK(report.mNbEdges == 6);
  CHECK(report.mNbBoundaryEdges == 0);
  CHECK(report.mNbInconsistentEdges == 0);
}

TEST_CASE("one flipped triangle makes three edges of inconsistent winding") {
  const qzMeshReport report = inspect(meshOf(kCorners, {0, 1, 2, 0, 1, 3, 1, 2, 3, 2, 0, 3}));
  CHECK(report.mNbInconsistentEdges == 3);
  CHECK(report.mNbBoundaryEdges == 0);
}

TEST_CASE("an edge of three triangles is non-manifold, and their other edges are boundary") {
  const qzMeshReport report =
      inspect(meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, -1, 0}}, {0, 1, 2, 1, 0, 3, 0, 1, 4}));
  CHECK(report.mNbEdges == 7);
  CHECK(report.mNbNonManifoldEdges == 1);
  CHECK(report.mNbBoundaryEdges == 6);
  CHECK(report.mNbInconsistentEdges == 0);
}

TEST_CASE("duplicates are all but one of the triangles over three corners; opposite windings are counted apart") {
  CHECK(inspect(meshOf(kCorners, {0, 1, 2, 1, 2, 0, 2, 0, 1})).mNbDuplicateTriangles == 2);
  CHECK(inspect(meshOf(kCorners, {0, 1, 2, 1, 2, 0, 2, 0, 1})).mNbFlippedDuplicateTriangles == 0);
  for (const std::vector<int>& turned : {std::vector<int>{0, 1, 2, 0, 2, 1}, {0, 1, 2, 2, 1, 0}, {0, 1, 2, 1, 0, 2}}) {
    const qzMeshReport report = inspect(meshOf(kCorners, turned));
    CHECK(report.mNbDuplicateTriangles == 1);
    CHECK(report.mNbFlippedDuplicateTriangles == 1);
    CHECK(report.mNbEdges == 3);
    CHECK(report.mNbInconsistentEdges == 0);
  }
}

TEST_CASE("a triangle with two corners at one position is degenerate, by one vertex or by two") {
  std::vector<Place> vertices = kCorners;
  vertices.push_back(vertices[0]);
  vertices.push_back({2, 0, 0});
  const qzMeshReport report = inspect(meshOf(vertices, {0, 0, 1, 0, 4, 1, 0, 1, 5, 0, 1, 2}));
  CHECK(report.mNbDegenerateTriangles == 3);
  CHECK(report.mNbRepeatedCornerTriangles == 2);
  CHECK(report.mNbUnusedVertices == 1);
  CHECK(report.mNbEdges == 5);  // of the last two, who share one
}

TEST_CASE("triangles with indices out of range or non-finite coordinates are counted as such only") {
  std::vector<Place> vertices = kCorners;
  vertices.push_back({kNoNumber, 0, 0});
  vertices.push_back({0, -kInfinity, 0});
  vertices.push_back({7, 7, 7});
  const qzMeshReport report =
      inspect(meshOf(vertices, {0, 1, 2, 0, 1, 7, -1, 2, 3, 0, 1, 4, 5, 1, 2, 2000000000, 4, 0}));
  CHECK(report.mNbTriangles == 6);
  CHECK(report.mNbOutOfRangeTriangles == 3);
  CHECK(report.mNbNonFiniteTriangles == 2);
  CHECK(report.mNbNonFiniteVertices == 2);
  CHECK(report.mNbUnusedVertices == 1);
  CHECK(report.mNbDegenerateTriangles == 0);
  CHECK(report.mNbEdges == 3);
  CHECK(report.mBox.xMax() == 1.0f);
  CHECK(report.mBox.yMin() == 0.0f);
}

TEST_CASE("precision is the spacing of floats at the largest coordinate") {
  const qzMeshReport near = inspect(meshOf(kCorners, {0, 1, 2}));
  CHECK(near.mLargestCoordinate == 1.0f);
  CHECK(near.mCoordinateStep == 0x1p-23f);
  CHECK(near.mStepsAcross == 0x1p23);
  const qzMeshReport far = inspect(meshOf({{-4194304, 0, 0}, {-4194304, 2, 0}, {-4194303, 0, 0}}, {0, 1, 2}));
  CHECK(far.mLargestCoordinate == 4194304.0f);
  CHECK(far.mCoordinateStep == 0.5f);
  CHECK(far.mStepsAcross == 4.0);
}

TEST_CASE("vertices that are not finite are not repeated, and a triangle whose area overflows is degenerate") {
  const qzMeshReport report = inspect(meshOf(
      {{kNoNumber, 0, 0}, {kNoNumber, 0, 0}, {0, 0, 0}, {1e30f, 0, 0}, {0, 1e30f, 0}, {1, 0, 0}}, {2, 3, 4, 2, 5, 3}));
  CHECK(report.mNbNonFiniteVertices == 2);
  CHECK(report.mNbRepeatedVertices == 0);
  CHECK(report.mNbDegenerateTriangles == 2);  // the first by its overflow, the second lies on a line
}

TEST_CASE("a mesh without a valid triangle has an empty box and no precision") {
  for (const std::vector<int>& indices : {std::vector<int>{}, {0, 1, 4}}) {
    const qzMeshReport report = inspect(meshOf(kCorners, indices));
    CHECK(report.mBox.xMin() > report.mBox.xMax());
    CHECK(report.mStepsAcross == 0.0);
    CHECK(report.mNbEdges == 0);
  }
  CHECK(inspect(meshOf({}, {})).mNbVertices == 0);
}

TEST_CASE("edges and duplicates of random triangles agree with a simple count") {
  constexpr std::uint32_t kSeed = 99;
  CAPTURE(kSeed);
  Random random(kSeed);
  for (int round = 0; round < 50; ++round) {
    CAPTURE(round);
    constexpr int kNbVertices = 9;
    std::vector<Place> vertices;
    for (int v = 0; v < kNbVertices; ++v) {
      vertices.emplace_back(random.between(-1, 1), random.between(-1, 1), random.between(-1, 1));
    }
    std::vector<int> indices;
    std::map<std::pair<int, int>, std::vector<bool>> edges;  // and which way every triangle runs along them
    std::map<std::set<int>, std::set<std::tuple<int, int, int>>> faces;
    std::size_t nbFaces = 0, nbTurned = 0;
    for (int triangle = 0; triangle < 40; ++triangle) {
      int v[3];
      for (int& corner : v) {
        corner = std::min(static_cast<int>(random.between(0, kNbVertices)), kNbVertices - 1);
        indices.push_back(corner);
      }
      if (v[0] == v[1] || v[1] == v[2] || v[2] == v[0]) continue;
      ++nbFaces;
      for (int k = 0; k < 3; ++k) edges[std::minmax(int(v[k]), int(v[(k + 1) % 3]))].push_back(v[k] < v[(k + 1) % 3]);
      std::rotate(v, std::min_element(v, v + 3), v + 3);
      faces[{v[0], v[1], v[2]}].emplace(v[0], v[1], v[2]);
    }
    std::size_t nbBorder = 0, nbCrowded = 0, nbTurnedEdges = 0;
    for (const auto& [edge, ways] : edges) {
      nbBorder += ways.size() == 1;
      nbCrowded += ways.size() > 2;
      nbTurnedEdges += ways.size() == 2 && ways[0] == ways[1];
    }
    for (const auto& [corners, turns] : faces) nbTurned += turns.size() == 2;
    const qzMeshReport report = inspect(meshOf(vertices, indices));
    CHECK(report.mNbEdges == edges.size());
    CHECK(report.mNbBoundaryEdges == nbBorder);
    CHECK(report.mNbNonManifoldEdges == nbCrowded);
    CHECK(report.mNbInconsistentEdges == nbTurnedEdges);
    CHECK(report.mNbDuplicateTriangles == nbFaces - faces.size());
    CHECK(report.mNbFlippedDuplicateTriangles == nbTurned);
  }
}
