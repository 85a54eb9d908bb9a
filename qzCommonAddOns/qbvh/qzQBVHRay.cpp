#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzLogRecord.h>
#include <qzCommonAddOns/qzDetail/qzRayTraversal.h>

namespace {

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
  const qzDetail::tRayHierarchy hierarchy{mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets};
  qzDetail::tRayHit hit{t};
  qzDetail::castRay(hierarchy, origin, direction, tMin, policy, hit);
  return report(hit, t, barycentric, triangle);
}

bool qzQBVH::intersectRaySymmetric(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float& t,
                                   Wm4::Vector2<float>& barycentric, unsigned& triangle) const {
  if (!(mFlags & eTrianglesEquations)) return false;
  const qzDetail::tFloatMode mode;
  const qzDetail::tRayHierarchy hierarchy{mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets};
  qzDetail::tRayHit hit{t};
  qzDetail::castRaySymmetric(hierarchy, origin, direction, hit);
  return report(hit, t, barycentric, triangle);
}
