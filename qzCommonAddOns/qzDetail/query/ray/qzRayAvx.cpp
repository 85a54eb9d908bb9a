// Compiled with -mavx, and without fused multiply-add: three-operand instructions, the same operations.
// Nothing in here may be an inline function that other files also use, or they could end up with this file's copy.
#define QZ_RAY_VARIANT qzRayAvx
#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>

void qzDetail::castRayAvx(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit) {
  qzRayAvx::castRay(hierarchy, query, hit);
}
