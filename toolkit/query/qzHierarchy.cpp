#include <toolkit/query/qzHierarchy.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>
#include <toolkit/query/qzRayBatch.h>

#include <algorithm>

namespace qzToolkit {

namespace {

struct tNodeCounter {
  unsigned* mNbVisits;
  void nodeVisited() { ++*mNbVisits; }
};

/// Runs the variant for this processor.
void castInTurns(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch) {
#if defined(QZ_HAS_AVX_VARIANT)
  if (__builtin_cpu_supports("avx")) return castInTurnsAvx(hierarchy, batch);
#endif
  castInTurnsBaseline(hierarchy, batch);
}

}  // namespace

void qzHierarchy::castRays(const qzRay* rays, std::size_t count, tIntersectionPolicy policy, qzHit* hits) const {
  std::fill_n(hits, count, qzHit());
  const qzDetail::tFloatMode mode;
  castInTurns(qzDetail::viewRows(mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets, mIsNested),
              {rays, count, policy, hits});
}

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
