#pragma once
// qzRay and qzHit: a ray and its nearest hit.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>

#include <limits>

namespace qzToolkit {

struct qzRay {
  Wm4::Vector3<float> mOrigin, mDirection;
  float mTMin = 0.0f, mTMax = std::numeric_limits<float>::infinity();
};

/// The nearest hit of a ray.
class qzHit {
 public:
  /// No hit: distance +inf, triangle -1, weights NaN.
  qzHit() = default;
  /// weights  of the triangle's first and second vertex; the third is (1 - first) - second
  qzHit(float distance, unsigned triangle, const Wm4::Vector2<float>& weights)
      : mDistance(distance),
        mTriangle(static_cast<int>(triangle)),
        mWeights{weights[0], weights[1], (1.0f - weights[0]) - weights[1]} {}

  bool isHit() const { return mTriangle >= 0; }

  float mDistance = std::numeric_limits<float>::infinity();
  int mTriangle = -1;
  float mWeights[3] = {kNone, kNone, kNone};

 private:
  static constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
};

}  // namespace qzToolkit
