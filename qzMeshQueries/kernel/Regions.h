#pragma once
// One region, one triangle: whether the triangle lies in a box or has a part in an intersection of half-spaces. What lies
// in a sphere is a matter of distance, see PointTriangle.h.

#include <qzCommonAddOns/qzDetail/query/hull/qzClippedPolygon.h>
#include <qzMeshQueries/kernel/Limits.h>
#include <qzMeshQueries/kernel/Vector.h>

#include <algorithm>
#include <cstddef>

namespace qzMeshQueries::detail {

/// A closed box.
struct RegionBox {
  float min[3], max[3];
};

/// Fills the box. Returns false if it holds nothing, whatever the mesh: inverted on an axis, or NaN.
inline bool makeRegionBox(const float min[3], const float max[3], RegionBox& box) {
  // No triangle reaches beyond these limits, and products with infinities would be NaN.
  constexpr float kLimit = 2 * kLargestCoordinate;
  bool isValid = true;
  for (int i = 0; i < 3; ++i) {
    isValid = isValid && min[i] <= max[i];
    box.min[i] = std::min(std::max(min[i], -kLimit), kLimit);
    box.max[i] = std::min(std::max(max[i], -kLimit), kLimit);
  }
  return isValid;
}

/// The range of a box along an axis is a sum of these.
QZ_ALWAYS_INLINE double leastOf(double factor, double low, double high) {
  return std::min(factor * low, factor * high);
}
QZ_ALWAYS_INLINE double greatestOf(double factor, double low, double high) {
  return std::max(factor * low, factor * high);
}

/// Whether the range of a box and that of a triangle are apart. The triangle's is from 0 to other, either way round.
QZ_ALWAYS_INLINE bool areApart(double least, double greatest, double other) {
  return least > std::max(other, 0.0) || greatest < std::min(other, 0.0);
}

/// The same along the axis (p, q) in a plane across a third one. The box is from low to high, the triangle's corners
/// project to 0 and to other.
QZ_ALWAYS_INLINE bool areApart(double p, double q, double lowP, double highP, double lowQ, double highQ, double otherP,
                               double otherQ) {
  return areApart(leastOf(p, lowP, highP) + leastOf(q, lowQ, highQ),
                  greatestOf(p, lowP, highP) + greatestOf(q, lowQ, highQ), p * otherP + q * otherQ);
}

/// Whether the box holds a point.
QZ_ALWAYS_INLINE bool holds(const RegionBox& box, const float point[3]) {
  return point[0] >= box.min[0] && point[0] <= box.max[0] && point[1] >= box.min[1] && point[1] <= box.max[1] &&
         point[2] >= box.min[2] && point[2] <= box.max[2];
}

/// Whether triangle (a, b, c) and the closed box have a point in common, by separating axes: those of the box, the
/// triangle's normal, and the cross products of both kinds of edges (Akenine-Möller 2001). Corners and the box's axes
/// are a matter of comparing floats; the other axes are computed in double, relative to a corner of the triangle.
inline bool liesInBox(const RegionBox& box, const float a[3], const float b[3], const float c[3]) {
  if (holds(box, a) || holds(box, b) || holds(box, c)) return true;
  for (int i = 0; i < 3; ++i)
    if (std::min(a[i], std::min(b[i], c[i])) > box.max[i] || std::max(a[i], std::max(b[i], c[i])) < box.min[i])
      return false;
  const float* const corners[5] = {a, b, c, a, b};
  for (int i = 0; i < 3; ++i) {
    const float* const corner = corners[i];
    const Vector low = difference(box.min, corner), high = difference(box.max, corner);
    const Vector edge = difference(corners[i + 1], corner), other = difference(corners[i + 2], corner);
    if (i == 0) {
      const Vector n = cross(edge, other);
      const double least = (leastOf(n.x, low.x, high.x) + leastOf(n.y, low.y, high.y)) + leastOf(n.z, low.z, high.z);
      const double greatest =
          (greatestOf(n.x, low.x, high.x) + greatestOf(n.y, low.y, high.y)) + greatestOf(n.z, low.z, high.z);
      if (areApart(least, greatest, 0)) return false;
    }
    // Along these, the ends of the edge are the same.
    if (areApart(-edge.z, edge.y, low.y, high.y, low.z, high.z, other.y, other.z) ||
        areApart(edge.z, -edge.x, low.x, high.x, low.z, high.z, other.x, other.z) ||
        areApart(-edge.y, edge.x, low.x, high.x, low.y, high.y, other.x, other.y))
      return false;
  }
  return true;
}

/// Whether triangle (a, b, c) has a part strictly inside all planes: x * plane[0] + y * plane[1] + z * plane[2] + plane[3]
/// > 0. It is clipped by one after the other in float, as a hull query of qzQBVH does it. A NaN leaves nothing.
inline bool liesInRegion(const float (*planes)[4], std::size_t count, const float a[3], const float b[3],
                         const float c[3]) {
  qzDetail::tClippedPolygon polygon;
  polygon.setTriangle(a, b, c);
  for (std::size_t i = 0; i < count; ++i)
    if (!polygon.clip(planes[i][0], planes[i][1], planes[i][2], planes[i][3])) return false;
  return true;
}

}  // namespace qzMeshQueries::detail
