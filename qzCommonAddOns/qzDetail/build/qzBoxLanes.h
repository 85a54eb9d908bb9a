#pragma once
// tBoxLanes: a growing box in two registers, for the builders' inner loops.
// The forms of minimum and maximum are those of qzBBox: smallerOf(other, atHand) is (other < atHand ? other : atHand).

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <cstring>

namespace qzDetail {

struct tBoxLanes {
  tFloat4 mMin;  // [ x  y  z  . ]  the unused lane holds whatever was next to the point and is never read
  tFloat4 mMax;  // [ .  x  y  z ]

  /// The empty box.
  tBoxLanes() : mMin(float4(kInfinity)), mMax(float4(-kInfinity)) {}

  /// A box from memory: six floats, read as the first four and the last four.
  explicit tBoxLanes(const qzBBox& bbox)
      : mMin(loadUnaligned(floatsOf(bbox))), mMax(loadUnaligned(floatsOf(bbox) + 2)) {}

  void unite(const tBoxLanes& other) {
    mMin = smallerOf(other.mMin, mMin);
    mMax = largerOf(other.mMax, mMax);
  }

  void expand(const Wm4::Vector3<float>& p) {
    mMin = smallerOf(float4(p[0], p[1], p[2], 0.0f), mMin);
    mMax = largerOf(float4(0.0f, p[0], p[1], p[2]), mMax);
  }

  void store(qzBBox& bbox) const {
    // The stores overlap in floats 2 and 3, min z and max x. The first one puts a wrong value into float 3, which the
    // second overwrites; lane 0 of the second becomes min z first.
    float* floats = reinterpret_cast<float*>(&bbox);
    storeUnaligned(floats, mMin);
    storeUnaligned(floats + 2, withFirst(mMax, spread<2>(mMin)));  // [ min z  max x  max y  max z ]
  }

  /// The centre, [ x y z . ].
  tFloat4 center() const { return (mMin + maxInFront()) * float4(0.5f); }

  /// The maximum in the lanes of the minimum, [ x  y  z  z ].
  tFloat4 maxInFront() const { return shuffle<1, 2, 3, 3>(mMax); }

  /// Sets the box of a node.
  template <class Node>
  void storeTo(Node& node) const {
    node.setBBox(toBBox());
  }

  qzBBox toBBox() const {
    qzBBox bbox;
    store(bbox);
    return bbox;
  }

 private:
  static constexpr float kInfinity = std::numeric_limits<float>::infinity();

  static const float* floatsOf(const qzBBox& bbox) { return reinterpret_cast<const float*>(&bbox); }
};

}  // namespace qzDetail
