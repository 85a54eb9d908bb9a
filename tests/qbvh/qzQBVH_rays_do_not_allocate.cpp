// Ray queries allocate nothing.

#include <doctest/doctest.h>

#include "support/qzBits.h"
#include "support/qzHeapWatch.h"
#include "support/qzObservers.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

TEST_CASE("ray queries do not allocate") {
  constexpr std::uint32_t kSeed = 20;
  CAPTURE(kSeed);
  const LogCapture log(false);
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, terrainMesh(40, kSeed), 4);
  Random random(kSeed);
  int nbHits = 0;
  std::size_t nbAllocations;
  {
    const HeapWatch watch;
    for (int i = 0; i < 1000; ++i) {
      const Wm4::Vector3<float> origin = random.point(-1.0f, 1.0f), direction = random.point(-1.0f, 1.0f);
      float t = kInf;
      Wm4::Vector2<float> weights;
      unsigned triangle;
      nbHits += hierarchy.intersectRay(origin, direction, 0.0f, t, weights, triangle, qzQBVH::eIntersectBothFaces);
      t = 1.0f;
      nbHits += hierarchy.intersectRaySymmetric(origin, direction, t, weights, triangle);
    }
    nbAllocations = watch.nbAllocations();
  }
  CHECK(nbAllocations == 0);
  CHECK(nbHits > 100);

  const HeapWatch watch;  // checks that the watch counts allocations
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, soupMesh(10, kSeed), 4);
  CHECK(watch.nbAllocations() > 0);
}
