#pragma once
// An oriented box.

#include <Wm4/Vector3.h>

namespace Wm4 {

template <class Real>
class Box3 {
 public:
  Box3() {}
  Box3(const Vector3<Real>& center, const Vector3<Real>* axes, const Real* halfExtents) : Middle(center) {
    for (int i = 0; i < 3; ++i) {
      Axes[i] = axes[i];
      HalfExtents[i] = halfExtents[i];
    }
  }

  Vector3<Real> Middle, Axes[3];
  Real HalfExtents[3];
};

}  // namespace Wm4
