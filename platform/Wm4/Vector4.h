#pragma once
// Wm4::Vector4: four contiguous components and no other data. Stand-in for the foundation library's type.

namespace Wm4 {

template <class Real>
class Vector4 {
 public:
  Vector4() {}  // leaves the components unset, like a plain array
  Vector4(Real x, Real y, Real z, Real w) : mTuple{x, y, z, w} {}

  Real operator[](int i) const { return mTuple[i]; }
  Real& operator[](int i) { return mTuple[i]; }

  Real X() const { return mTuple[0]; }
  Real& X() { return mTuple[0]; }
  Real Y() const { return mTuple[1]; }
  Real& Y() { return mTuple[1]; }
  Real Z() const { return mTuple[2]; }
  Real& Z() { return mTuple[2]; }
  Real W() const { return mTuple[3]; }
  Real& W() { return mTuple[3]; }

  static const Vector4 UNIT_X, UNIT_Y, UNIT_Z, UNIT_W;

 private:
  Real mTuple[4];
};

template <>
const Vector4<float> Vector4<float>::UNIT_X;
template <>
const Vector4<float> Vector4<float>::UNIT_Y;
template <>
const Vector4<float> Vector4<float>::UNIT_Z;
template <>
const Vector4<float> Vector4<float>::UNIT_W;

}  // namespace Wm4
