#include <Wm4/Vector3.h>

namespace Wm4 {

template <>
const Vector3<float> Vector3<float>::UNIT_X(1.0f, 0.0f, 0.0f);
template <>
const Vector3<float> Vector3<float>::UNIT_Y(0.0f, 1.0f, 0.0f);
template <>
const Vector3<float> Vector3<float>::UNIT_Z(0.0f, 0.0f, 1.0f);

}  // namespace Wm4
