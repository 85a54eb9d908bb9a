#pragma once
// Components by number only, and arithmetic that the library has no use for.

namespace Wm4 {

template <class Real>
class Vector2 {
 public:
  Vector2() {}
  Vector2(Real first, Real second) {
    component[0] = first;
    component[1] = second;
  }
  const Real& operator[](int i) const { return component[i]; }
  Real& operator[](int i) { return component[i]; }
  Vector2 operator+(const Vector2& o) const { return Vector2(component[0] + o[0], component[1] + o[1]); }

 private:
  Real component[2];
};

}  // namespace Wm4
