#pragma once
// Areas of boxes as costs.

#include <qzMeshQueries/tree/BinaryTree.h>

#include <algorithm>
#include <limits>

namespace qzMeshQueries::detail {

/// Half the area of a box in units of the mesh's extent, so that it does not overflow. A small constant is added, so
/// that boxes without area have a cost, and the cheapest tree has few of them.
class NodeArea {
 public:
  explicit NodeArea(float extent)
      : mScale(qzDetail::float4(extent > 0 ? std::min(1 / extent, std::numeric_limits<float>::max()) : 0.0f)) {}

  QZ_ALWAYS_INLINE float of(const qzDetail::tBoxLanes& box) const {
    using namespace qzDetail;
    const tFloat4 extent = (box.maxInFront() - box.mMin) * mScale;  // [ x  y  z  . ]
    const tFloat4 products = extent * shuffle<1, 2, 0, 3>(extent);  // [ xy  yz  zx  . ]
    return firstOf(products) + laneOf<1>(products) + firstOf(upperPair(products)) + 0x1p-80f;
  }

 private:
  qzDetail::tFloat4 mScale;
};

}  // namespace qzMeshQueries::detail
