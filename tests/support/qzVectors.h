#pragma once
// Arithmetic of three-component vectors. Products are summed (x + y) + z.

#include <Wm4/Vector3.h>

namespace qzTest {

template <class Real>
Wm4::Vector3<Real> plus(const Wm4::Vector3<Real>& a, const Wm4::Vector3<Real>& b) {
  return Wm4::Vector3<Real>(a[0] + b[0], a[1] + b[1], a[2] + b[2]);
}
template <class Real>
Wm4::Vector3<Real> minus(const Wm4::Vector3<Real>& a, const Wm4::Vector3<Real>& b) {
  return Wm4::Vector3<Real>(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}
template <class Real>
Wm4::Vector3<Real> times(Real factor, const Wm4::Vector3<Real>& a) {
  return Wm4::Vector3<Real>(factor * a[0], factor * a[1], factor * a[2]);
}
/// origin + s * direction
template <class Real>
Wm4::Vector3<Real> along(const Wm4::Vector3<Real>& origin, Real s, const Wm4::Vector3<Real>& direction) {
  return plus(origin, times(s, direction));
}
template <class Real>
Real dot(const Wm4::Vector3<Real>& a, const Wm4::Vector3<Real>& b) {
  return (a[0] * b[0] + a[1] * b[1]) + a[2] * b[2];
}
template <class Real>
Wm4::Vector3<Real> cross(const Wm4::Vector3<Real>& a, const Wm4::Vector3<Real>& b) {
  return Wm4::Vector3<Real>(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
}

}  // namespace qzTest
