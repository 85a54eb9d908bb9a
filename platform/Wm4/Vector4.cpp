#include <Wm4/Vector4.h>

namespace Wm4 {

template <>
const Vector4<float> Vector4<float>::UNIT_X(1.0f, 0.0f, 0.0f, 0.0f);
template <>
const Vector4<float> Vector4<float>::UNIT_Y(0.0f, 1.0f, 0.0f, 0.0f);
template <>
const Vector4<float> Vector4<float>::UNIT_Z(0.0f, 0.0f, 1.0f, 0.0f);
template <>
const Vector4<float> Vector4<float>::UNIT_W(0.0f, 0.0f, 0.0f, 1.0f);

}  // namespace Wm4
