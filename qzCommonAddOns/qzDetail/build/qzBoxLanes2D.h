#pragma once
// tBoxLanes2D: a growing qzBBox2D in one register, for the builder's inner loops. The maximum is negated: -a < -b is a
// > b, equal stays equal and NaN stays NaN. So one smallerOf(other, atHand), which is (other < atHand ? other :
// atHand), updates both corners in the form of qzBBox2D.

#include <qzCommonAddOns/geometry/qzBBox2D.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <limits>

namespace qzDetail {

struct tBoxLanes2D {
  tFloat4 mLanes;  // [ x min  y min  -x max  -y max ]

  /// The empty box.
  tBoxLanes2D() : mLanes(float4(std::numeric_limits<float>::infinity())) {}

  /// A box from memory: four floats.
  explicit tBoxLanes2D(const qzBBox2D& bbox)
      : mLanes(withMaxNegated(loadUnaligned(reinterpret_cast<const float*>(&bbox)))) {}

  void unite(const tBoxLanes2D& other) { mLanes = smallerOf(other.mLanes, mLanes); }

  qzBBox2D toBBox() const {
    qzBBox2D bbox;
    storeUnaligned(reinterpret_cast<float*>(&bbox), withMaxNegated(mLanes));
    return bbox;
  }

  /// Sets the box of a node.
  template <class Node>
  void storeTo(Node& node) const {
    node.setBBox(toBBox());
  }

 private:
  // Flips the sign bits of the maximum, also those of zeros and NaN; its own inverse.
  static tFloat4 withMaxNegated(tFloat4 lanes) { return flipSigns(lanes, float4(0.0f, 0.0f, -0.0f, -0.0f)); }
};

}  // namespace qzDetail
