#pragma once
// Planes as boxes see them.

#include <qzMeshQueries/tree/WideTree.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace qzMeshQueries::detail {

/// A box is left out if its farthest corner along the normal is beyond the plane by a margin: the kernel clips what is in
/// it away. If its nearest corner is inside by a margin, the kernel does not clip. docs/near.md proves both.
struct RegionPlane {
  float normal[3];
  int farRow[3];  ///< the row of WideNode::bounds that is farther along the normal
  float outside;  ///< d and the margin
  float inside;   ///< d less the margin
};

/// For the tree whose box is min, max.
inline std::vector<RegionPlane> boundsOf(const float (*planes)[4], std::size_t count, const float min[3],
                                         const float max[3]) {
  double size = 0;
  for (int i = 0; i < 3; ++i) size = std::max({size, std::fabs(double(min[i])), std::fabs(double(max[i]))});
  // Clipping by so many planes moves a corner by this part of its coordinates at most.
  const double drift = (8 * double(count) + 64) * 0x1p-24;
  std::vector<RegionPlane> bounds(count);
  for (std::size_t i = 0; i < count; ++i) {
    const float* const plane = planes[i];
    const double slope = std::fabs(double(plane[0])) + std::fabs(double(plane[1])) + std::fabs(double(plane[2]));
    const double reach = slope * size + std::fabs(double(plane[3]));
    RegionPlane& bound = bounds[i];
    if (reach < 0x1p+120 && slope < 0x1p+60 && drift < 0.5) {
      const double margin = drift * reach + (1 + slope) * 0x1p-120;
      for (int axis = 0; axis < 3; ++axis) {
        bound.normal[axis] = plane[axis];
        bound.farRow[axis] = 2 * axis + (plane[axis] < 0 ? 0 : 1);
      }
      bound.outside = static_cast<float>(double(plane[3]) + margin);
      bound.inside = static_cast<float>(double(plane[3]) - margin);
    } else {
      // What overflows, or is NaN, leaves nothing out.
      bound = {{0, 0, 0}, {0, 2, 4}, std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity()};
    }
  }
  return bounds;
}

}  // namespace qzMeshQueries::detail
