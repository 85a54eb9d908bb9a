#pragma once
// Wm4::Vector2: two contiguous components and no other data. Stand-in for the foundation library's type.

namespace Wm4 {

template <class Real>
class Vector2 {
 public:
  Vector2() {}  // leaves the components unset, like a plain array
  Vector2(Real x, Real y) : mTuple{x, y} {}

  Real operator[](int i) const { return mTuple[i]; }
  Real& operator[](int i) { return mTuple[i]; }

  Real X() const { return mTuple[0]; }
  Real& X() { return mTuple[0]; }
  Real Y() const { return mTuple[1]; }
  Real& Y() { return mTuple[1]; }

  static const Vector2 UNIT_X, UNIT_Y;

 private:
  Real mTuple[2];
};

template <>
const Vector2<float> Vector2<float>::UNIT_X;
template <>
const Vector2<float> Vector2<float>::UNIT_Y;

}  // namespace Wm4
