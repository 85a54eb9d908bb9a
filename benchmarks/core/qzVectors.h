#pragma once
// What the benchmarks compute with vectors.

#include <Wm4/Vector3.h>

#include <cmath>

namespace qzBench {

using tVector = Wm4::Vector3<float>;

inline tVector sum(const tVector& a, const tVector& b) {
  return tVector(a[0] + b[0], a[1] + b[1], a[2] + b[2]);
}
inline tVector difference(const tVector& a, const tVector& b) {
  return tVector(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}
inline tVector scaled(const tVector& a, float factor) {
  return tVector(a[0] * factor, a[1] * factor, a[2] * factor);
}
inline tVector along(const tVector& a, float factor, const tVector& b) {
  return sum(a, scaled(b, factor));
}
inline float dot(const tVector& a, const tVector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline tVector cross(const tVector& a, const tVector& b) {
  return tVector(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
}
inline tVector normalised(const tVector& a) {
  return scaled(a, 1.0f / std::sqrt(dot(a, a)));
}

/// Two vectors that form a right-handed frame with the unit vector axis.
inline void completeFrame(const tVector& axis, tVector& first, tVector& second) {
  const tVector other = std::fabs(axis[1]) < 0.9f ? tVector(0.0f, 1.0f, 0.0f) : tVector(1.0f, 0.0f, 0.0f);
  first = normalised(cross(other, axis));
  second = cross(axis, first);
}

}  // namespace qzBench
