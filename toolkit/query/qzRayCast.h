#pragma once
// Casting many rays at once.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <cstddef>
#include <functional>
#include <limits>

namespace qzToolkit {

class qzHitWriter;
class qzProgress;
class qzRayReader;
class qzThreads;

struct qzRay {
  Wm4::Vector3<float> mOrigin, mDirection;
  float mTMin = 0.0f, mTMax = std::numeric_limits<float>::infinity();
};

/// The nearest hit of a ray.
class qzHit {
 public:
  /// No hit: at infinity, triangle -1, weights that are no numbers.
  qzHit() = default;
  /// weights  of the triangle's first and second vertex; the third is (1 - first) - second
  qzHit(float distance, unsigned triangle, const Wm4::Vector2<float>& weights);

  bool isHit() const { return mTriangle >= 0; }

  float mDistance = std::numeric_limits<float>::infinity();
  int mTriangle = -1;
  float mWeights[3] = {kNone, kNone, kNone};

 private:
  static constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
};

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
/// the file and the number of the ray, from 0, put before it. progress counts bytes of the file with the rays. hits are
/// complete when the caller commits them.
qzCastCounts castRays(qzRayReader& rays, qzHitWriter& hits, const std::function<qzHit(const qzRay&)>& cast,
                      const qzThreads& threads, qzProgress& progress);

}  // namespace qzToolkit
