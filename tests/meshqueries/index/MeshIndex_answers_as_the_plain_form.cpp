// Every question about one ray against a loop over all triangles with the kernel: bit for bit, for trees of every
// quality and for every instruction set.

#include <doctest/doctest.h>

#include <cmath>

#include "meshqueries/qzQueryBuilds.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

struct Question {
  Ray ray;
  RayOptions options;
  RayAnswers expected;
};

std::vector<Question> questionsOn(const QueryMesh& mesh, std::size_t count, std::uint32_t seed) {
  const qzPlain::tRayQueries plain(mesh.view());
  QueryRays rays(mesh, seed);
  std::vector<Question> questions;
  while (questions.size() < count) {
    Question question;
    question.ray = rays.any();
    question.options = rays.anyOptions();
    // Now and then the limits are at a hit, or the closest triangle is left out.
    const std::vector<Hit> hits = plain.allHits(question.ray, question.options);
    if (!hits.empty()) {
      const Hit& hit = hits[rays.anyNumber(static_cast<std::uint32_t>(hits.size()))];
      switch (rays.anyNumber(8)) {
        case 0:
          question.ray.tMin = hit.t;
          break;
        case 1:
          question.ray.tMax = hit.t;
          break;
        case 2:
          question.ray.tMin = question.ray.tMax = hit.t;
          break;
        case 3:
          question.ray.tMin = std::nextafter(hit.t, kInf);
          break;
        case 4:
          question.ray.tMax = std::nextafter(hit.t, -kInf);
          break;
        case 5:
          question.options.skip = hits.front().triangle;
          break;
        default:
          break;
      }
    }
    question.expected = answersOf(plain, question.ray, question.options);
    questions.push_back(question);
  }
  return questions;
}

void checkAll(const QueryMesh& mesh, std::size_t count, std::uint32_t seed) {
  const std::vector<Question> questions = questionsOn(mesh, count, seed);
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    for (const Question& question : questions) {
      const std::string wrong = wrongAnswer(index, question.expected, question.ray, question.options);
      if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ": ", wrong);
    }
  });
}

}  // namespace

TEST_CASE("every question has the answers of the plain form on difficult meshes") {
  std::size_t nbHits = 0, nbMisses = 0;
  std::uint32_t seed = 101;
  for (const QueryMesh& mesh : difficultMeshes()) {
    checkAll(mesh, 1200, seed);
    for (const Question& question : questionsOn(mesh, 100, seed)) ++(question.expected.isHit ? nbHits : nbMisses);
    ++seed;
  }
  CHECK(nbHits > 600);
  CHECK(nbMisses > 800);
}

TEST_CASE("every question has the answers of the plain form on closed meshes of all sizes and places") {
  std::uint32_t seed = 201;
  for (const QueryMesh& mesh : closedMeshes()) {
    checkAll(mesh, 150, ++seed);
    checkAll(transformed(mesh, 1e-6f, 0.0f, 0.0f, 0.0f), 60, ++seed);
    checkAll(transformed(mesh, 1e6f, -1e6f, 0.0f, 1e6f), 60, ++seed);
    checkAll(transformed(mesh, 1.0f, 1e7f, 1e7f, -1e7f), 60, ++seed);
  }
}

TEST_CASE("every question has the answers of the plain form on meshes of thousands of triangles") {
  checkAll(queryMeshOf("terrain", terrainMesh(40, 301)), 150, 302);
  checkAll(queryMeshOf("soup", soupMesh(4000, 303)), 150, 304);
  checkAll(queryMeshOf("awkward", awkwardMesh(4000, 305)), 150, 306);
}

TEST_CASE("rays that are not valid hit nothing, whatever they meet") {
  const QueryMesh mesh = cubeMesh();
  const Ray valid = {{0.0f, 0.0f, -3.0f}, -kInf, {0.1f, 0.05f, 1.0f}, kInf};
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    std::vector<Hit> hits;
    const auto expect = [&](const Ray& ray, std::uint32_t nbHits) {
      INFO(describe(ray));
      CHECK(index.closestHit(ray).triangle != (nbHits > 0 ? kNone : 0));
      CHECK(static_cast<bool>(index.closestHit(ray)) == (nbHits > 0));
      CHECK(index.anyHit(ray) == (nbHits > 0));
      index.allHits(ray, hits);
      CHECK(hits.size() == nbHits);
      const Crossings crossings = index.crossings(ray);
      CHECK(crossings.front == nbHits / 2);
      CHECK(crossings.back == nbHits / 2);
    };
    expect(valid, 2);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      for (const float value : {kNaN, kInf, -kInf, 1.0001e15f, -1.0001e15f, kMaxFloat}) {
        Ray ray = valid;
        ray.origin[axis] = value;
        expect(ray, 0);
      }
      for (const float value : {kNaN, kInf, -kInf}) {
        Ray ray = valid;
        ray.direction[axis] = value;
        expect(ray, 0);
      }
    }
    Ray ray = valid;
    for (float& component : ray.direction) component = -0.0f;
    expect(ray, 0);
    ray = valid;
    ray.tMin = kNaN;
    expect(ray, 0);
    ray = valid;
    ray.tMax = kNaN;
    expect(ray, 0);
    ray = valid;
    ray.tMin = 9.0f, ray.tMax = 1.0f;
    expect(ray, 0);
    // What is just allowed.
    ray = valid;
    ray.origin[2] = -1e15f;
    ray.direction[0] = ray.direction[1] = 0.0f;
    expect(ray, 2);
    for (float& component : ray.direction) component *= 0x1p-149f;
    expect(ray, 2);
    for (float& component : ray.direction) component *= 0x1p+127f;
    expect(ray, 2);
  });
}

