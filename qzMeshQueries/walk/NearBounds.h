#pragma once
// A point as boxes and blocks see it: lower bounds of distances, in float.
//
// Coordinates relative to the point are scaled by a power of two that brings the farthest corner of the mesh's box to
// about 2^20. So squares and their products neither overflow nor vanish, whatever the size of the mesh. docs/near.md
// proves that no bound exceeds what the kernel finds.

#include <qzMeshQueries/kernel/PointTriangle.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace qzMeshQueries::detail {

/// A valid point, and what is left out beside it.
struct NearBounds {
  float point[3];
  float scale;
  double margin;  ///< what the kernel may be off by, unscaled
  float limit;    ///< a box is left out if its squared scaled distance is greater
  float reach;    ///< a triangle is left out if it is beyond this, scaled

  NearBounds() = default;
  /// For the tree whose box is min, max.
  NearBounds(const float point[3], const float min[3], const float max[3]) {
    float farthest = 0;
    for (int i = 0; i < 3; ++i) {
      this->point[i] = point[i];
      farthest = std::max({farthest, std::fabs(min[i] - point[i]), std::fabs(max[i] - point[i])});
    }
    std::uint32_t bits;
    std::memcpy(&bits, &farthest, sizeof bits);
    // The exponents of farthest and scale add up to 20, unless scale would overflow.
    const std::uint32_t exponent = std::min(2 * 127u + 20u - (bits >> 23), 253u) << 23;
    std::memcpy(&scale, &exponent, sizeof scale);
    margin = double(farthest) * 0x1p-46 + 0x1p-148;
  }

  /// Leaves out what the kernel finds farther away than distance, and nothing else that it does not.
  void setDistance(float distance) {
    const double scaled = (double(distance) * (1 + 0x1p-22) + margin) * double(scale) * (1 + 0x1p-20);
    reach = static_cast<float>(scaled);
    limit = static_cast<float>(
        std::min(scaled * scaled * (1 + 0x1p-20) + 0x1p-120, double(std::numeric_limits<float>::max())));
  }
};

}  // namespace qzMeshQueries::detail
