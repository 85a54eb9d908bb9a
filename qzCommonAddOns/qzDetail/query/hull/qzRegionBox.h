#pragma once
// A box around what the hull query can find within six planes.

#include <emmintrin.h>

#include <limits>

namespace qzDetail {

/// An axis-aligned box around a region of six planes that come as three pairs of more or less opposite ones, with room
/// for the rounding of the query. Single precision throughout: the room is for this class' own rounding, too.
///
/// Where the planes' box cannot be told, it is everything. Else, for triangles whose coordinates are at most reach:
/// 1. A piece of a triangle that the query's clipping leaves has vertices within this box, and they are within the
///    triangle's box but for drift, which this box makes up for: a triangle whose box does not touch it is clipped
///    away.
/// 2. A box (of no coordinate beyond reach) whose every corner is inside every plane by the query's arithmetic lies
///    within this box.
///
/// With u = 2^-24, n = 6 planes, m = reach, and for a plane its size A = max(|a|, |b|, |c|) and its slope
/// |a| + |b| + |c|:
///
/// - A distance is off by less than 5 u (slope m + |d|). A crossing lies between two vertices but for rounding, its s
///   being from -1 to 0, with coordinates off by less than 6 u m and its distance from the plane that made it off by
///   less than 14 u (slope m + |d|). Every later plane adds 6 u slope m at most. So a vertex that is left has a
///   distance from each plane above -(8 n + 32) u (slope m + |d|): the planes are moved out by that much, d' = d + ...,
///   and the coordinates have drifted less than 8 n u m out of the triangle's box.
/// - Three of the planes, one of each pair, with normals p, q, r: for weights wp, wq, wr that are none above zero and
/// make
///   wp p + wq q + wr r = e, a unit vector of an axis, every point with all three distances D above zero (from the
///   planes moved out) has e . P = wp (Dp - dp') + ... <= -(wp dp' + wq dq' + wr dr'). With none below zero that is a
///   lower bound. Some of the eight triples gives a bound for each direction, or there is none.
/// - The weights are (q x r) . e / det and so on. Cross products are off by less than 4 u Aq Ar and the determinant by
///   less than 40 u Ap Aq Ar, so that with k = Ap Aq Ar / |det| the sum of weighted normals is off by less than 192 u k
///   in the sum of its coordinates: 192 u k m for the bound. As |d'| <= 4 A m, rounding in the bound itself is less
///   than 72 u k m. The slack is 400 u k m + 8 n u m, more than all of these together with the drift.
/// - Limits on A, m and k keep everything far from overflow and underflow.
class tRegionBox {
 public:
  /// Around the region inside six planes, each of 4 coefficients x 4 equal lanes. A box is anything before.
  template <class Plane>
  void setAround(const Plane* planes, float reach) {
    for (int axis = 0; axis < 3; ++axis) {
      mMin[axis] = _mm_set1_ps(-std::numeric_limits<float>::infinity());
      mMax[axis] = _mm_set1_ps(std::numeric_limits<float>::infinity());
    }
    if (!(reach >= 0x1p-60f && reach <= 0x1p60f)) return;
    tPlanes pairs[3];
    __m128 isGood = _mm_castsi128_ps(_mm_set1_epi32(-1));
    for (int i = 0; i < 3; ++i) {
      for (int row = 0; row < 4; ++row) {
        pairs[i].mRows[row] = _mm_unpacklo_ps(_mm_load_ps(planes[2 * i].mCoefficient[row]),
                                              _mm_load_ps(planes[2 * i + 1].mCoefficient[row]));
      }
      isGood = _mm_and_ps(isGood, pairs[i].moveOut(_mm_set1_ps(reach)));
    }
    if (_mm_movemask_ps(isGood) != 0xF) return;
    // Lanes are the four pairs of a plane of the first pair and one of the second: with each plane of the third pair
    // that makes eight triples.
    const tPlanes &p = pairs[0], q = pairs[1].shuffled<_MM_SHUFFLE(1, 1, 0, 0)>();
    bound(p, q, pairs[2].shuffled<_MM_SHUFFLE(0, 0, 0, 0)>(), _mm_set1_ps(reach));
    bound(p, q, pairs[2].shuffled<_MM_SHUFFLE(1, 1, 1, 1)>(), _mm_set1_ps(reach));
    for (int axis = 0; axis < 3; ++axis) {
      mMin[axis] = _mm_max_ps(mMin[axis], _mm_movehl_ps(mMin[axis], mMin[axis]));
      mMax[axis] = _mm_min_ps(mMax[axis], _mm_movehl_ps(mMax[axis], mMax[axis]));
      mMin[axis] = _mm_max_ps(spread<0>(mMin[axis]), spread<1>(mMin[axis]));
      mMax[axis] = _mm_min_ps(spread<0>(mMax[axis]), spread<1>(mMax[axis]));
    }
  }

  /// All lanes of which boxes do not touch this one, as a mask. Rows are min x, y, z, max x, y, z of four boxes.
  __m128 isApart(const float* rows) const {
    __m128 result = _mm_setzero_ps();
    for (int axis = 0; axis < 3; ++axis) {
      result = _mm_or_ps(result, _mm_cmpgt_ps(_mm_load_ps(rows + 4 * axis), mMax[axis]));
      result = _mm_or_ps(result, _mm_cmplt_ps(_mm_load_ps(rows + 4 * (axis + 3)), mMin[axis]));
    }
    return result;
  }

