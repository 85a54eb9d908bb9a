#define QZ_RAY_VARIANT qzRayBaseline
#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>

void qzDetail::castRayBaseline(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit) {
  qzRayBaseline::castRay(hierarchy, query, hit);
}
