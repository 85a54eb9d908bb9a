#pragma once
// One boundary edge, one point: what an open mesh adds to the crossings of a ray in the winding number.
//
// The winding number of a mesh around a point p is the number of crossings of a ray from p in a fixed direction r, back
// faces less front faces, less the turns of all boundary edges. The turn of an edge is the signed area of the spherical
// triangle between the edge as seen from p and -r, over the whole sphere. docs/inside.md shows why, and how exact it is.
//
// r is the z axis. So the image of a vertex under the kernel of rays is its distance from p in x and y, rounded to float:
// it has the signs of the exact one, and its direction to 2^-24.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzMeshQueries/kernel/RayTriangle.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace qzMeshQueries::detail {

/// The ray whose crossings count.
QZ_ALWAYS_INLINE Ray windingRay(const float point[3]) {
  return {{point[0], point[1], point[2]}, 0, {0, 0, 1}, std::numeric_limits<float>::infinity()};
}

/// makeRayFrame of this ray.
QZ_ALWAYS_INLINE bool makeWindingFrame(const float point[3], RayFrame& frame) {
  // A NaN makes a comparison false.
  if (!(std::fabs(point[0]) <= kLargestCoordinate && std::fabs(point[1]) <= kLargestCoordinate &&
        std::fabs(point[2]) <= kLargestCoordinate))
    return false;
  frame = {{point[0], point[1], point[2]}, {0, 0}, {0, 1, 2}, 0, std::numeric_limits<float>::infinity(), 1};
  return true;
}

/// a * b, rounded. For products of complex numbers: GCC 12 computes their two parts by one instruction that multiplies,
/// then adds and subtracts, and rounds once, although it is told not to contract.
QZ_ALWAYS_INLINE double roundedProduct(double a, double b) {
  double product = a * b;
#if defined(__GNUC__)
  qzDetail::computeHere(product);
#endif
  return product;
}

/// A vertex on the sphere around a point, projected from the direction of the ray onto the plane of complex numbers: it
/// is at (x + i y) / u, times any positive factor. -z is 0, +z infinite.
struct SphereVertex {
  double u, x, y;
};

QZ_ALWAYS_INLINE SphereVertex project(const float vertex[3], const float point[3]) {
  const double x = double(vertex[0]) - double(point[0]), y = double(vertex[1]) - double(point[1]);
  const double z = double(vertex[2]) - double(point[2]);
  const double across = x * x + y * y;
  const double length = std::sqrt(across + z * z);
  if (z < 0) return {length - z, x, y};
  // Exactly ahead. Crossings are counted for a ray displaced by (e, e * e): as seen from there, the vertex is at the
  // opposite.
  if (across == 0) return {0, -1, 0};
  // u is length - z, without cancellation; the common factor is scale.
  const double scale = length + z;
  return {across, scale * x, scale * y};
}

/// A complex number: its argument, over 2 pi, and turns more are the turn of an edge.
struct EdgeTurn {
  double re, im;
  std::int64_t turns;
};

/// The turn of an edge if the exact argument is not within a quarter turn. Then the edge may pass ahead of the point,
/// where the turn jumps by one, and the crossings as well: the side on which it passes is the one that they have found.
QZ_ALWAYS_INLINE EdgeTurn turnOfPassing(const RayFrame& frame, const float from[3], const float to[3], double re,
                                        double im) {
  if (re == 0 && im == 0) return {1, 0, 0};  // the edge holds the point
  const int passed = side(see(frame, from), see(frame, to));
  const bool isOther = passed != 0 && std::signbit(im) == (passed > 0);
  return {re, im, isOther ? passed : 0};
}

/// The turn of an edge between two vertices, whose projections are a and b.
QZ_ALWAYS_INLINE EdgeTurn turnOf(const RayFrame& frame, const float from[3], const float to[3], const SphereVertex& a,
                                 const SphereVertex& b) {
  const double re = a.u * b.u + (roundedProduct(a.x, b.x) + roundedProduct(a.y, b.y));
  const double im = roundedProduct(a.x, b.y) - roundedProduct(a.y, b.x);
  if (re > 0) return {re, im, 0};
  return turnOfPassing(frame, from, to, re, im);
}

/// A sum of turns. The argument of a product is the sum of arguments, less the turns that are full.
struct Turning {
  double re = 1, im = 0;
  std::int64_t turns = 0;
};

/// A power of two that brings the larger of two numbers, not both 0, into [1, 2).
QZ_ALWAYS_INLINE double normalising(double a, double b) {
  const double size = std::max(std::fabs(a), std::fabs(b));
  std::uint64_t bits;
  std::memcpy(&bits, &size, sizeof(bits));
  bits = 0x7FE0000000000000u - (bits & 0x7FF0000000000000u);
  double scale;
  std::memcpy(&scale, &bits, sizeof(bits));
  return scale;
}

QZ_ALWAYS_INLINE void add(Turning& sum, const EdgeTurn& turn) {
  const double re = roundedProduct(sum.re, turn.re) - roundedProduct(sum.im, turn.im);
  const double im = roundedProduct(sum.re, turn.im) + roundedProduct(sum.im, turn.re);
  // Two arguments of one sign whose product has the other one passed half a turn. Zeros have signs for this.
  const bool before = std::signbit(sum.im), after = std::signbit(im);
  sum.turns += turn.turns;
  if (before == std::signbit(turn.im) && before != after) sum.turns += after ? 1 : -1;
  const double scale = normalising(re, im);
  sum.re = re * scale;
  sum.im = im * scale;
}

/// The argument of re + i im over 2 pi, from -1/2 to 1/2, off by less than 2^-52. Not both are 0.
inline double argument(double re, double im) {
  const double x = std::fabs(re), y = std::fabs(im);
  double t = std::min(x, y) / std::max(x, y);                      // the tangent of up to an eighth of a turn
  for (int i = 0; i < 2; ++i) t = t / (1 + std::sqrt(1 + t * t));  // of half as much
  // The alternating series of the arctangent of t < 0.2: what is left out is below 2^-62 of it.
  const double square = t * t;
  double sum = 0;
  for (int k = 23; k > 0; k -= 2) sum = 1.0 / k - square * sum;
  double angle = t * sum * 0.63661977236758134308;  // 4 / (2 pi)
  if (y > x) angle = 0.25 - angle;
  if (re < 0) angle = 0.5 - angle;
  return std::signbit(im) ? -angle : angle;
}

/// Edges are summed in so many sums: edge i of the boundary's order in sum i modulo kTurnings. joinTurnings adds them up.
inline constexpr int kTurnings = 16;

QZ_ALWAYS_INLINE Turning joinTurnings(Turning (&sums)[kTurnings]) {
  for (int half = kTurnings / 2; half > 0; half /= 2)
    for (int i = 0; i < half; ++i) add(sums[i], {sums[i + half].re, sums[i + half].im, sums[i + half].turns});
  return sums[0];
}

/// The winding number of a mesh around a point.
inline double windingOf(const Crossings& crossings, const Turning& boundary) {
  const std::int64_t whole = std::int64_t(crossings.back) - std::int64_t(crossings.front) - boundary.turns;
  return boundary.im == 0 && boundary.re > 0 ? double(whole) : double(whole) - argument(boundary.re, boundary.im);
}

}  // namespace qzMeshQueries::detail
