#pragma once
// One point, one triangle: the definition of every answer about what is near. docs/near.md has the proofs.
//
// Everything is computed in double from floats: no product overflows or underflows, as none has more than six factors.
// The closest point is the best of four: one on each edge, and the foot of the perpendicular if that falls into the
// triangle. So a sliver, whose perpendicular is uncertain, costs little: its edges are not.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/kernel/Limits.h>
#include <qzMeshQueries/kernel/Vector.h>

#include <cmath>
#include <limits>

namespace qzMeshQueries::detail {

/// Where a triangle (a, b, c) is closest to a point: at a + u (b - a) + v (c - a).
struct ClosestPoint {
  double squared;  ///< of the distance
  double u, v;
};

/// Whether there is an answer to what is nearest to this point.
inline bool isValidPoint(const float point[3]) {
  // A NaN makes a comparison false.
  return std::fabs(point[0]) <= kLargestCoordinate && std::fabs(point[1]) <= kLargestCoordinate &&
         std::fabs(point[2]) <= kLargestCoordinate;
}

/// Where the segment from p to q = p + edge is closest to the origin: at p + t * edge. Exactly p for t = 0 and exactly q
/// for t = 1, so all triangles at a vertex agree on its distance.
struct ClosestOfEdge {
  double squared, t;
};
QZ_ALWAYS_INLINE ClosestOfEdge closestOfEdge(const Vector& p, const Vector& q, const Vector& edge) {
  const double before = -dot(p, edge), length = dot(edge, edge);
  if (!(before > 0)) return {dot(p, p), 0};
  if (!(before < length)) return {dot(q, q), 1};
  const double t = before / length;
  const Vector place = along(p, t, edge);
  return {dot(place, place), t};
}

/// Where triangle (a, b, c) is closest to the point. Of places equally close, the first of edge ab, edge ac, edge bc and
/// the inside.
QZ_ALWAYS_INLINE ClosestPoint closestPoint(const float point[3], const float a[3], const float b[3], const float c[3]) {
  const Vector p = difference(a, point), q = difference(b, point), r = difference(c, point);
  const Vector ab = difference(b, a), ac = difference(c, a), bc = difference(c, b);

  ClosestOfEdge edge = closestOfEdge(p, q, ab);
  ClosestPoint closest = {edge.squared, edge.t, 0};
  edge = closestOfEdge(p, r, ac);
  if (edge.squared < closest.squared) closest = {edge.squared, 0, edge.t};
  edge = closestOfEdge(q, r, bc);
  if (edge.squared < closest.squared) closest = {edge.squared, 1 - edge.t, edge.t};

  // The weights of b and c at the foot of the perpendicular, times the squared length of the normal.
  const Vector normal = cross(ab, ac);
  const double square = dot(normal, normal);
  const double weightB = dot(normal, cross(ac, p)), weightC = dot(normal, cross(p, ab));
  if (weightB > 0 && weightC > 0 && weightB + weightC < square) {
    const double u = weightB / square, v = weightC / square;
    const Vector foot = along(along(p, u, ab), v, ac);
    const double squared = dot(foot, foot);
    if (squared < closest.squared) closest = {squared, u, v};
  }
  return closest;
}

/// The distance as it is reported and compared: never decreasing with the squared one.
QZ_ALWAYS_INLINE float distanceOf(const ClosestPoint& closest) {
  return static_cast<float>(std::sqrt(closest.squared));
}

/// The distance of triangle (a, b, c) from the point.
QZ_ALWAYS_INLINE float distanceTo(const float point[3], const float a[3], const float b[3], const float c[3]) {
  return distanceOf(closestPoint(point, a, b, c));
}

/// The answer for a triangle. Corners are met exactly.
inline Nearest nearestOn(const float point[3], const float a[3], const float b[3], const float c[3],
                         std::uint32_t triangle) {
  const ClosestPoint closest = closestPoint(point, a, b, c);
  const double u = closest.u, v = closest.v, weightA = 1 - u - v;
  Nearest nearest;
  // A sum with 0 is never -0.
  for (int i = 0; i < 3; ++i)
    nearest.point[i] = static_cast<float>((weightA * double(a[i]) + u * double(b[i])) + v * double(c[i])) + 0.0f;
  nearest.distance = distanceOf(closest);
  nearest.u = static_cast<float>(u);
  nearest.v = static_cast<float>(v);
  nearest.triangle = triangle;
  return nearest;
}

/// The answer when there is none.
inline Nearest nothingNear() {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  Nearest nearest;
  for (float& coordinate : nearest.point) coordinate = kNaN;
  nearest.u = nearest.v = kNaN;
  return nearest;
}

}  // namespace qzMeshQueries::detail
