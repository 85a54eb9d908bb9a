#pragma once
// Arithmetic on vectors of three components: Wm4::Vector3<float>, std::array<double, 3> or any other class that has
// operator[] and is built from three components. Computed in the component type, in the order written here. Sources
// that include it link qzArithmetic, so that compilers do not contract products and sums.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>

#include <array>
#include <cmath>

namespace qzToolkit {

using tVector3d = std::array<double, 3>;

template <class tVector>
auto dot(const tVector& a, const tVector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

template <class tVector>
tVector cross(const tVector& a, const tVector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// a - b
template <class tVector>
tVector difference(const tVector& a, const tVector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

/// factor * v
template <class tReal, class tVector>
tVector scaled(tReal factor, const tVector& v) {
  return {factor * v[0], factor * v[1], factor * v[2]};
}

/// a + factor * b
template <class tReal, class tVector>
tVector along(const tVector& a, tReal factor, const tVector& b) {
  return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

/// Intermediate results do not overflow or underflow.
inline double length(const tVector3d& v) {
  return std::hypot(v[0], v[1], v[2]);
}

/// v divided by its length, which must not be 0.
inline tVector3d normalized(const tVector3d& v) {
  const double size = length(v);
  return {v[0] / size, v[1] / size, v[2] / size};
}

inline tVector3d toDouble(const Wm4::Vector3<float>& v) {
  return {v[0], v[1], v[2]};
}

inline Wm4::Vector3<float> toFloat(const tVector3d& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// Whether no coordinate is NaN or infinite.
inline bool isFinite(const Wm4::Vector2<float>& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]);
}
inline bool isFinite(const Wm4::Vector3<float>& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

}  // namespace qzToolkit
