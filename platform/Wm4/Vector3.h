#pragma once
// Wm4::Vector3: three contiguous components and no other data. Stand-in for the foundation library's type.

namespace Wm4 {

template <class Real>
class Vector3 {
 public:
  Vector3() {}  // leaves the components unset, like a plain array
  Vector3(Real x, Real y, Real z) : mTuple{x, y, z} {}

  Real operator[](int i) const { return mTuple[i]; }
  Real& operator[](int i) { return mTuple[i]; }

  Real X() const { return mTuple[0]; }
  Real& X() { return mTuple[0]; }
  Real Y() const { return mTuple[1]; }
  Real& Y() { return mTuple[1]; }
  Real Z() const { return mTuple[2]; }
  Real& Z() { return mTuple[2]; }

  static const Vector3 UNIT_X, UNIT_Y, UNIT_Z;

 private:
  Real mTuple[3];
};

template <>
const Vector3<float> Vector3<float>::UNIT_X;
template <>
const Vector3<float> Vector3<float>::UNIT_Y;
template <>
const Vector3<float> Vector3<float>::UNIT_Z;

}  // namespace Wm4
