// The four-wide hierarchy when an allocation fails. A failure of operator new leaves a build as std::bad_alloc. The
// results of the aligned allocator are not checked, by contract: a build that gets no block for its four-lane arrays
// writes through a null pointer. So only calls that write no block are tested: allocate itself, and sets of no planes.
// The address sanitizer checks that the blocks are released.

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <doctest/doctest.h>

#include <optional>
#include <string>

#include "support/qzObservers.h"
#include "support/qzRefusals.h"
#include "support/qzVectors.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

/// Answers of a hierarchy: a bit for each of a few regions, and the hits of a few rays.
struct Answers {
  std::string regions;
  std::vector<std::uint32_t> hits;
  bool operator==(const Answers& o) const { return regions == o.regions && hits == o.hits; }
};

Answers answersOf(const qzQBVH& hierarchy, const qz::qzTriMesh& mesh) {
  Random random(31);
  Answers answers;
  for (int i = 0; i < 40; ++i) {
    answers.regions += meets(hierarchy, ordinaryPlanes(mesh, random)) ? '1' : '0';
    const Point origin = random.point(-2.0f, 2.0f), target = anyPointOn(mesh, random);
    const Point direction = minus(target, origin);
    float t = kInf;
    Wm4::Vector2<float> weights(0.0f, 0.0f);
    unsigned triangle = 0;
    hierarchy.intersectRay(origin, direction, 0.0f, t, weights, triangle, qzQBVH::eIntersectBothFaces);
    for (const float value : {t, weights[0], weights[1]}) answers.hits.push_back(bitsOf(value));
    answers.hits.push_back(triangle);
  }
  return answers;
}

// A build into a hierarchy that holds another mesh, every allocation of operator new refused.
template <class Build>
void checkBuild(const qz::qzTriMesh& mesh, Build build) {
  const qz::qzTriMesh other = soupMesh(50, 32);
  qzQBVH ofOther, ofMesh;
  ofOther.buildFromMesh(kBothArrays, other, 4);
  build(ofMesh);
  const Answers earlier = answersOf(ofOther, other), expected = answersOf(ofMesh, mesh);
  CHECK(!(earlier == expected));
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    qzQBVH hierarchy;
    hierarchy.buildFromMesh(kBothArrays, other, 4);
    const bool isRefused = refusal.strikes([&] { build(hierarchy); });
    // A build that fails leaves the hierarchy unchanged.
    CHECK(answersOf(hierarchy, other) == (isRefused ? earlier : answersOf(ofMesh, other)));
    build(hierarchy);
    CHECK(answersOf(hierarchy, mesh) == expected);
    return isRefused;
  });
  CHECK(nbRefused >= 4);
}

}  // namespace

TEST_CASE("buildFromMesh without memory throws and leaves the hierarchy unchanged, and the next build succeeds") {
  const LogCapture quiet(false);
  const qz::qzTriMesh mesh = terrainMesh(12, 33);
  for (const unsigned int maxLeafSize : {1u, 4u}) {
    checkBuild(mesh, [&](qzQBVH& hierarchy) { hierarchy.buildFromMesh(kBothArrays, mesh, maxLeafSize); });
  }
}

TEST_CASE("buildFromBVH without memory throws and leaves the hierarchy unchanged, and the next build succeeds") {
  const LogCapture quiet(false);
  const qz::qzTriMesh mesh = terrainMesh(12, 34);
  const qzBVHTriangleContainer triangles(mesh);
  qzGenericBVH binary;
  qzLinearGenericBVHBuilder().build(triangles, binary, nullptr, 20);
  checkBuild(mesh, [&](qzQBVH& hierarchy) { hierarchy.buildFromBVH(kBothArrays, binary, mesh); });
}

