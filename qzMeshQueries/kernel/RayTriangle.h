#pragma once
// One ray, one triangle: the definition of every answer about rays. docs/watertight.md has the proofs.
//
// The ray is made an axis: k is the axis of its largest |direction|, a vertex is moved by -origin and sheared along k.
// What is left of a vertex are two floats, its place in the image, and its depth along k. Both are functions of ray and
// vertex alone, so triangles that share a vertex share its image. From there on exact arithmetic decides.

#include <qzCommonAddOns/qzDetail/base/qzInline.h>
#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/kernel/Limits.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzMeshQueries::detail {

/// What the kernel computes of a ray once, for all triangles.
struct RayFrame {
  float origin[3];
  float shear[2];  ///< direction over direction[axis[2]], for axis[0] and axis[1]; in [-1, 1]
  int axis[3];     ///< axis[2] is that of the largest |direction|, the first of equals; the others follow it cyclically
  float tMin, tMax;
  double lengthAlong;  ///< direction[axis[2]]
};

/// A vertex seen along the ray.
struct SeenVertex {
  float x, y;   ///< in the image, whose origin is the ray
  float depth;  ///< along axis[2], from the ray's origin
};

/// Fills the frame. Returns false for a ray that hits nothing, whatever the mesh.
inline bool makeRayFrame(const Ray& ray, RayFrame& frame) {
  const float size[3] = {std::fabs(ray.direction[0]), std::fabs(ray.direction[1]), std::fabs(ray.direction[2])};
  int k = size[1] > size[0] ? 1 : 0;
  if (size[2] > size[k]) k = 2;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  // A NaN makes a comparison false, wherever it is.
  const bool isValid = size[0] < kInfinity && size[1] < kInfinity && size[2] < kInfinity && size[k] > 0 &&
                       std::fabs(ray.origin[0]) <= kLargestCoordinate &&
                       std::fabs(ray.origin[1]) <= kLargestCoordinate &&
                       std::fabs(ray.origin[2]) <= kLargestCoordinate && ray.tMin <= ray.tMax;
  if (!isValid) return false;
  frame.axis[0] = k == 2 ? 0 : k + 1;
  frame.axis[1] = k == 0 ? 2 : k - 1;
  frame.axis[2] = k;
  for (int i = 0; i < 3; ++i) frame.origin[i] = ray.origin[i];
  for (int i = 0; i < 2; ++i) frame.shear[i] = ray.direction[frame.axis[i]] / ray.direction[k];
  frame.tMin = ray.tMin;
  frame.tMax = ray.tMax;
  frame.lengthAlong = double(ray.direction[k]);
  return true;
}

/// The vertex as seen along the ray. Each operation rounds to float.
QZ_ALWAYS_INLINE SeenVertex see(const RayFrame& frame, const float vertex[3]) {
  const float dx = vertex[frame.axis[0]] - frame.origin[frame.axis[0]];
  const float dy = vertex[frame.axis[1]] - frame.origin[frame.axis[1]];
  const float dz = vertex[frame.axis[2]] - frame.origin[frame.axis[2]];
  return {dx - frame.shear[0] * dz, dy - frame.shear[1] * dz, dz};
}

/// p.x * q.y - p.y * q.x, rounded once: the product of two floats is exact in double.
QZ_ALWAYS_INLINE double cross(const SeenVertex& p, const SeenVertex& q) {
  return double(p.x) * double(q.y) - double(p.y) * double(q.x);
}

/// On which side of the edge from p to q the image's origin lies, displaced by (e, e * e): 1 left, -1 right, 0 if p and
/// q coincide. side(q, p) is -side(p, q).
QZ_ALWAYS_INLINE int side(const SeenVertex& p, const SeenVertex& q) {
  // Rounding is monotone: rounded products that differ are ordered as the exact ones.
  const float left = p.x * q.y, right = p.y * q.x;
  if (left != right) return left > right ? 1 : -1;
  const double exact = cross(p, q);
  if (exact != 0) return exact > 0 ? 1 : -1;
  // (p - d) x (q - d) with d = (e, e * e) is p x q + e (p.y - q.y) + e * e (q.x - p.x).
  if (p.y != q.y) return p.y > q.y ? 1 : -1;
  if (p.x != q.x) return q.x > p.x ? 1 : -1;
  return 0;
}

/// Whether the image of a triangle holds the displaced origin.
QZ_ALWAYS_INLINE bool holdsOrigin(const SeenVertex& p, const SeenVertex& q, const SeenVertex& r) {
  const int turn = side(q, r);
  return turn != 0 && side(r, p) == turn && side(p, q) == turn;
}

/// Where a line crosses a triangle.
struct Crossing {
  float t, u, v;
  bool isFront;
};

/// The crossing with a triangle whose image holds the origin. A t that overflows is infinite.
QZ_ALWAYS_INLINE Crossing locate(const RayFrame& frame, const SeenVertex& p, const SeenVertex& q, const SeenVertex& r) {
  // Weights of the corners: each is right to 2^-53 of itself, and none has another sign than their sum, which is not 0.
  const double turnP = cross(q, r), turnQ = cross(r, p), turnR = cross(p, q);
  const double turn = (turnP + turnQ) + turnR;
  const double weightP = std::fabs(turnP), weightQ = std::fabs(turnQ), weightR = std::fabs(turnR);
  const double sum = std::fabs(turn);
  double depth = (weightP * double(p.depth) + weightQ * double(q.depth)) + weightR * double(r.depth);  // times sum
  // Rounding must not move it beyond the corners.
  const double least = double(std::min(p.depth, std::min(q.depth, r.depth))) * sum;
  const double greatest = double(std::max(p.depth, std::max(q.depth, r.depth))) * sum;
  depth = depth < least ? least : depth > greatest ? greatest : depth;

  // A sum with 0 is never -0.
  const double inverse = 1 / sum;
  return {static_cast<float>(depth / (sum * frame.lengthAlong)) + 0.0f, static_cast<float>(weightQ * inverse) + 0.0f,
          static_cast<float>(weightR * inverse) + 0.0f, (turn > 0) != (frame.lengthAlong > 0)};
}

/// Whether the line through the ray crosses triangle (a, b, c), and where.
QZ_ALWAYS_INLINE bool crossesLine(const RayFrame& frame, const float a[3], const float b[3], const float c[3],
                                  Crossing& crossing) {
  const SeenVertex p = see(frame, a), q = see(frame, b), r = see(frame, c);
  if (!holdsOrigin(p, q, r)) return false;
  crossing = locate(frame, p, q, r);
  return true;
}

/// Whether a crossing lies within the ray's limits and on a face that counts.
QZ_ALWAYS_INLINE bool counts(const RayFrame& frame, Faces faces, const Crossing& crossing) {
  if (!(crossing.t >= frame.tMin && crossing.t <= frame.tMax)) return false;
  return faces == Faces::both || crossing.isFront == (faces == Faces::front);
}

/// Whether the ray hits triangle (a, b, c) on one of the faces that count, and where.
QZ_ALWAYS_INLINE bool hitsTriangle(const RayFrame& frame, Faces faces, const float a[3], const float b[3],
                                   const float c[3], Crossing& crossing) {
  return crossesLine(frame, a, b, c, crossing) && counts(frame, faces, crossing);
}

/// Whether hit p comes before q in every order of hits: by t, then by triangle number.
inline bool comesBefore(const Hit& p, const Hit& q) {
  return p.t != q.t ? p.t < q.t : p.triangle < q.triangle;
}

}  // namespace qzMeshQueries::detail