TEST_CASE("a t that overflows is infinite, and a hit where tMax is infinite") {
  const QueryMesh mesh = cubeMesh();
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    Ray ray = {{0.1f, 0.2f, -3.0f}, 0.0f, {0.0f, 0.0f, 1e-40f}, kInf};
    const Hit hit = index.closestHit(ray);
    CHECK(hit.t == kInf);
    CHECK(static_cast<bool>(hit));
    std::vector<Hit> hits;
    index.allHits(ray, hits);
    REQUIRE(hits.size() == 2);
    CHECK(sameBits(hits[0], hit));  // both at infinity: the smaller number first
    CHECK(hits[0].triangle < hits[1].triangle);
    ray.tMin = kInf;
    CHECK(index.crossings(ray).front == 1);
    CHECK(index.crossings(ray).back == 1);
    ray.tMin = 0.0f;
    ray.tMax = kMaxFloat;
    CHECK(!index.anyHit(ray));
    ray.tMin = -kInf;
    ray.tMax = -kInf;
    CHECK(!index.anyHit(ray));
    ray.direction[2] = -1e-40f;
    CHECK(index.closestHit(ray).t == -kInf);
  });
}

TEST_CASE("of equal t the smallest triangle number is reported, in every order of the triangles") {
  QueryMesh mesh;
  const std::uint32_t a = mesh.addVertex(-1.0f, -1.0f, 0.0f), b = mesh.addVertex(1.0f, -1.0f, 0.0f),
                      c = mesh.addVertex(0.0f, 1.0f, 0.0f), d = mesh.addVertex(0.5f, 0.5f, 7.0f);
  for (int i = 0; i < 100; ++i) i % 3 == 1 ? mesh.addTriangle(a, b, c) : mesh.addTriangle(b, c, d);
  const Ray ray = {{0.0f, 0.0f, -1.0f}, 0.0f, {0.0f, 0.0f, 1.0f}, 1.0f};
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    CHECK(index.closestHit(ray).triangle == 1);
    RayOptions options;
    options.skip = 1;
    CHECK(index.closestHit(ray, options).triangle == 4);
    std::vector<Hit> hits;
    index.allHits(ray, hits);
    REQUIRE(hits.size() == 33);
    for (std::size_t i = 0; i < hits.size(); ++i) CHECK(hits[i].triangle == 3 * i + 1);
  });
}

TEST_CASE("the caller's floating-point mode changes no answer, and is kept") {
  const QueryMesh mesh = joined("", transformed(starMesh(1, 401), 1e-40f, 0.0f, 0.0f, 0.0f), starMesh(1, 402));
  const std::vector<Question> questions = questionsOn(mesh, 200, 403);
  std::vector<Ray> rays;
  std::vector<RayAnswers> expected;
  const qzPlain::tRayQueries plain(mesh.view());
  for (const Question& question : questions) {
    rays.push_back(question.ray);
    expected.push_back(answersOf(plain, question.ray));
  }
  const MeshIndex ofDefault(mesh.view());
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    std::string wrong, wrongOfMany, wrongOfBuild;
    std::array<std::uint64_t, 2> digest;
    bool isClosed, isKept;
    {
      const CallersFloatMode callers(mode);
      BuildOptions options;
      options.quality = Quality::best;
      const MeshIndex index(mesh.view(), options);
      digest = index.meshDigest();
      isClosed = index.isClosed();
      for (std::size_t i = 0; i < questions.size(); ++i) {
        if (wrong.empty())
          wrong = wrongAnswer(ofDefault, questions[i].expected, questions[i].ray, questions[i].options);
        if (wrongOfBuild.empty()) wrongOfBuild = wrongAnswer(index, expected[i], rays[i]);
      }
      wrongOfMany = wrongBatch(index, expected, rays);
      isKept = callers.isKept();
    }
    INFO("mode ", static_cast<unsigned int>(mode));
    CHECK(wrong == "");
    CHECK(wrongOfMany == "");
    CHECK(wrongOfBuild == "");
    CHECK(digest == ofDefault.meshDigest());
    CHECK(isClosed);
    CHECK(isKept);
  }
}
