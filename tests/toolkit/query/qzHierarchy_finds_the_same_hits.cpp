#include <doctest/doctest.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/query/qzRayCast.h>

#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;
using namespace qzToolkit;

TEST_CASE("counting changes no hit, for every policy") {
  const std::uint32_t seed = 12;
  CAPTURE(seed);
  qzHierarchy hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, awkwardMesh(3000, seed), 4);
  Random random(seed);
  int nbHits = 0;
  for (int i = 0; i < 20000; ++i) {
    CAPTURE(i);
    qzRay ray;
    ray.mOrigin = random.point(-2.0f, 2.0f);
    ray.mDirection = random.point(-1.0f, 1.0f);
    if (i % 4 == 0) ray.mDirection[i / 4 % 3] = 0.0f;
    const auto policy = qzQBVH::tIntersectionPolicy(i % 3);
    unsigned nbVisits = 0;
    const qzHit counted = hierarchy.castRayCounting(ray, policy, nbVisits), plain = castRay(hierarchy, ray, policy);
    CHECK(sameBits(counted.mDistance, plain.mDistance));
    CHECK(counted.mTriangle == plain.mTriangle);
    for (int k = 0; k < 3; ++k) CHECK(sameBitsOrNaN(counted.mWeights[k], plain.mWeights[k]));
    CHECK(nbVisits >= 1);
    CHECK(nbVisits <= hierarchy.getNoNodes());
    nbHits += plain.isHit();
  }
  CHECK(nbHits > 1000);
}

TEST_CASE("a ray that hits no box visits the root only, and nothing without nodes") {
  qzHierarchy hierarchy;
  const qzRay away = {{0.0f, 0.0f, 5.0f}, {0.0f, 0.0f, 1.0f}};
  const qzRay through = {{0.0f, 0.0f, 5.0f}, {0.0f, 0.0f, -1.0f}};
  unsigned nbVisits = 99;
  CHECK(!hierarchy.castRayCounting(through, qzQBVH::eIntersectBothFaces, nbVisits).isHit());
  CHECK(nbVisits == 0);
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, sphereMesh(16, 32), 4);
  CHECK(!hierarchy.castRayCounting(away, qzQBVH::eIntersectBothFaces, nbVisits).isHit());
  CHECK(nbVisits == 1);
  CHECK(hierarchy.castRayCounting(through, qzQBVH::eIntersectBothFaces, nbVisits).isHit());
  CHECK(nbVisits > 1);
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, sphereMesh(2, 3), 100);  // one leaf
  CHECK(hierarchy.castRayCounting(through, qzQBVH::eIntersectBothFaces, nbVisits).isHit());
  CHECK(nbVisits == 0);
}

TEST_CASE("getBytes sums the arrays that the flags ask for") {
  qzHierarchy hierarchy;
  CHECK(hierarchy.getBytes() == 0);
  const qz::qzTriMesh mesh = sphereMesh(8, 12);
  const auto sizeOf = [&](std::size_t bytesInQuadruplet) {
    return hierarchy.getNoNodes() * std::size_t(128) + hierarchy.getNoTriangleQuadruplets() * bytesInQuadruplet;
  };
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
  CHECK(hierarchy.getBytes() == sizeOf(192 + 16));
  hierarchy.buildFromMesh(qzQBVH::eTrianglesVertices, mesh, 4);
  CHECK(hierarchy.getBytes() == sizeOf(144 + 16));
  hierarchy.buildFromMesh(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations, mesh, 4);
  CHECK(hierarchy.getBytes() == sizeOf(144 + 192 + 16));
}
