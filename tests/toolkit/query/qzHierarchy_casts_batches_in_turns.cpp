// Batches against qzQBVH::intersectRay, ray by ray: every bit of every hit, through the interface and through each of
// the traversals that this processor can run.

#include <doctest/doctest.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/query/qzRayBatch.h>
#include <toolkit/query/qzRayCast.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"
#include "support/qzObservers.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

/// Opens what the variants read.
class OpenHierarchy : public qzHierarchy {
 public:
  using qzHierarchy::mIsNested;
  qzDetail::tRayHierarchy rows() const {
    return qzDetail::viewRows(mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets, mIsNested);
  }
};

struct Variant {
  const char* name;
  void (*cast)(const qzDetail::tRayHierarchy&, const tRayBatch&);
};
std::vector<Variant> variants() {
  std::vector<Variant> variants = {{"baseline", castInTurnsBaseline}};
#if defined(QZ_HAS_AVX_VARIANT)
  if (__builtin_cpu_supports("avx")) variants.push_back({"AVX", castInTurnsAvx});
#endif
  return variants;
}

const std::size_t kBatchSizes[] = {0, 1, 2, 3, 23, 24, 25, 47, 48, 49, 1000};
const unsigned kPolicies[] = {0, 1, 2, 3, 0xFFFFFFFFu};

std::vector<qzRay> raysOf(const qz::qzTriMesh& mesh, std::size_t count, bool areOddMixedIn, Random& random) {
  std::vector<qzRay> rays;
  while (rays.size() < count) {
    const Ray ray = areOddMixedIn && random.below(3) == 0 ? awkwardRay(mesh, random) : ordinaryRay(mesh, random);
    rays.push_back({ray.origin, ray.direction, ray.tMin, ray.t});
  }
  return rays;
}

std::vector<qzHit> castOneByOne(const qzQBVH& hierarchy, const std::vector<qzRay>& rays, unsigned policy) {
  std::vector<qzHit> hits;
  for (const qzRay& ray : rays) hits.push_back(castRay(hierarchy, ray, qzQBVH::tIntersectionPolicy(policy)));
  return hits;
}

int countHits(const std::vector<qzHit>& hits) {
  int count = 0;
  for (const qzHit& hit : hits) count += hit.isHit() ? 1 : 0;
  return count;
}

/// The first hit of a batch whose bits differ from the expected ones; empty when there is none.
std::string difference(const std::vector<qzHit>& hits, const std::vector<qzHit>& expected) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (std::memcmp(static_cast<const void*>(&hits[i]), &expected[i], sizeof(qzHit)) == 0) continue;
    std::ostringstream text;
    text << "ray " << i << ": triangle " << hits[i].mTriangle << " at " << std::hexfloat << hits[i].mDistance
         << ", one by one " << std::dec << expected[i].mTriangle << " at " << std::hexfloat << expected[i].mDistance;
    return text.str();
  }
  return std::string();
}

/// Casts batches of all sizes. Returns how many of the rays hit.
int compareBatches(const OpenHierarchy& hierarchy, const qz::qzTriMesh& mesh, bool areOddMixedIn, std::uint32_t seed) {
  Random random(seed);
  int nbHits = 0;
  for (const std::size_t size : kBatchSizes) {
    CAPTURE(size);
    for (const unsigned policy : kPolicies) {
      CAPTURE(policy);
      const std::vector<qzRay> rays = raysOf(mesh, size, areOddMixedIn, random);
      std::vector<qzHit> expected = castOneByOne(hierarchy, rays, policy);
      nbHits += countHits(expected);
      expected.emplace_back(-3.0f, 77u, Wm4::Vector2<float>(0.5f, 0.25f));  // behind the batch: not written

      std::vector<qzHit> hits(size, qzHit(1.0f, 5u, Wm4::Vector2<float>(0.0f, 0.0f)));  // from an earlier batch
      hits.push_back(expected.back());
      hierarchy.castRays(rays.data(), size, qzQBVH::tIntersectionPolicy(policy), hits.data());
      CHECK(difference(hits, expected) == "");
      for (const Variant& variant : variants()) {
        CAPTURE(variant.name);
        std::vector<qzHit> fresh(size);
        fresh.push_back(expected.back());
        const qzDetail::tFloatMode mode;
        variant.cast(hierarchy.rows(), {rays.data(), size, policy, fresh.data()});
        CHECK(difference(fresh, expected) == "");
      }
    }
  }
  return nbHits;
}

}  // namespace

