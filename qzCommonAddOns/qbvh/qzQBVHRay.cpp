#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzLogRecord.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>

namespace {

// Runs the variant for this processor. The compiler's runtime detects the processor before any constructor runs, so the
// test is one load and a predicted branch. Before that it reads zeros, which select the baseline.
void castRay(const qzDetail::tRayHierarchy& hierarchy, const qzDetail::tRayQuery& query, qzDetail::tRayHit& hit) {
#if defined(QZ_HAS_AVX_VARIANT)
  if (__builtin_expect(__builtin_cpu_supports("avx"), 1)) return qzDetail::castRayAvx(hierarchy, query, hit);
#endif
  qzDetail::castRayBaseline(hierarchy, query, hit);
}

// Copies a hit to the caller's variables. Without a hit t and barycentric keep their values.
bool report(const qzDetail::tRayHit& hit, float& t, Wm4::Vector2<float>& barycentric, unsigned& triangle) {
  triangle = hit.mTriangle;
  if (triangle == qzDetail::kNoTriangleHit) return false;
  t = hit.mT;
  barycentric = Wm4::Vector2<float>(hit.mW, hit.mU);
  return true;
}

}  // namespace

static_assert(qzQBVH::eIntersectFrontFaces == qzDetail::kFrontFacesOnly);
static_assert(qzQBVH::eIntersectBackFaces == qzDetail::kBackFacesOnly);

bool qzQBVH::intersectRay(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float tMin, float& t,
                          Wm4::Vector2<float>& barycentric, unsigned& triangle, tIntersectionPolicy policy) const {
  if (!(mFlags & eTrianglesEquations)) {
    if (qzDetail::isLogged(qzDetail::kLogError)) {
      qzDetail::logRecord(qzDetail::kLogError, "",
                          "error: QBVH is not built with the right data type (should be qzQBVH::eTrianglesEquations)");
    }
    return false;
  }
  const qzDetail::tFloatMode mode;
  qzDetail::tRayHit hit{t};
  castRay(qzDetail::viewRows(mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets, mIsNested),
          qzDetail::makeRayQuery(origin, direction, tMin, policy), hit);
  return report(hit, t, barycentric, triangle);
}

bool qzQBVH::intersectRaySymmetric(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float& t,
                                   Wm4::Vector2<float>& barycentric, unsigned& triangle) const {
  if (!(mFlags & eTrianglesEquations)) return false;
  const qzDetail::tFloatMode mode;
  qzDetail::tRayHit hit{t};
  castRay(qzDetail::viewRows(mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets, mIsNested),
          qzDetail::makeSymmetricRayQuery(origin, direction), hit);
  return report(hit, t, barycentric, triangle);
}
