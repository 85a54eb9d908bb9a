// What construction refuses: the first bad triangle is named, and nothing is built. What it accepts.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

/// What std::invalid_argument says, for every quality the same; empty if the mesh is accepted.
std::string refusalOf(const Mesh& mesh, std::uint32_t firstTriangle = 0) {
  std::string first;
  for (const Quality quality : allQualities()) {
    for (const int threads : {1, 0}) {
      BuildOptions options;
      options.quality = quality;
      options.threads = threads;
      options.firstTriangle = firstTriangle;
      std::string text;
      try {
        const MeshIndex index(mesh, options);
      } catch (const std::invalid_argument& error) {
        text = error.what();
        REQUIRE(!text.empty());
      }
      if (quality == Quality::fast && threads == 1) first = text;
      CHECK(text == first);
    }
  }
  return first;
}

std::string refusalOf(const QueryMesh& mesh, std::uint32_t firstTriangle = 0) {
  return refusalOf(mesh.view(), firstTriangle);
}

bool names(const std::string& text, std::size_t triangle) {
  return text.compare(0, 9, "triangle ") == 0 && text.substr(9, text.find(':') - 9) == std::to_string(triangle);
}

}  // namespace

TEST_CASE("a used coordinate that is NaN, infinite or beyond 1e15 is refused, and the first triangle named") {
  const QueryMesh good = icosphereMesh(2);
  CHECK(refusalOf(good) == "");
  Random random(1001);
  for (const float bad : {kNaN, -kNaN, kInf, -kInf, 1e16f, -1e16f, kMaxFloat, std::nextafter(1e15f, kInf)}) {
    QueryMesh mesh = good;
    const std::size_t vertex = random.below(static_cast<std::uint32_t>(mesh.vertexCount()));
    mesh.vertices[3 * vertex + random.below(3)] = bad;
    std::size_t first = 0;
    while (mesh.triangles[3 * first] != vertex && mesh.triangles[3 * first + 1] != vertex &&
           mesh.triangles[3 * first + 2] != vertex)
      ++first;
    const std::string text = refusalOf(mesh);
    INFO(text);
    CHECK(names(text, first));
    CHECK(text.find("vertex " + std::to_string(vertex)) != std::string::npos);
  }
  for (const float largest : {1e15f, -1e15f}) {
    QueryMesh mesh = good;
    mesh.vertices[7] = largest;
    CHECK(refusalOf(mesh) == "");
  }
}

