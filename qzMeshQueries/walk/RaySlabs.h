#pragma once
// A ray as boxes see it: distances along it are depths, in units of the largest |direction|, so none overflows.

#include <qzMeshQueries/kernel/RayTriangle.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzMeshQueries::detail {

/// A box is left out only if no triangle in it can be hit. Its planes are moved apart by a margin for this, which is part
/// of the constants; docs/watertight.md proves that the margin is wide enough:
///
///     near = bounds[nearRow] * inverse + nearShift        far = bounds[nearRow ^ 1] * inverse + farShift
///
/// A box is met if the largest near and from is not larger than the smallest far and to.
struct RaySlabs {
  float inverse[3], nearShift[3], farShift[3];
  int nearRow[3];  ///< the row of WideNode::bounds that the ray meets first, for each axis
  float from, to;  ///< the depths of tMin and tMax, moved apart
};

/// A depth that no hit at t or before can exceed.
inline float depthNotBefore(double length, float t) {
  // Overflowing times are as long as the longest; rounding to float loses less than a 2^-22 adds.
  const double time = std::max(double(t), -double(std::numeric_limits<float>::max()));
  return static_cast<float>((time + std::fabs(time) * 0x1p-22 + 0x1p-149) * length);
}

/// Requires a tree with nodes.
inline void makeRaySlabs(const RayFrame& frame, const float direction[3], const float min[3], const float max[3],
                         RaySlabs& slabs) {
  const float length = std::fabs(static_cast<float>(frame.lengthAlong));
  float reach = 0;
  for (int i = 0; i < 3; ++i)
    reach = std::max({reach, std::fabs(min[i] - frame.origin[i]), std::fabs(max[i] - frame.origin[i])});
  for (int i = 0; i < 3; ++i) {
    // A component that is tiny beside the largest, or 0, becomes 2^-40 of it.
    const float ratio = direction[i] / length;
    const float slope = std::fabs(ratio) >= 0x1p-40f ? ratio : std::copysign(0x1p-40f, ratio);
    const float inverse = 1 / slope;
    const float margin = (reach * 0x1p-20f + std::fabs(frame.origin[i]) * 0x1p-22f + 0x1p-126f) * std::fabs(inverse);
    const float middle = -frame.origin[i] * inverse;
    slabs.inverse[i] = inverse;
    slabs.nearShift[i] = middle - margin;
    slabs.farShift[i] = middle + margin;
    slabs.nearRow[i] = 2 * i + (inverse < 0 ? 1 : 0);
  }
  slabs.to = depthNotBefore(std::fabs(frame.lengthAlong), frame.tMax);
  slabs.from = -depthNotBefore(std::fabs(frame.lengthAlong), -frame.tMin);
}

}  // namespace qzMeshQueries::detail
