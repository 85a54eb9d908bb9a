#pragma once
// A box around the region of a hull query with six planes.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/query/qzNodeRows.h>

#include <limits>

namespace qzDetail {

/// A box around the region inside six planes that form three pairs of roughly opposite ones. Infinite if no such box
/// can be computed safely. For triangles with coordinates of at most reach in magnitude:
/// 1. A triangle whose box does not touch this one is clipped away.
/// 2. A box with every corner inside every plane, in the query's arithmetic, lies within this one.
/// Its margins cover all rounding errors, its own included: see "The box around the region" in docs/hulls.md.
class tRegionBox {
 public:
  static constexpr unsigned int kNbPlanes = 6;  // three pairs

  /// Computes the box around the region inside kNbPlanes planes, each of 4 coefficients x 4 equal lanes. Until then the
  /// box is uninitialised.
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
    // Lanes 0 to 3 combine each plane of the first pair with each of the second; combined with either plane of the
    // third pair they make eight triples.
    //   p   [ 0  1  0  1 ]   q   [ 0  0  1  1 ]   r   [ 0  0  0  0 ], then [ 1  1  1  1 ]
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

  /// Lanes whose boxes do not touch this one. Rows are min x, y, z, max x, y, z of four boxes.
  tMask4 isApart(const float* rows) const {
    tMask4 result = mask4(false);
    for (int axis = 0; axis < 3; ++axis) {
      result |= load(rows + kMinRows + kRow * axis) > mMax[axis];
      result |= load(rows + kMaxRows + kRow * axis) < mMin[axis];
    }
    return result;
  }

  /// Lanes whose boxes do not lie within this one.
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

    // Computes the sizes and moves the planes outwards. Returns the lanes whose planes are within the limits.
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

  // Tightens the sides by four triples of planes, one per lane. A NaN bound is dropped.
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
      const tFloat4 corner = wp * p.mRows[3] + wq * q.mRows[3] + wr * r.mRows[3];  // negated
      const tMask4 isUpper = isTold & (largerOf(largerOf(wp, wq), wr) <= zero);
      const tMask4 isLower = isTold & (smallerOf(smallerOf(wp, wq), wr) >= zero);
      // Infinite unless the triple bounds this side.
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
