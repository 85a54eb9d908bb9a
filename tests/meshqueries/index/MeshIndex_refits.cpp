// An index whose vertices have moved answers as the plain form over the moved mesh: bit for bit, for trees of every quality
// and for every instruction set.

#include <doctest/doctest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "meshqueries/qzQueryBuilds.h"
#include "plain/qzPlainWinding.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzNearChecks.h"
#include "support/scenes/qzQueryChecks.h"
#include "support/scenes/qzQueryPoints.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

QueryMesh moved(const QueryMesh& mesh, float amount, std::uint32_t seed) {
  Random random(seed);
  QueryMesh result = mesh;
  result.name += ", moved";
  for (float& coordinate : result.vertices) coordinate += random.between(-amount, amount);
  return result;
}

std::string wrongAnswer(const MeshIndex& index, const QueryMesh& mesh, std::uint32_t seed) {
  const qzPlain::tRayQueries plainRays(mesh.view());
  QueryRays rays(mesh, seed);
  for (int i = 0; i < 100; ++i) {
    const Ray ray = rays.any();
    std::string wrong = wrongAnswer(index, answersOf(plainRays, ray), ray);
    if (!wrong.empty()) return wrong;
  }
  const qzPlain::tNearQueries plainNear(mesh.view());
  NearQuestions questions(mesh, seed);
  for (int i = 0; i < 100; ++i) {
    const NearQuestion question = questions.any();
    std::string wrong = wrongAnswer(index, nearAnswersOf(plainNear, question), question);
    if (!wrong.empty()) return wrong;
  }
  const qzPlain::tWinding plainWinding(mesh.view());
  const PointList points = QueryPoints(mesh, seed).many(30);
  for (std::size_t i = 0; i < points.size(); ++i)
    if (!sameBits(index.windingNumber(points[i].data()), plainWinding.windingNumber(points[i].data())))
      return "windingNumber of " + describe(points[i]);
  const MeshIndex anew(mesh.view());
  if (index.meshDigest() != anew.meshDigest()) return "meshDigest";
  if (index.isClosed() != anew.isClosed()) return "isClosed";
  return {};
}

}  // namespace

TEST_CASE("a refitted index answers as a new one") {
  std::uint32_t seed = 2601;
  for (const QueryMesh& mesh : difficultMeshes())
    for (const Quality quality : allQualities()) {
      BuildOptions options;
      options.quality = quality;
      MeshIndex index(mesh.view(), options);
      index.isClosed();  // the boundary is found before the move
      for (const float amount : {0.05f, 3.0f, 0.0f}) {
        const QueryMesh after = moved(mesh, amount, ++seed);
        index.refit(after.vertices.data());
        for (const std::string& name : detail::instructionSets()) {
          const UsedInstructionSet used(name);
          const std::string wrong = wrongAnswer(index, after, seed);
          if (!wrong.empty()) FAIL_CHECK(after.name, ", ", nameOf(quality), ", ", name, ": ", wrong);
        }
      }
    }
}

TEST_CASE("refit to the vertices of the build changes nothing") {
  const QueryMesh mesh = starMesh(3, 2602);
  MeshIndex index(mesh.view());
  const auto digest = index.meshDigest();
  CHECK(index.costRatio() == 1);
  index.refit(mesh.vertices.data());
  CHECK(index.costRatio() == 1);
  CHECK(index.meshDigest() == digest);
}

TEST_CASE("a mesh that closes when it moves is closed, one that tears is not") {
  QueryMesh mesh = unshared(cubeMesh());
  MeshIndex index(mesh.view());
  CHECK(index.isClosed());
  std::vector<float> torn = mesh.vertices;
  torn[0] += 0.25f;
  index.refit(torn.data());
  CHECK_FALSE(index.isClosed());
  index.refit(mesh.vertices.data());
  CHECK(index.isClosed());
}

TEST_CASE("the cost tells order from disorder") {
  const QueryMesh mesh = icosphereMesh(4);
  MeshIndex index(mesh.view());
  index.refit(transformed(mesh, 3.0f, 10.0f, -20.0f, 5.0f).vertices.data());
  CHECK(index.costRatio() == doctest::Approx(1).epsilon(1e-3));
  // Every vertex at the place of another.
  std::vector<float> shuffled = mesh.vertices;
  Random random(2603);
  for (std::size_t i = mesh.vertexCount() - 1; i > 0; --i) {
    const std::size_t other = random.below(static_cast<std::uint32_t>(i + 1));
    std::swap_ranges(&shuffled[3 * i], &shuffled[3 * i] + 3, &shuffled[3 * other]);
  }
  index.refit(shuffled.data());
  CHECK(index.costRatio() > 5);
}

TEST_CASE("coordinates that construction refuses are refused, and nothing changes") {
  QueryMesh mesh = gridBoxMesh(3);
  mesh.addVertex(0, 0, 0);  // not used
  MeshIndex index(mesh.view());
  const auto digest = index.meshDigest();
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), kInf, -kInf, 1.1e15f})
    for (const std::size_t vertex : {std::size_t(0), std::size_t(7), mesh.vertexCount() - 2}) {
      std::vector<float> vertices = moved(mesh, 0.5f, 2604).vertices;
      vertices[3 * vertex + 1] = bad;
      std::string expected, message;
      try {
        MeshIndex(Mesh{vertices.data(), mesh.vertexCount(), mesh.triangles.data(), mesh.triangleCount()});
      } catch (const std::invalid_argument& error) {
        expected = error.what();
      }
      try {
        index.refit(vertices.data());
      } catch (const std::invalid_argument& error) {
        message = error.what();
      }
      CHECK(message == expected);
      CHECK(message.find("triangle ") == 0);
      CHECK(index.meshDigest() == digest);
      CHECK(wrongAnswer(index, mesh, 2605) == "");
    }
  // Unused vertices may hold anything, and count in the digest.
  std::vector<float> vertices = mesh.vertices;
  vertices.back() = kInf;
  index.refit(vertices.data());
  CHECK(index.meshDigest() != digest);
}

TEST_CASE("an index without triangles refits") {
  MeshIndex none;
  none.refit(nullptr);
  CHECK(none.costRatio() == 1);
  const float vertex[3] = {1, 2, 3};
  MeshIndex empty(Mesh{vertex, 1, nullptr, 0});
  const auto digest = empty.meshDigest();
  const float other[3] = {1, 2, 4};
  empty.refit(other);
  CHECK(empty.meshDigest() != digest);
  CHECK(empty.costRatio() == 1);
}

TEST_CASE("refit does not depend on the caller's floating-point mode") {
  const QueryMesh mesh = starMesh(2, 2606), after = moved(mesh, 0.1f, 2607);
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    MeshIndex index(mesh.view());
    double ratio = 0;
    {
      const CallersFloatMode callers(mode);
      index.refit(after.vertices.data());
      ratio = index.costRatio();
      CHECK(callers.isKept());
    }
    CHECK(wrongAnswer(index, after, 2608) == "");
    CHECK(ratio == index.costRatio());
  }
}
