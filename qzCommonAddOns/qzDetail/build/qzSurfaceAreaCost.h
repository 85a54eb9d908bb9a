#pragma once
// The formula of qzDefaultSAH, inline.

#include <qzCommonAddOns/geometry/qzBBox.h>

namespace qzDetail {

/// Half the surface area times (count + 4), in this order of operations.
inline float surfaceAreaCost(const qzBBox& box, unsigned int count) {
  const Wm4::Vector3<float>&min = box.getMinPoint(), &max = box.getMaxPoint();
  const float dx = max[0] - min[0], dy = max[1] - min[1], dz = max[2] - min[2];
  return (dx * (dz + dy) + dz * dy) * static_cast<float>(count + 4);
}

}  // namespace qzDetail
