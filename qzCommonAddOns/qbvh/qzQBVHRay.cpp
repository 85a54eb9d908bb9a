#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzLogRecord.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>

namespace {

using tCastRay = void (*)(const qzDetail::tRayHierarchy&, const qzDetail::tRayQuery&, qzDetail::tRayHit&);

// The variant for this processor, chosen while the library is loaded; the baseline serves whoever calls before that.
tCastRay castRay = qzDetail::castRayBaseline;
#if defined(QZ_HAS_AVX_VARIANT)
const bool isVariantChosen = [] {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx")) castRay = qzDetail::castRayAvx;
  return true;
}();
#endif

// Hands the hit to the caller, whose t and weights stay as they are when there is none.
bool report(const qzDetail::tRayHit& hit, float& t, Wm4::Vector2<float>& barycentric, unsigned& triangle) {
  triangle = hit.mTriangle;
  if (triangle == 0xFFFFFFFFu) return false;
  t = hit.mT;
  barycentric = Wm4::Vector2<float>(hit.mW, hit.mU);
  return true;
}

}  // namespace

bool qzQBVH::intersectRay(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float tMin, float& t,
                          Wm4::Vector2<float>& barycentric, unsigned& triangle, tIntersectionPolicy policy) const {
  if (!(mFlags & eTrianglesEquations)) {
    if (qzDetail::isLogged(qz::qzLogType(2))) {
      qzDetail::logRecord(qz::qzLogType(2), "",
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
