#include <toolkit/query/qzHierarchy.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>

namespace qzToolkit {

namespace {

struct tNodeCounter {
  unsigned* mNbVisits;
  void nodeVisited() { ++*mNbVisits; }
};

}  // namespace

qzHit qzHierarchy::castRayCounting(const qzRay& ray, tIntersectionPolicy policy, unsigned& nbVisits) const {
  const qzDetail::tFloatMode mode;
  qzDetail::tRayHit hit{ray.mTMax};
  nbVisits = 0;
  qzDetail::castRay(
      qzDetail::viewRows(mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets, mIsNested),
      qzDetail::makeRayQuery(ray.mOrigin, ray.mDirection, ray.mTMin, policy), hit, tNodeCounter{&nbVisits});
  return hit.mTriangle == kNoTriangle ? qzHit() : qzHit(hit.mT, hit.mTriangle, {hit.mW, hit.mU});
}

std::size_t qzHierarchy::getBytes() const {
  std::size_t bytes = mNoNodes * sizeof(tSOANode);
  if (mTriangleVertices != nullptr) bytes += mNoQuadruplets * sizeof(tSOATriangleVertices);
  if (mTriangleEquations != nullptr) bytes += mNoQuadruplets * sizeof(tSOATriangleEquations);
  if (mTriangleIndices != nullptr) bytes += mNoQuadruplets * sizeof(tSOATriangleIndices);
  return bytes;
}

}  // namespace qzToolkit
