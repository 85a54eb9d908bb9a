#pragma once
// Casting many rays in turns: each of several rays in flight visits one node or leaf and prefetches what it visits next,
// then it is the next ray's turn. While memory delivers that node, the others compute; a ray alone would wait.
//
// Every ray makes the visits of qzQBVH::intersectRay, in the same order and with the same code, so its hit has the same
// bits. The file is compiled once for each kind of processor, in a namespace of its own, see qzInline.h.

#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>
#include <toolkit/query/qzRayBatch.h>

#include <cstddef>
#include <type_traits>

namespace qzToolkit {
inline namespace QZ_RAY_VARIANT {

/// Enough to hide a load from memory, and few enough that all fit into the first-level cache.
constexpr int kRaysInFlight = 24;

/// Casts the rays of one kind. The answers of the others are unchanged.
template <qzDetail::tRayKind kKind>
class tRayTurns {
 public:
  tRayTurns(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch) : mHierarchy(hierarchy), mBatch(batch) {}

  /// Returns whether there are rays of other kinds that may hit.
  bool run() {
    tFlight* flights[kRaysInFlight];
    int nbFlights = 0;
    while (nbFlights < kRaysInFlight && start(mFlights[nbFlights])) {
      flights[nbFlights] = &mFlights[nbFlights];
      ++nbFlights;
    }
    while (nbFlights != 0) {
      for (int i = 0; i < nbFlights; ++i) {
        tFlight& flight = *flights[i];
        typename tTraversal::tChild next = flight.mNext;
        int size = flight.mStackSize;
        if (flight.mTraversal.template step<tTraversal::eInTurns>(next, flight.mStack, size)) {
          flight.mTraversal.prefetch(next);
          flight.mNext = next;
          flight.mStackSize = size;
        } else {
          finish(flight);
          if (!start(flight)) flights[i--] = flights[--nbFlights];
        }
      }
    }
    return mHasOthers;
  }

 private:
  using tTraversal = qzDetail::tRayTraversal<kKind, qzDetail::tNoRayObserver>;

  struct tFlight {
    tTraversal mTraversal;
    typename tTraversal::tChild mNext;
    int mStackSize;
    std::size_t mNo;
    typename tTraversal::tChild mStack[qzDetail::kStackSize];
  };

  // Starts the next ray of this kind; false when there is none left.
  QZ_ALWAYS_INLINE bool start(tFlight& flight) {
    for (; mNext < mBatch.mNbRays; ++mNext) {
      static_assert(std::is_standard_layout_v<qzRay> && sizeof(qzRay) == 8 * sizeof(float));
      const float* const ray = reinterpret_cast<const float*>(mBatch.mRays + mNext);  // origin, direction, tMin, tMax
      qzDetail::tRayQuery query = qzDetail::makeRayQuery(ray, ray + 3, ray[6], mBatch.mPolicy);
      const qzDetail::tFloat4 inverse = qzDetail::float4(1.0f) / query.mDirection;
      const qzDetail::tRayKind kind = qzDetail::kindOf(mHierarchy, query, inverse, ray[7]);
      if (kind == kKind) {
        flight.mTraversal.start(mHierarchy, query, inverse, ray[7], {});
        flight.mNext = flight.mTraversal.getRoot();
        flight.mStackSize = 0;
        flight.mNo = mNext++;
        return true;
      }
      mHasOthers |= kind != qzDetail::eNeverHits;
    }
    return false;
  }

  QZ_ALWAYS_INLINE void finish(const tFlight& flight) const {
    const qzDetail::tRayHit& found = flight.mTraversal.getHit();
    if (found.mTriangle == qzDetail::kNoTriangleHit) return;
    qzHit& hit = mBatch.mHits[flight.mNo];
    hit.mDistance = found.mT;
    hit.mTriangle = static_cast<int>(found.mTriangle);
    hit.mWeights[0] = found.mW;
    hit.mWeights[1] = found.mU;
    hit.mWeights[2] = (1.0f - found.mW) - found.mU;
  }

  const qzDetail::tRayHierarchy& mHierarchy;
  const tRayBatch& mBatch;
  std::size_t mNext = 0;
  bool mHasOthers = false;
  tFlight mFlights[kRaysInFlight];
};

inline void castInTurns(const qzDetail::tRayHierarchy& hierarchy, const tRayBatch& batch) {
  const bool hasOthers = tRayTurns<qzDetail::ePlain>(hierarchy, batch).run();
  if (hasOthers) tRayTurns<qzDetail::eGeneral>(hierarchy, batch).run();
}

}  // namespace QZ_RAY_VARIANT
}  // namespace qzToolkit
