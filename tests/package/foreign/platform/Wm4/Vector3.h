#pragma once
// Components by number only, and arithmetic that the library has no use for.

namespace Wm4 {

template <class Real>
class Vector3 {
 public:
  Vector3() {}
  Vector3(Real first, Real second, Real third) {
    component[0] = first;
    component[1] = second;
    component[2] = third;
  }
  const Real& operator[](int i) const { return component[i]; }
  Real& operator[](int i) { return component[i]; }
  Vector3 operator+(const Vector3& o) const {
    return Vector3(component[0] + o[0], component[1] + o[1], component[2] + o[2]);
  }

  static const Vector3 UNIT_X, UNIT_Y, UNIT_Z;

 private:
  Real component[3];
};

template <>
const Vector3<float> Vector3<float>::UNIT_X;
template <>
const Vector3<float> Vector3<float>::UNIT_Y;
template <>
const Vector3<float> Vector3<float>::UNIT_Z;

}  // namespace Wm4
