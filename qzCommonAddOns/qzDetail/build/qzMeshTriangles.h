#pragma once
// Access to the corners of a mesh's triangles, and the equations that a four-wide hierarchy keeps, for four triangles
// at a time.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>

#include <cstddef>
#include <limits>

namespace qzDetail {

struct tMeshTriangles {
  const qz::qzVertexBuffer& mVertices;
  const int* mIndices;

  explicit tMeshTriangles(const qz::qzTriMesh& mesh)
      : mVertices(*vertexBufferOf(mesh)), mIndices(indicesOf(*indexBufferOf(mesh))) {}

  Wm4::Vector3<float> corner(std::size_t triangle, std::size_t number) const {
    return mVertices.Position3(mIndices[3 * triangle + number]);
  }
  QZ_ALWAYS_INLINE void prefetch(std::size_t triangle) const { prefetchLine(mIndices + 3 * triangle); }
};

/// A point of each of four triangles.
struct tPoints {
  tFloat4 x, y, z;
};

inline tPoints operator-(const tPoints& a, const tPoints& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline tPoints operator*(tFloat4 s, const tPoints& a) {
  return {s * a.x, s * a.y, s * a.z};
}
inline tFloat4 dot(const tPoints& a, const tPoints& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline tPoints cross(const tPoints& a, const tPoints& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// a where the mask is set, b elsewhere.
inline tPoints select(tMask4 mask, const tPoints& a, const tPoints& b) {
  return {select(mask, a.x, b.x), select(mask, a.y, b.y), select(mask, a.z, b.z)};
}

/// Writes three coefficients and a constant as four rows; lanes outside the mask get zeros and the constant padding.
inline void storeEquation(float (*rows)[4], const tPoints& coefficients, tFloat4 constant, tMask4 isTriangle,
                          float padding) {
  store(rows[0], zeroUnless(isTriangle, coefficients.x));
  store(rows[1], zeroUnless(isTriangle, coefficients.y));
  store(rows[2], zeroUnless(isTriangle, coefficients.z));
  store(rows[3], select(isTriangle, constant, float4(padding)));
}

/// Plane and barycentric equations of four triangles, in this order of operations; only the first count lanes hold
/// triangles. The equations of a triangle without area are arbitrary: no query accepts it.
template <class Equations>
void fillEquations(Equations& equations, const tPoints (&corners)[3], unsigned int count) {
  const tPoints &v0 = corners[0], e1 = corners[1] - v0, e2 = corners[2] - v0;
  const tFloat4 one = float4(1.0f);
  const tMask4 isTriangle = maskOf(int4(0, 1, 2, 3) < int4(static_cast<int>(count)));

  const tPoints normal = cross(e1, e2);
  const tFloat4 length = squareRoot(dot(normal, normal));
  const tMask4 hasArea = length > float4(0.0f);
  const tPoints unit = one / length * normal;
  storeEquation(equations.mPlane, select(hasArea, unit, normal), select(hasArea, -dot(unit, v0), one), isTriangle,
                std::numeric_limits<float>::infinity());

  // The dual basis of (e1, e2) within the plane.
  const tFloat4 a11 = dot(e1, e1), a22 = dot(e2, e2), a12 = dot(e1, e2);
  const tFloat4 i1 = one / a11, i2 = one / a22;
  const tFloat4 along1 = a12 * i1, along2 = a12 * i2;
  const tFloat4 s = one / (one - along2 * along1);
  const tFloat4 s1 = s * i1, s2 = s * i2;
  const tPoints u = s1 * e1 - along2 * s1 * e2;
  const tPoints w = s2 * e2 - along1 * s2 * e1;
  storeEquation(equations.mU, u, -dot(u, v0), isTriangle, -1.0f);
  storeEquation(equations.mW, w, -dot(w, v0), isTriangle, -1.0f);
}

}  // namespace qzDetail