TEST_CASE("a vertex number out of range is refused, and the first triangle named") {
  const QueryMesh good = gridBoxMesh(4);
  for (const std::size_t place : {std::size_t(0), std::size_t(100), good.triangles.size() - 1}) {
    for (const std::uint32_t vertex :
         {static_cast<std::uint32_t>(good.vertexCount()), 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
      QueryMesh mesh = good;
      mesh.triangles[place] = vertex;
      mesh.triangles.back() = 0xFFFFFFF0u;  // a later one is worse
      if (place == good.triangles.size() - 1) mesh.triangles[place] = vertex;
      const std::string text = refusalOf(mesh);
      INFO(text);
      CHECK(names(text, place / 3));
      CHECK(text.find(std::to_string(vertex)) != std::string::npos);
    }
  }
  // Without vertices no triangle is possible.
  const std::uint32_t triangles[] = {0, 0, 0};
  CHECK(names(refusalOf(Mesh{nullptr, 0, triangles, 1}), 0));
}

TEST_CASE("the first bad triangle is named far into a large mesh, whatever is wrong with it") {
  QueryMesh mesh = queryMeshOf("terrain", terrainMesh(120, 1002));
  const std::size_t n = mesh.triangleCount();
  REQUIRE(n == 28800);
  mesh.triangles[3 * 28000 + 1] = 99999999;
  CHECK(names(refusalOf(mesh), 28000));
  const std::uint32_t bad = mesh.addVertex(0.0f, kNaN, 0.0f);
  mesh.triangles[3 * 20001 + 2] = bad;
  CHECK(names(refusalOf(mesh), 20001));
  // Numbers go up to the one before kNone.
  CHECK(names(refusalOf(mesh, kNone - 20002), 20001));
  CHECK(names(refusalOf(mesh, kNone - 20001), 20001));
  CHECK(names(refusalOf(mesh, kNone - 20000), 20000));
}

TEST_CASE("the first bad triangle is named when threads find later ones before it") {
  // The first bad triangle is the last one of the first half; all of the second half are bad.
  constexpr std::size_t kHalf = 1 << 19;
  QueryMesh mesh = cubeMesh();
  mesh.triangles.assign(6 * kHalf, 0);
  std::fill(mesh.triangles.begin() + 3 * (kHalf - 1), mesh.triangles.end(), 99999999);
  for (int round = 0; round < 10; ++round) CHECK(names(refusalOf(mesh), kHalf - 1));
}

TEST_CASE("numbers beyond the largest are refused, and the first triangle named") {
  const QueryMesh mesh = cubeMesh();
  CHECK(refusalOf(mesh, kNone - 12) == "");
  CHECK(names(refusalOf(mesh, kNone - 11), 11));
  CHECK(names(refusalOf(mesh, kNone - 5), 5));
  CHECK(names(refusalOf(mesh, kNone - 1), 1));
  CHECK(names(refusalOf(mesh, kNone), 0));
  CHECK(refusalOf(mesh.view(0, 0), kNone) == "");
}

TEST_CASE("unused vertices may hold anything") {
  QueryMesh mesh = cubeMesh();
  for (const float value : {kNaN, kInf, -kInf, 1e16f, kMaxFloat}) mesh.addVertex(value, value, value);
  CHECK(refusalOf(mesh) == "");
  const MeshIndex index(mesh.view());
  CHECK(index.vertexCount() == 13);
  CHECK(index.triangleCount() == 12);
  CHECK(index.isClosed());
  CHECK(index.closestHit({{0.1f, 0.2f, -3.0f}, 0.0f, {0.0f, 0.0f, 1.0f}, kInf}).t == 2.5f);
}

TEST_CASE("meshes without triangles are fine, and miss") {
  const float vertices[] = {0, 0, 0, kNaN, 1, 2};
  const std::uint32_t triangles[] = {7, 8, 9};
  for (const Mesh& mesh : {Mesh{}, Mesh{vertices, 2, nullptr, 0}, Mesh{vertices, 2, triangles, 0}}) {
    CHECK(refusalOf(mesh) == "");
    const MeshIndex index(mesh);
    CHECK(index.triangleCount() == 0);
    CHECK(index.vertexCount() == mesh.vertexCount);
    CHECK(index.isClosed());
    CHECK(index.memoryUsed() < 2000);
    const Ray ray = {{0, 0, 0}, -kInf, {1, 1, 1}, kInf};
    CHECK(wrongAnswer(index, RayAnswers{}, ray) == "");
  }
}

TEST_CASE("an index without content, and one that was moved from, have no triangles") {
  const QueryMesh mesh = cubeMesh();
  const Ray ray = {{0.1f, 0.2f, -3.0f}, 0.0f, {0.0f, 0.0f, 1.0f}, kInf};
  const RayAnswers answers = answersOf(qzPlain::tRayQueries(mesh.view()), ray);
  const auto expectEmpty = [&](const MeshIndex& index) {
    CHECK(index.triangleCount() == 0);
    CHECK(index.vertexCount() == 0);
    CHECK(index.isClosed());
    CHECK(index.memoryUsed() >= sizeof(MeshIndex));
    CHECK(index.meshDigest() == MeshIndex(Mesh{}).meshDigest());
    CHECK(wrongAnswer(index, RayAnswers{}, ray) == "");
    CHECK(wrongBatch(index, {RayAnswers{}}, {ray}) == "");
  };
  expectEmpty(MeshIndex());
  MeshIndex first(mesh.view());
  const std::array<std::uint64_t, 2> digest = first.meshDigest();
  const std::size_t memory = first.memoryUsed();
  MeshIndex second(std::move(first));
  expectEmpty(first);  // NOLINT(bugprone-use-after-move)
  CHECK(second.meshDigest() == digest);
  CHECK(second.memoryUsed() == memory);
  CHECK(wrongAnswer(second, answers, ray) == "");
  MeshIndex third(icosphereMesh(1).view());
  third = std::move(second);
  expectEmpty(second);  // NOLINT(bugprone-use-after-move)
  CHECK(wrongAnswer(third, answers, ray) == "");
  third = MeshIndex();
  expectEmpty(third);
  static_assert(!std::is_copy_constructible_v<MeshIndex> && !std::is_copy_assignable_v<MeshIndex>);
  static_assert(std::is_nothrow_move_constructible_v<MeshIndex> && std::is_nothrow_move_assignable_v<MeshIndex>);
}

TEST_CASE("an index keeps a copy of its mesh") {
  QueryMesh mesh = starMesh(2, 1003);
  const QueryMesh before = mesh;
  const qzPlain::tRayQueries plain(before.view());
  const MeshIndex index(mesh.view());
  std::fill(mesh.vertices.begin(), mesh.vertices.end(), kNaN);
  std::fill(mesh.triangles.begin(), mesh.triangles.end(), 0xFFFFFFFFu);
  QueryRays rays(before, 1004);
  for (int i = 0; i < 100; ++i) {
    const Ray ray = rays.any();
    CHECK(wrongAnswer(index, answersOf(plain, ray), ray) == "");
  }
  CHECK(index.isClosed());
}
