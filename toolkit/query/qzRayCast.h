#pragma once
// Casting rays, one by one and from files.

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

/// The same with qzQBVH::intersectRaySymmetric; mTMin is ignored.
qzHit castRaySymmetric(const qzQBVH& hierarchy, const qzRay& ray);

/// Blocks of rays in flight per thread.
constexpr int kCastBlocksPerThread = 4;

struct qzCastCounts {
  std::size_t mNbRays = 0, mNbHits = 0;
};

/// Casts count rays; hits[i] is the nearest hit of rays[i].
using tBatchCaster = std::function<void(const qzRay* rays, std::size_t count, qzHit* hits)>;

/// Casts every ray of a file and writes the hits in the same order, block by block, so memory does not grow with the
/// file. The hits do not depend on the number of threads. Neither does an error, which is that of the first invalid row
/// or refused ray, nor what is written before it. The caller commits hits afterwards.
///
/// cast      called with all rays of a block, from several threads at once
/// check     called with each ray before; throws a qzError to refuse it, which is prefixed with the name of the file and
///           the number of the ray, from 0. May be null
/// cancel    polled before each block
/// progress  counts bytes of the file with the rays; may be null
qzCastCounts castRays(qzRayReader& rays, qzHitWriter& hits, const tBatchCaster& cast,
                      const std::function<void(const qzRay&)>& check, const qzThreads& threads,
                      const tCancel* cancel = nullptr, qzProgress* progress = nullptr);

}  // namespace qzToolkit
