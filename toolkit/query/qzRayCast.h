#pragma once
// Casting many rays at once.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/base/qzRay.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <functional>

namespace qzToolkit {

class qzHitWriter;
class qzProgress;
class qzRayReader;
class qzThreads;

/// The nearest hit of one ray, as qzQBVH::intersectRay finds it.
qzHit castRay(const qzQBVH& hierarchy, const qzRay& ray, qzQBVH::tIntersectionPolicy policy);

/// The same with qzQBVH::intersectRaySymmetric; mTMin is not looked at.
qzHit castRaySymmetric(const qzQBVH& hierarchy, const qzRay& ray);

/// So many blocks of rays for each thread are in memory at once.
constexpr int kCastBlocksPerThread = 4;

struct qzCastCounts {
  std::size_t mNbRays = 0, mNbHits = 0;
};

/// Casts every ray of a file and writes the hits in the same order, block by block: a few blocks for each thread are in
/// memory at once, however many there are. The answers do not depend on the number of threads, nor does what was
/// written before a failure, which is that of the first ray or row that is no good. A qzError of cast gets the name of
/// the file and the number of the ray, from 0, put before it. hits are complete when the caller commits them.
///
/// cancel    polled before each block
/// progress  counts bytes of the file with the rays; may be null
qzCastCounts castRays(qzRayReader& rays, qzHitWriter& hits, const std::function<qzHit(const qzRay&)>& cast,
                      const qzThreads& threads, const tCancel* cancel = nullptr, qzProgress* progress = nullptr);

}  // namespace qzToolkit
