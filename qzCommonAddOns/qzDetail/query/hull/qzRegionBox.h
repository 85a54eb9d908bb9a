#pragma once
// A box around what the hull query can find within six planes.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/query/qzNodeRows.h>

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
  static constexpr unsigned int kNbPlanes = 6;  // three pairs

  /// Around the region inside kNbPlanes planes, each of 4 coefficients x 4 equal lanes. A box is anything before.
  template <class Plane>
  void setAround(const Plane* planes, float reach) {
    for (int axis = 0; axis < 3; ++axis) {
      mMin[axis] = float4(-std::numeric_limits<float>::infinity());
      mMax[axis] = float4(std::numeric_limits<float>::infinity());
    }
    if (!(reach >= 0x1p-60f && reach <= 0x1p60f)) return;
    tPlanes pairs[3];
    tMask4 isGood = mask4(true);
    for (int i = 0; i < 3; ++i) {
      for (int row = 0; row < 4; ++row) {
        pairs[i].mRows[row] =
            interleaveLower(load(planes[2 * i].mCoefficient[row]), load(planes[2 * i + 1].mCoefficient[row]));
      }
      isGood &= pairs[i].moveOut(float4(reach));
    }
    if (bitsOf(isGood) != kAllLanes) return;
    // Lanes are the four pairs of a plane of the first pair and one of the second: with each plane of the third pair
    // that makes eight triples.
    const tPlanes &p = pairs[0], q = pairs[1].shuffled<0, 0, 1, 1>();
    bound(p, q, pairs[2].shuffled<0, 0, 0, 0>(), float4(reach));
    bound(p, q, pairs[2].shuffled<1, 1, 1, 1>(), float4(reach));
    for (int axis = 0; axis < 3; ++axis) {
      mMin[axis] = largerOf(mMin[axis], upperPair(mMin[axis]));
      mMax[axis] = smallerOf(mMax[axis], upperPair(mMax[axis]));
      mMin[axis] = largerOf(spread<0>(mMin[axis]), spread<1>(mMin[axis]));
      mMax[axis] = smallerOf(spread<0>(mMax[axis]), spread<1>(mMax[axis]));
    }
  }

  /// All lanes of which boxes do not touch this one, as a mask. Rows are min x, y, z, max x, y, z of four boxes.
  tMask4 isApart(const float* rows) const {
    tMask4 result = mask4(false);
    for (int axis = 0; axis < 3; ++axis) {
      result |= load(rows + kMinRows + kRow * axis) > mMax[axis];
      result |= load(rows + kMaxRows + kRow * axis) < mMin[axis];
    }
    return result;
  }

  /// Lanes of which boxes do not lie within this one, as a mask.
  tMask4 reachesOut(const float* rows) const {
    tMask4 result = mask4(false);
    for (int axis = 0; axis < 3; ++axis) {
      result |= load(rows + kMinRows + kRow * axis) < mMin[axis];
      result |= load(rows + kMaxRows + kRow * axis) > mMax[axis];
    }
    return result;
  }

 private:
  static constexpr float kRounding = 1.0f / 16777216.0f;  // u

  // Four planes: rows a, b, c, d.
  struct tPlanes {
    tFloat4 mRows[4], mSize;

    // Takes the size and moves the planes out. Returns the lanes within the limits.
    tMask4 moveOut(tFloat4 reach) {
      const tFloat4 a = magnitude(mRows[0]), b = magnitude(mRows[1]), c = magnitude(mRows[2]);
      mSize = largerOf(largerOf(a, b), c);
      const tFloat4 slope = a + b + c;
      const tFloat4 terms = slope * reach + magnitude(mRows[3]);
      mRows[3] = mRows[3] + float4(96.0f * kRounding) * terms;
      const tMask4 isMiddling = (mSize >= float4(0x1p-16f)) & (slope <= float4(0x1p16f));
      const tFloat4 most = float4(4.0f) * (mSize * reach);
      return isMiddling & (magnitude(mRows[3]) <= most);
    }

    template <int k0, int k1, int k2, int k3>
    tPlanes shuffled() const {
      tPlanes result;
      for (int row = 0; row < 4; ++row) result.mRows[row] = shuffle<k0, k1, k2, k3>(mRows[row]);
      result.mSize = shuffle<k0, k1, k2, k3>(mSize);
      return result;
    }
  };

  static void cross(const tPlanes& p, const tPlanes& q, tFloat4* result) {
    for (int axis = 0; axis < 3; ++axis) {
      const int next = (axis + 1) % 3, other = (axis + 2) % 3;
      result[axis] = p.mRows[next] * q.mRows[other] - p.mRows[other] * q.mRows[next];
    }
  }

  // Brings the sides as near as four triples tell, each lane for itself. A NaN gives way.
  void bound(const tPlanes& p, const tPlanes& q, const tPlanes& r, tFloat4 reach) {
    const tFloat4 zero = float4(0.0f);
    tFloat4 qr[3], rp[3], pq[3];
    cross(q, r, qr);
    cross(r, p, rp);
    cross(p, q, pq);
    const tFloat4 det = r.mRows[0] * pq[0] + r.mRows[1] * pq[1] + r.mRows[2] * pq[2];
    const tFloat4 inverse = float4(1.0f) / det;
    const tFloat4 k = p.mSize * q.mSize * r.mSize * magnitude(inverse);
    const tMask4 isTold = k <= float4(0x1p20f);
    const tFloat4 slack = float4(kRounding) * reach * (float4(400.0f) * k + float4(48.0f));
    for (int axis = 0; axis < 3; ++axis) {
      const tFloat4 wp = qr[axis] * inverse;
      const tFloat4 wq = rp[axis] * inverse;
      const tFloat4 wr = pq[axis] * inverse;
      const tFloat4 corner = wp * p.mRows[3] + wq * q.mRows[3] + wr * r.mRows[3];  // the other way round
      const tMask4 isUpper = isTold & (largerOf(largerOf(wp, wq), wr) <= zero);
      const tMask4 isLower = isTold & (smallerOf(smallerOf(wp, wq), wr) >= zero);
      // Moved out to infinity where the signs are not right.
      const tFloat4 infinity = float4(std::numeric_limits<float>::infinity());
      const tFloat4 upper = slack - corner + zeroWhere(isUpper, infinity);
      const tFloat4 lower = zero - (corner + slack) - zeroWhere(isLower, infinity);
      mMax[axis] = smallerOf(upper, mMax[axis]);
      mMin[axis] = largerOf(lower, mMin[axis]);
    }
  }

  tFloat4 mMin[3], mMax[3];
};

}  // namespace qzDetail
