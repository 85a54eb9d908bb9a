#pragma once
// Casting many rays at once.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <limits>
#include <vector>

namespace qzToolkit {

class qzProgress;
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

/// castRay or castRaySymmetric for every ray, in order; the answers do not depend on the number of threads.
std::vector<qzHit> castRays(const qzQBVH& hierarchy, const std::vector<qzRay>& rays, qzQBVH::tIntersectionPolicy policy,
                            const qzThreads& threads, qzProgress& progress);
std::vector<qzHit> castRaysSymmetric(const qzQBVH& hierarchy, const std::vector<qzRay>& rays, const qzThreads& threads,
                                     qzProgress& progress);

}  // namespace qzToolkit
