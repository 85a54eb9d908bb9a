#pragma once
// Components by number only.

namespace Wm4 {

template <class Real>
class Vector4 {
 public:
  Vector4() {}
  Vector4(Real first, Real second, Real third, Real fourth) {
    component[0] = first;
    component[1] = second;
    component[2] = third;
    component[3] = fourth;
  }
  const Real& operator[](int i) const { return component[i]; }
  Real& operator[](int i) { return component[i]; }

 private:
  Real component[4];
};

}  // namespace Wm4
