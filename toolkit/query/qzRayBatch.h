#pragma once
// A batch of rays as plain data, and the compiled variants of casting it.

#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>
#include <toolkit/base/qzRay.h>

#include <cstddef>

namespace qzToolkit {

struct tRayBatch {
  const qzRay* mRays;
  std::size_t mNbRays;
  unsigned mPolicy;  // qzQBVH::tIntersectionPolicy
  qzHit* mHits;      // in: qzHit() for every ray
};

/// Casts a batch in turns, compiled for the baseline and for processors with AVX: same source, same bits. The
/// floating-point mode must be the default one.
void castInTurnsBaseline(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch);
#if defined(QZ_HAS_AVX_VARIANT)
void castInTurnsAvx(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch);
#endif

}  // namespace qzToolkit
