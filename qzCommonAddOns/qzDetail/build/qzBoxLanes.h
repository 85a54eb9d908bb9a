#pragma once
// tBoxLanes: a box in two registers while it grows, for the builders' inner loops.
// The forms of minimum and maximum are those of qzBBox: smallerOf(other, atHand) is (other < atHand ? other : atHand).

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <cstring>

namespace qzDetail {

struct tBoxLanes {
  tFloat4 mMin;  // [ x  y  z  . ]  the fourth lane holds whatever stood beside the point and is never read
  tFloat4 mMax;  // [ .  x  y  z ]

  /// The empty box.
  tBoxLanes() : mMin(float4(kInfinity)), mMax(float4(-kInfinity)) {}

  /// A box as it stands in memory: six floats, read as the first four and the last four.
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
    // The upper half last: both stores touch the middle of the box, and only this one has it right in its lanes 1 to 3
    // beside a lane 0 that belongs to the minimum. So z of the minimum moves into lane 0 first.
    float* floats = reinterpret_cast<float*>(&bbox);
    storeUnaligned(floats, mMin);
    storeUnaligned(floats + 2, withFirst(mMax, spread<2>(mMin)));  // [ min z  max x  max y  max z ]
  }

  /// The middle, [ x y z . ].
  tFloat4 center() const { return (mMin + maxInFront()) * float4(0.5f); }

  /// The maximum where the minimum has its lanes, [ x  y  z  z ].
  tFloat4 maxInFront() const { return shuffle<1, 2, 3, 3>(mMax); }

  /// As the box of a node.
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
