#include <doctest/doctest.h>
#include <toolkit/query/qzRayCast.h>

#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

std::vector<qzRay> randomRays(int count, std::uint32_t seed) {
  Random random(seed);
  std::vector<qzRay> rays(static_cast<std::size_t>(count));
  for (qzRay& ray : rays) {
    ray.mOrigin = random.point(-2.0f, 2.0f);
    ray.mDirection = random.point(-1.0f, 1.0f);
    if (random.below(2) == 0) ray.mTMin = random.between(0.0f, 1.0f);
    if (random.below(2) == 0) ray.mTMax = random.between(0.0f, 4.0f);
  }
  return rays;
}

bool isSame(const qzHit& a, const qzHit& b) {
  return sameBits(a.mDistance, b.mDistance) && a.mTriangle == b.mTriangle &&
         sameBitsOrNaN(a.mWeights[0], b.mWeights[0]) && sameBitsOrNaN(a.mWeights[1], b.mWeights[1]) &&
         sameBitsOrNaN(a.mWeights[2], b.mWeights[2]);
}

}  // namespace

TEST_CASE("every hit equals that of the library's query, for every policy") {
  const std::uint32_t seed = 5;
  CAPTURE(seed);
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, soupMesh(3000, seed), 4);
  const std::vector<qzRay> rays = randomRays(20000, seed);
  int nbHits = 0;
  for (std::size_t i = 0; i < rays.size(); ++i) {
    CAPTURE(i);
    for (auto policy : {qzQBVH::eIntersectBothFaces, qzQBVH::eIntersectFrontFaces, qzQBVH::eIntersectBackFaces}) {
      const qzHit hit = castRay(hierarchy, rays[i], policy);
      float t = rays[i].mTMax;
      Wm4::Vector2<float> weights;
      unsigned triangle;
      qzHit expected;
      if (hierarchy.intersectRay(rays[i].mOrigin, rays[i].mDirection, rays[i].mTMin, t, weights, triangle, policy)) {
        expected.mDistance = t;
        expected.mTriangle = static_cast<int>(triangle);
        expected.mWeights[0] = weights[0];
        expected.mWeights[1] = weights[1];
        expected.mWeights[2] = (1.0f - weights[0]) - weights[1];
        ++nbHits;
      }
      CHECK(isSame(hit, expected));
      CHECK(hit.isHit() == expected.isHit());
    }
    float t = rays[i].mTMax;
    Wm4::Vector2<float> weights;
    unsigned triangle;
    const bool isHit = hierarchy.intersectRaySymmetric(rays[i].mOrigin, rays[i].mDirection, t, weights, triangle);
    CHECK(isSame(castRaySymmetric(hierarchy, rays[i]), isHit ? qzHit(t, triangle, weights) : qzHit()));
    nbHits += isHit;
  }
  CHECK(nbHits > 2000);
}

TEST_CASE("no hit is distance +inf, triangle -1 and NaN weights") {
  const qzHit hit;
  CHECK(!hit.isHit());
  CHECK(hit.mDistance == kInf);
  CHECK(hit.mTriangle == -1);
  for (float weight : hit.mWeights) CHECK(weight != weight);
}
