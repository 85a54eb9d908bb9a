#define QZ_RAY_VARIANT qzRayBaseline
#include <toolkit/query/qzRayTurns.h>

void qzToolkit::castInTurnsBaseline(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch) {
  qzRayBaseline::castInTurns(hierarchy, batch);
}