  /// Lanes of which boxes do not lie within this one, as a mask.
  __m128 reachesOut(const float* rows) const {
    __m128 result = _mm_setzero_ps();
    for (int axis = 0; axis < 3; ++axis) {
      result = _mm_or_ps(result, _mm_cmplt_ps(_mm_load_ps(rows + 4 * axis), mMin[axis]));
      result = _mm_or_ps(result, _mm_cmpgt_ps(_mm_load_ps(rows + 4 * (axis + 3)), mMax[axis]));
    }
    return result;
  }

 private:
  static constexpr float kRounding = 1.0f / 16777216.0f;  // u

  template <int kLane>
  static __m128 spread(__m128 x) {
    return _mm_shuffle_ps(x, x, _MM_SHUFFLE(kLane, kLane, kLane, kLane));
  }
  static __m128 magnitude(__m128 x) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), x); }

  // Four planes: rows a, b, c, d.
  struct tPlanes {
    __m128 mRows[4], mSize;

    // Takes the size and moves the planes out. Returns the lanes within the limits.
    __m128 moveOut(__m128 reach) {
      const __m128 a = magnitude(mRows[0]), b = magnitude(mRows[1]), c = magnitude(mRows[2]);
      mSize = _mm_max_ps(_mm_max_ps(a, b), c);
      const __m128 slope = _mm_add_ps(_mm_add_ps(a, b), c);
      const __m128 terms = _mm_add_ps(_mm_mul_ps(slope, reach), magnitude(mRows[3]));
      mRows[3] = _mm_add_ps(mRows[3], _mm_mul_ps(_mm_set1_ps(96.0f * kRounding), terms));
      const __m128 isMiddling =
          _mm_and_ps(_mm_cmpge_ps(mSize, _mm_set1_ps(0x1p-16f)), _mm_cmple_ps(slope, _mm_set1_ps(0x1p16f)));
      const __m128 most = _mm_mul_ps(_mm_set1_ps(4.0f), _mm_mul_ps(mSize, reach));
      return _mm_and_ps(isMiddling, _mm_cmple_ps(magnitude(mRows[3]), most));
    }

    template <int kOrder>
    tPlanes shuffled() const {
      tPlanes result;
      for (int row = 0; row < 4; ++row) result.mRows[row] = _mm_shuffle_ps(mRows[row], mRows[row], kOrder);
      result.mSize = _mm_shuffle_ps(mSize, mSize, kOrder);
      return result;
    }
  };

  static void cross(const tPlanes& p, const tPlanes& q, __m128* result) {
    for (int axis = 0; axis < 3; ++axis) {
      const int next = (axis + 1) % 3, other = (axis + 2) % 3;
      result[axis] = _mm_sub_ps(_mm_mul_ps(p.mRows[next], q.mRows[other]), _mm_mul_ps(p.mRows[other], q.mRows[next]));
    }
  }

  // Brings the sides as near as four triples tell, each lane for itself. A NaN gives way.
  void bound(const tPlanes& p, const tPlanes& q, const tPlanes& r, __m128 reach) {
    const __m128 zero = _mm_setzero_ps();
    __m128 qr[3], rp[3], pq[3];
    cross(q, r, qr);
    cross(r, p, rp);
    cross(p, q, pq);
    const __m128 det = _mm_add_ps(_mm_add_ps(_mm_mul_ps(r.mRows[0], pq[0]), _mm_mul_ps(r.mRows[1], pq[1])),
                                  _mm_mul_ps(r.mRows[2], pq[2]));
    const __m128 inverse = _mm_div_ps(_mm_set1_ps(1.0f), det);
    const __m128 k = _mm_mul_ps(_mm_mul_ps(_mm_mul_ps(p.mSize, q.mSize), r.mSize), magnitude(inverse));
    const __m128 isTold = _mm_cmple_ps(k, _mm_set1_ps(0x1p20f));
    const __m128 slack = _mm_mul_ps(_mm_mul_ps(_mm_set1_ps(kRounding), reach),
                                    _mm_add_ps(_mm_mul_ps(_mm_set1_ps(400.0f), k), _mm_set1_ps(48.0f)));
    for (int axis = 0; axis < 3; ++axis) {
      const __m128 wp = _mm_mul_ps(qr[axis], inverse);
      const __m128 wq = _mm_mul_ps(rp[axis], inverse);
      const __m128 wr = _mm_mul_ps(pq[axis], inverse);
      const __m128 corner = _mm_add_ps(_mm_add_ps(_mm_mul_ps(wp, p.mRows[3]), _mm_mul_ps(wq, q.mRows[3])),
                                       _mm_mul_ps(wr, r.mRows[3]));  // the other way round
      const __m128 isUpper = _mm_and_ps(isTold, _mm_cmple_ps(_mm_max_ps(_mm_max_ps(wp, wq), wr), zero));
      const __m128 isLower = _mm_and_ps(isTold, _mm_cmpge_ps(_mm_min_ps(_mm_min_ps(wp, wq), wr), zero));
      // Moved out to infinity where the signs are not right.
      const __m128 infinity = _mm_set1_ps(std::numeric_limits<float>::infinity());
      const __m128 upper = _mm_add_ps(_mm_sub_ps(slack, corner), _mm_andnot_ps(isUpper, infinity));
      const __m128 lower = _mm_sub_ps(_mm_sub_ps(zero, _mm_add_ps(corner, slack)), _mm_andnot_ps(isLower, infinity));
      mMax[axis] = _mm_min_ps(upper, mMax[axis]);
      mMin[axis] = _mm_max_ps(lower, mMin[axis]);
    }
  }

  __m128 mMin[3], mMax[3];
};

}  // namespace qzDetail
