#pragma once
// Wm4::Box3: oriented box: centre, three axes, half extent along each. Stand-in for the foundation library's type.

#include <Wm4/Vector3.h>

namespace Wm4 {

template <class Real>
class Box3 {
 public:
  Box3() {}  // leaves the members unset
  Box3(const Vector3<Real>& center, const Vector3<Real>* axis, const Real* extent)
      : Center(center), Axis{axis[0], axis[1], axis[2]}, Extent{extent[0], extent[1], extent[2]} {}

  Vector3<Real> Center, Axis[3];
  Real Extent[3];
};

}  // namespace Wm4
