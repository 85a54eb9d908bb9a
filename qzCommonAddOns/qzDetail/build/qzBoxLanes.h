#pragma once
// tBoxLanes: a box in two registers while it grows, for the builders' inner loops.
// The forms of minimum and maximum are those of qzBBox: _mm_min_ps(other, atHand) is (other < atHand ? other : atHand).

#include <emmintrin.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

#include <cstring>

namespace qzDetail {

struct tBoxLanes {
  __m128 mMin;  // [ x  y  z  . ]  the fourth lane holds whatever stood beside the point and is never read
  __m128 mMax;  // [ .  x  y  z ]

  /// The empty box.
  tBoxLanes() : mMin(_mm_set1_ps(kInfinity)), mMax(_mm_set1_ps(-kInfinity)) {}

  /// A box as it stands in memory: six floats, read as the first four and the last four.
  explicit tBoxLanes(const qzBBox& bbox) : mMin(_mm_loadu_ps(floatsOf(bbox))), mMax(_mm_loadu_ps(floatsOf(bbox) + 2)) {}

  void unite(const tBoxLanes& other) {
    mMin = _mm_min_ps(other.mMin, mMin);
    mMax = _mm_max_ps(other.mMax, mMax);
  }

  void expand(const Wm4::Vector3<float>& p) {
    mMin = _mm_min_ps(_mm_setr_ps(p[0], p[1], p[2], 0.0f), mMin);
    mMax = _mm_max_ps(_mm_setr_ps(0.0f, p[0], p[1], p[2]), mMax);
  }

  void store(qzBBox& bbox) const {
    // The upper half last: both stores touch the middle of the box, and only this one has it right in its lanes 1 to 3
    // beside a lane 0 that belongs to the minimum. So z of the minimum moves into lane 0 first.
    float* floats = reinterpret_cast<float*>(&bbox);
    const __m128 minZ = _mm_shuffle_ps(mMin, mMin, _MM_SHUFFLE(2, 2, 2, 2));
    _mm_storeu_ps(floats, mMin);
    _mm_storeu_ps(floats + 2, _mm_move_ss(mMax, minZ));
  }

  /// The middle, [ x y z . ].
  __m128 center() const {
    return _mm_mul_ps(_mm_add_ps(mMin, _mm_shuffle_ps(mMax, mMax, _MM_SHUFFLE(3, 3, 2, 1))), _mm_set1_ps(0.5f));
  }

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
