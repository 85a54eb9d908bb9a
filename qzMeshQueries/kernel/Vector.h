#pragma once
// Vectors in double, as the kernels compute with them. The order of operations fixes the bits.

#include <qzCommonAddOns/qzDetail/base/qzInline.h>

namespace qzMeshQueries::detail {

/// A vector in double.
struct Vector {
  double x, y, z;
};
QZ_ALWAYS_INLINE Vector difference(const float p[3], const float q[3]) {
  return {double(p[0]) - double(q[0]), double(p[1]) - double(q[1]), double(p[2]) - double(q[2])};
}
QZ_ALWAYS_INLINE double dot(const Vector& p, const Vector& q) {
  return (p.x * q.x + p.y * q.y) + p.z * q.z;
}
QZ_ALWAYS_INLINE Vector cross(const Vector& p, const Vector& q) {
  return {p.y * q.z - p.z * q.y, p.z * q.x - p.x * q.z, p.x * q.y - p.y * q.x};
}
/// p + s * d.
QZ_ALWAYS_INLINE Vector along(const Vector& p, double s, const Vector& d) {
  return {p.x + s * d.x, p.y + s * d.y, p.z + s * d.z};
}

}  // namespace qzMeshQueries::detail
