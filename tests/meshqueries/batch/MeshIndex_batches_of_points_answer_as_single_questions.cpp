// Batches of winding numbers and signed distances against single questions: any number of points, on any number of
// threads, for every instruction set; and many threads that ask a new index at once.

#include <doctest/doctest.h>

#include <thread>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryPoints.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

QueryMesh withoutEnd(QueryMesh mesh, std::size_t nbTriangles) {
  mesh.triangles.resize(mesh.triangles.size() - 3 * nbTriangles);
  return mesh;
}

/// Boundaries of none, some, and more edges than are looked at at a time.
std::vector<QueryMesh> someMeshes() {
  return {gridBoxMesh(5), withoutEnd(torusMesh(24, 40), 50), queryMeshOf("soup", soupMesh(700, 1601))};
}

}  // namespace

TEST_CASE("batches of points of every size, on any number of threads, answer as single questions") {
  for (const QueryMesh& mesh : someMeshes()) {
    const PointList points = QueryPoints(mesh, 1602).many(5000);
    const MeshIndex index(mesh.view());
    std::vector<double> windings;
    std::vector<float> distances;
    for (std::size_t i = 0; i < points.size(); ++i) {
      windings.push_back(index.windingNumber(points[i].data()));
      distances.push_back(index.signedDistance(points[i].data()));
    }
    for (const std::string& name : qzMeshQueries::detail::instructionSets()) {
      const UsedInstructionSet used(name);
      for (const std::size_t size : {0, 1, 2, 3, 15, 16, 17, 31, 32, 33, 100, 2047, 2048, 2049, 5000})
        for (const int threads : {0, 1, 3}) {
          if (threads != 1 && size < 2000) continue;
          const std::size_t first = size % 7 * (points.size() - size) / 7;
          std::vector<double> manyWindings(size + 1, -7.0);
          std::vector<float> manyDistances(size + 1, -7.0f);
          index.windingNumbers(points.data() + first, size, manyWindings.data(), threads);
          index.signedDistances(points.data() + first, size, manyDistances.data(), threads);
          int nbWrong = manyWindings[size] != -7.0 || manyDistances[size] != -7.0f;
          for (std::size_t i = 0; i < size; ++i) {
            nbWrong += !sameBits(manyWindings[i], windings[first + i]);
            nbWrong += !sameBits(manyDistances[i], distances[first + i]);
          }
          INFO(mesh.name, ", ", name, ", ", size, " points, ", threads, " threads");
          CHECK(nbWrong == 0);
        }
    }
  }
}

TEST_CASE("points above each other, in columns of any length, answer as single questions") {
  for (const QueryMesh& mesh : someMeshes()) {
    Random random(1606);
    QueryPoints source(mesh, 1607);
    PointList points;
    for (int column = 0; column < 80; ++column) {
      std::array<float, 3> point = column % 2 == 0 ? source.around(1.0f) : source.inLine();
      if (column % 20 == 5) point[1] = kNaN;
      for (std::uint32_t k = random.below(column % 8 == 0 ? 200 : 20); k > 0; --k) {
        point[2] = source.around()[2];
        if (random.below(4) == 0) point[2] = source.onMesh()[2];  // at the height of a vertex, mostly
        if (random.below(16) == 0) point[2] = random.anyFloat();
        points.add(point);
        if (random.below(16) == 0) points.add(point);
      }
    }
    const MeshIndex index(mesh.view());
    for (const std::string& name : qzMeshQueries::detail::instructionSets()) {
      const UsedInstructionSet used(name);
      std::vector<double> windings(points.size());
      index.windingNumbers(points.data(), points.size(), windings.data(), 1);
      int nbWrong = 0;
      for (std::size_t i = 0; i < points.size(); ++i)
        nbWrong += !sameBits(windings[i], index.windingNumber(points[i].data()));
      INFO(mesh.name, ", ", name, ", ", points.size(), " points");
      CHECK(points.size() > 1000);
      CHECK(nbWrong == 0);
    }
  }
}

TEST_CASE("signed distances of more points than are kept at a time are those of single questions") {
  const QueryMesh mesh = withoutEnd(cubeMesh(), 2);
  const MeshIndex index(mesh.view());
  const PointList points = QueryPoints(mesh, 1603).many(140000);
  std::vector<float> distances(points.size());
  index.signedDistances(points.data(), points.size(), distances.data());
  int nbWrong = 0;
  for (std::size_t i = 0; i < points.size(); ++i)
    nbWrong += !sameBits(distances[i], index.signedDistance(points[i].data()));
  CHECK(nbWrong == 0);
}

TEST_CASE("threads that ask a new index at once, each its first question, get the same answers") {
  const QueryMesh mesh = queryMeshOf("soup", soupMesh(3000, 1604));
  const PointList points = QueryPoints(mesh, 1605).many(40);
  std::vector<double> expected;
  {
    const MeshIndex index(mesh.view());
    for (std::size_t i = 0; i < points.size(); ++i) expected.push_back(index.windingNumber(points[i].data()));
  }
  for (int round = 0; round < 10; ++round) {
    const MeshIndex index(mesh.view());
    constexpr std::size_t kThreads = 4;
    std::vector<double> answers(points.size());
    std::vector<char> isClosed(kThreads, 'x');
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread)
      threads.emplace_back([&, thread] {
        if (thread == 0) isClosed[thread] = index.isClosed() ? 'y' : 'n';
        for (std::size_t i = thread; i < points.size(); i += kThreads)
          answers[i] = index.windingNumber(points[i].data());
        isClosed[thread] = index.isClosed() ? 'y' : 'n';
      });
    for (std::thread& thread : threads) thread.join();
    CHECK(answers == expected);
    CHECK(isClosed == std::vector<char>(kThreads, 'n'));
  }
}
