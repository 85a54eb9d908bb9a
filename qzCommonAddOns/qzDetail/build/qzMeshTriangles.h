#pragma once
// The triangles of a mesh by their corners, and the arithmetic on four triangles at a time that a four-wide hierarchy
// keeps of them.

#include <emmintrin.h>
#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>
#include <qzCommonAddOns/qzDetail/base/qzPrefetch.h>

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
  __m128 x, y, z;
};

inline tPoints operator-(const tPoints& a, const tPoints& b) {
  return {_mm_sub_ps(a.x, b.x), _mm_sub_ps(a.y, b.y), _mm_sub_ps(a.z, b.z)};
}
inline tPoints operator*(__m128 s, const tPoints& a) {
  return {_mm_mul_ps(s, a.x), _mm_mul_ps(s, a.y), _mm_mul_ps(s, a.z)};
}
inline __m128 dot(const tPoints& a, const tPoints& b) {
  return _mm_add_ps(_mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y)), _mm_mul_ps(a.z, b.z));
}
inline tPoints cross(const tPoints& a, const tPoints& b) {
  return {_mm_sub_ps(_mm_mul_ps(a.y, b.z), _mm_mul_ps(a.z, b.y)),
          _mm_sub_ps(_mm_mul_ps(a.z, b.x), _mm_mul_ps(a.x, b.z)),
          _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x))};
}
inline __m128 negate(__m128 a) {
  return _mm_xor_ps(a, _mm_set1_ps(-0.0f));
}

/// a where the mask is set, b elsewhere.
inline __m128 select(__m128 mask, __m128 a, __m128 b) {
  return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}
inline tPoints select(__m128 mask, const tPoints& a, const tPoints& b) {
  return {select(mask, a.x, b.x), select(mask, a.y, b.y), select(mask, a.z, b.z)};
}

/// Writes three coefficients and a constant as four rows; lanes outside the mask get zeros and the constant for
/// padding.
inline void storeEquation(float (*rows)[4], const tPoints& coefficients, __m128 constant, __m128 isTriangle,
                          float padding) {
  _mm_store_ps(rows[0], _mm_and_ps(isTriangle, coefficients.x));
  _mm_store_ps(rows[1], _mm_and_ps(isTriangle, coefficients.y));
  _mm_store_ps(rows[2], _mm_and_ps(isTriangle, coefficients.z));
  _mm_store_ps(rows[3], select(isTriangle, constant, _mm_set1_ps(padding)));
}

/// Plane and barycentric equations of four triangles, in this order of operations; only the first count lanes hold
/// triangles. A triangle without area keeps what comes out: no query accepts it.
template <class Equations>
void fillEquations(Equations& equations, const tPoints (&corners)[3], unsigned int count) {
  const tPoints &v0 = corners[0], e1 = corners[1] - v0, e2 = corners[2] - v0;
  const __m128 one = _mm_set1_ps(1.0f);
  const __m128 isTriangle =
      _mm_castsi128_ps(_mm_cmplt_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(static_cast<int>(count))));

  const tPoints normal = cross(e1, e2);
  const __m128 length = _mm_sqrt_ps(dot(normal, normal));
  const __m128 hasArea = _mm_cmpgt_ps(length, _mm_setzero_ps());
  const tPoints unit = _mm_div_ps(one, length) * normal;
  storeEquation(equations.mPlane, select(hasArea, unit, normal), select(hasArea, negate(dot(unit, v0)), one),
                isTriangle, std::numeric_limits<float>::infinity());

  // The dual basis of (e1, e2) within the plane.
  const __m128 a11 = dot(e1, e1), a22 = dot(e2, e2), a12 = dot(e1, e2);
  const __m128 i1 = _mm_div_ps(one, a11), i2 = _mm_div_ps(one, a22);
  const __m128 along1 = _mm_mul_ps(a12, i1), along2 = _mm_mul_ps(a12, i2);
  const __m128 s = _mm_div_ps(one, _mm_sub_ps(one, _mm_mul_ps(along2, along1)));
  const __m128 s1 = _mm_mul_ps(s, i1), s2 = _mm_mul_ps(s, i2);
  const tPoints u = s1 * e1 - _mm_mul_ps(along2, s1) * e2;
  const tPoints w = s2 * e2 - _mm_mul_ps(along1, s2) * e1;
  storeEquation(equations.mU, u, negate(dot(u, v0)), isTriangle, -1.0f);
  storeEquation(equations.mW, w, negate(dot(w, v0)), isTriangle, -1.0f);
}

}  // namespace qzDetail
