// Compiled with -mavx, and without fused multiply-add: three-operand instructions, the same operations.
// It must not use inline functions that other files also use, see qzInline.h.
#define QZ_RAY_VARIANT qzRayAvx
#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>

void qzDetail::castRayAvx(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit) {
  qzRayAvx::castRay(hierarchy, query, hit);
}
