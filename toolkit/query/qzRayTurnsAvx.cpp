// Compiled with -mavx, and without fused multiply-add: three-operand instructions, the same operations.
// It must not use inline functions that other files also use, see qzInline.h.
#define QZ_RAY_VARIANT qzRayAvx
#include <toolkit/query/qzRayTurns.h>

void qzToolkit::castInTurnsAvx(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch) {
  qzRayAvx::castInTurns(hierarchy, batch);
}