TEST_CASE("a batch over a mesh has the hits of single rays, for every size and policy, with odd rays between") {
  for (const unsigned leafSize : {1u, 4u, 9u, 100000u}) {
    CAPTURE(leafSize);
    for (const auto& mesh : {terrainMesh(20, 41), soupMesh(700, 42), sphereMesh(14, 20), awkwardMesh(700, 43)}) {
      const LogCapture quiet(false);
      OpenHierarchy hierarchy;
      hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, leafSize);
      for (const bool areOddMixedIn : {false, true}) {
        CHECK(compareBatches(hierarchy, mesh, areOddMixedIn, 44 + leafSize) > 500);
      }
    }
  }
}

TEST_CASE("a batch over a tree of any shape, with any boxes, has the hits of single rays") {
  int nbNested = 0, nbOthers = 0;
  for (const BoxKind boxes : {eTightBoxes, eNestedBoxes, eCroppedBoxes, eOddBoxes}) {
    CAPTURE(boxes);
    int nbHits = 0;
    for (std::uint32_t seed = 1; seed <= 25; ++seed) {
      CAPTURE(seed);
      Random random(seed);
      const int count = static_cast<int>(2 + random.below(80));
      const auto mesh = random.below(2) == 0 ? soupMesh(count, seed) : awkwardMesh(count, seed);
      OpenHierarchy hierarchy;
      hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, randomBVH(mesh, random.below(12), boxes, random), mesh);
      nbHits += compareBatches(hierarchy, mesh, true, seed);
      ++(hierarchy.mIsNested ? nbNested : nbOthers);
    }
    CHECK(nbHits > 1000);
  }
  CHECK(nbNested > 15);
  CHECK(nbOthers > 15);
}

TEST_CASE("of hits at equal distances a batch reports the same triangle as single rays") {
  for (std::uint32_t seed = 1; seed <= 10; ++seed) {
    CAPTURE(seed);
    const qz::qzTriMesh once = terrainMesh(6, seed);
    std::vector<Point> corners;  // every triangle three times
    for (unsigned int i = 0; i < 3 * nbTrianglesOf(once); ++i) {
      for (int corner = 0; corner < 3; ++corner) corners.push_back(cornerOf(once, i % nbTrianglesOf(once), corner));
    }
    const qz::qzTriMesh mesh = meshOfCorners(corners);
    Random random(seed);
    OpenHierarchy hierarchy;
    hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, randomBVH(mesh, 6, eNestedBoxes, random), mesh);
    CHECK(compareBatches(hierarchy, mesh, true, seed) > 500);
  }
}

TEST_CASE("a batch over a chain of nodes that is deeper than the stack has the hits of single rays") {
  const qz::qzTriMesh mesh = terrainMesh(12, 61);
  const unsigned int length = nbTrianglesOf(mesh) - 1;
  const qzBBox box = qzBBox::Make(-2.0f, -2.0f, -2.0f, 2.0f, 2.0f, 2.0f);
  for (const bool growsLeft : {false, true}) {
    CAPTURE(growsLeft);
    qzGenericBVH bvh;
    for (unsigned int i = 0; i < length; ++i) {
      const unsigned int leaf = 2 * i + 1, next = 2 * i + 2;
      bvh.editPrimitives().push_back(i);
      setInner(bvh, 2 * i, box, growsLeft ? next : leaf, growsLeft ? leaf : next);
      setLeaf(bvh, leaf, box, i, 1);
    }
    bvh.editPrimitives().push_back(length);
    setLeaf(bvh, 2 * length, box, length, 1);
    OpenHierarchy hierarchy;
    hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, bvh, mesh);
    CHECK(compareBatches(hierarchy, mesh, true, 62) > 500);
  }
}

TEST_CASE("a batch over nothing misses") {
  const LogCapture quiet(false);  // the library's query logs an error
  const OpenHierarchy hierarchy;
  compareBatches(hierarchy, sphereMesh(3, 4), true, 7);
}

TEST_CASE("a batch does not depend on the caller's rounding and denormal modes, and leaves them as they are") {
  const auto mesh = awkwardMesh(200, 71);
  OpenHierarchy hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
  Random random(72);
  const std::vector<qzRay> rays = raysOf(mesh, 500, true, random);
  const std::vector<qzHit> expected = castOneByOne(hierarchy, rays, 0);
  CHECK(countHits(expected) > 100);
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    CAPTURE(mode);
    std::vector<qzHit> hits(rays.size());
    bool isKept = false;
    {
      const CallersFloatMode floatMode(mode);
      hierarchy.castRays(rays.data(), rays.size(), qzQBVH::eIntersectBothFaces, hits.data());
      isKept = floatMode.isKept();
    }
    CHECK(isKept);
    CHECK(difference(hits, expected) == "");
  }
}