TEST_CASE("a hull query of many planes without memory throws, and the next one gives its answer") {
  OpenQBVH hierarchy;
  hierarchy.allocateEmpty(0, 1);
  hierarchy.setTriangle(0, 0, Point(-9.0f, -9.0f, 0.0f), Point(9.0f, -9.0f, 0.0f), Point(0.0f, 9.0f, 0.0f));
  for (int lane = 1; lane < 4; ++lane) {
    hierarchy.setTriangle(0, lane, Point(kNaN, kNaN, kNaN), Point(kNaN, kNaN, kNaN), Point(kNaN, kNaN, kNaN));
  }
  const PlaneSet circle(aroundCircle(300));
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    std::optional<bool> answer;
    const bool isRefused = refusal.strikes([&] { answer = circle.meets(hierarchy); });
    CHECK(answer.value_or(true));
    CHECK(circle.meets(hierarchy));
    return isRefused;
  });
  CHECK(nbRefused == 3);  // room for 128, 256 and 512 corners
}

TEST_CASE("a query without memory for its error record throws, and the next one logs it") {
  const qz::qzTriMesh mesh = soupMesh(5, 35);
  qzQBVH withoutEquations, withoutVertices;
  {
    const LogCapture quiet(false);
    withoutEquations.buildFromMesh(qzQBVH::eTrianglesVertices, mesh, 4);
    withoutVertices.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
  }
  const PlaneSet cube(cubeAround(Point(0.0f, 0.0f, 0.0f), 1.0f));
  const auto ask = [&] {
    float t = 1.0f;
    Wm4::Vector2<float> weights;
    unsigned triangle;
    withoutEquations.intersectRay(Point(0.0f, 0.0f, 0.0f), Point(0.0f, 0.0f, 1.0f), 0.0f, t, weights, triangle,
                                  qzQBVH::eIntersectBothFaces);
    cube.meets(withoutVertices);
  };
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    const RecordCount log;
    const bool isRefused = refusal.strikes(ask);
    const int nbBefore = log.nbRecords();
    ask();
    CHECK(log.nbRecords() == nbBefore + 2);
    return isRefused;
  });
  CHECK(nbRefused >= 2);
}

TEST_CASE("allocate without memory leaves null pointers, and can be repeated") {
  for (const RefusedAllocation::Span span : {RefusedAllocation::eOnce, RefusedAllocation::eFromThenOn}) {
    for (std::uint64_t n = 0; n < 4; ++n) {
      INFO("block ", n, " refused");
      OpenQBVH hierarchy;
      hierarchy.allocate(kBothArrays, 3, 5);
      std::size_t nbBlocks;
      {
        const HeapWatch watch;
        const RefusedAllocation refused(n, span, RefusedAllocation::eAlignedBlock);
        hierarchy.allocate(kBothArrays, 7, 9);
        nbBlocks = watch.nbAlignedBlocks();
      }
      CHECK(nbBlocks == 4);
      for (std::size_t i = 0; i < 4; ++i) {
        const bool isRefused = span == RefusedAllocation::eOnce ? i == n : i >= n;
        CHECK((hierarchy.arrays()[i] == nullptr) == isRefused);
      }
      CHECK(hierarchy.getNoNodes() == 7);
      CHECK(hierarchy.getNoTriangleQuadruplets() == 9);
      if (n % 2 == 0) continue;  // destroyed without a further build
      hierarchy.allocate(kBothArrays, 1, 1);
      CHECK(hierarchy.mNodes != nullptr);
      CHECK(hierarchy.mTriangleIndices != nullptr);
    }
  }
}

TEST_CASE("a set of no planes is null without memory, and null may be released") {
  qzQBVH::tSOASinglePlaneEqn* set;
  bool hasHappened;
  {
    const RefusedAllocation refused(0, RefusedAllocation::eOnce, RefusedAllocation::eAlignedBlock);
    set = qzQBVH::CreateSOAPlaneEquationSet(nullptr, 0);
    hasHappened = refused.hasHappened();
  }
  CHECK(hasHappened);
  CHECK(set == nullptr);
  qzQBVH::DeleteSOAPlaneEquationSet(set);
}
