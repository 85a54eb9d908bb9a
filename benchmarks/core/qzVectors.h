#pragma once
// Vector algebra of the benchmarks: that of the toolkit, and what only the benchmarks need.

#include <toolkit/base/qzVectorMath.h>

namespace qzBench {

using tVector = Wm4::Vector3<float>;  ///< what the library and its peers are given
using tVector3d = qzToolkit::tVector3d;

using qzToolkit::along;
using qzToolkit::cross;
using qzToolkit::difference;
using qzToolkit::dot;
using qzToolkit::scaled;
using qzToolkit::toDouble;
using qzToolkit::toFloat;

template <class Vector>
Vector sum(const Vector& a, const Vector& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

// The square root of a sum of squares fixes the bits of scenes and rays; std::hypot may differ between C libraries.
inline tVector normalised(const tVector& a) {
  return scaled(1.0f / std::sqrt(dot(a, a)), a);
}
inline tVector3d normalised(const tVector3d& a) {
  const double length = std::sqrt(dot(a, a));
  return {a[0] / length, a[1] / length, a[2] / length};
}

/// Two vectors that form a right-handed frame with the unit vector axis.
inline void completeFrame(const tVector& axis, tVector& first, tVector& second) {
  const tVector other = std::fabs(axis[1]) < 0.9f ? tVector(0.0f, 1.0f, 0.0f) : tVector(1.0f, 0.0f, 0.0f);
  first = normalised(cross(other, axis));
  second = cross(axis, first);
}

}  // namespace qzBench
