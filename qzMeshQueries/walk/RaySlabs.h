#pragma once
// A ray as boxes see it: distances along it are depths, in units of the largest |direction|, so none overflows.

#include <qzMeshQueries/kernel/RayTriangle.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzMeshQueries::detail {

/// A box is left out only if no triangle in it can be hit. Its planes are moved apart by a margin for this, which is
/// part of the constants; docs/watertight.md proves that the margin is wide enough:
///
///     near = bounds[nearRow] * inverse + nearShift        far = bounds[nearRow ^ 1] * inverse + farShift
///
/// A box is met if the largest near and from is not larger than the smallest far and to.
struct RaySlabs {
  float inverse[4], nearShift[4], farShift[4];  ///< of each axis; the last is not used
  int nearRow[3];                               ///< the row of WideNode::bounds that the ray meets first
  float from, to;                               ///< the depths of tMin and tMax, moved apart
};

/// A depth that no hit at t or before can exceed.
inline float depthNotBefore(double length, float t) {
  // A t of -infinity stands for every depth whose t overflows; the last of them is at the smallest finite t. Rounding
  // to float loses less than the 2^-22 adds.
  const double time = std::max(double(t), -double(std::numeric_limits<float>::max()));
  return static_cast<float>((time + std::fabs(time) * 0x1p-22 + 0x1p-149) * length);
}

/// Sets the depths of tMin and tMax.
inline void setLimits(const RayFrame& frame, RaySlabs& slabs) {
  const double length = std::fabs(frame.lengthAlong);
  slabs.to = depthNotBefore(length, frame.tMax);
  slabs.from = -depthNotBefore(length, -frame.tMin);
}

/// The inverse that stands for direction components of 0, or below 2^-40 of the largest.
inline constexpr float kLargestInverse = 0x1p40f;

/// The margin of an axis is (reach * kReachMargin + |origin| * kOriginMargin + kLeastMargin) * |inverse|.
inline constexpr float kReachMargin = 0x1p-20f, kOriginMargin = 0x1p-22f, kLeastMargin = 0x1p-126f;

/// The slabs of a ray for the tree whose box is min, max.
inline void makeRaySlabs(const RayFrame& frame, const float direction[3], const float min[3], const float max[3],
                         RaySlabs& slabs) {
  const float length = std::fabs(static_cast<float>(frame.lengthAlong));
  float reach = 0;
  for (int i = 0; i < 3; ++i)
    reach = std::max({reach, std::fabs(min[i] - frame.origin[i]), std::fabs(max[i] - frame.origin[i])});
  for (int i = 0; i < 3; ++i) {
    const float size = std::min(std::fabs(length / direction[i]), kLargestInverse);
    const float margin = (reach * kReachMargin + std::fabs(frame.origin[i]) * kOriginMargin + kLeastMargin) * size;
    const float inverse = std::copysign(size, direction[i]);
    const float middle = -frame.origin[i] * inverse;
    slabs.inverse[i] = inverse;
    slabs.nearShift[i] = middle - margin;
    slabs.farShift[i] = middle + margin;
    slabs.nearRow[i] = 2 * i + (std::signbit(inverse) ? 1 : 0);
  }
  setLimits(frame, slabs);
}

}  // namespace qzMeshQueries::detail
