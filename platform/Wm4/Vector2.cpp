#include <Wm4/Vector2.h>

namespace Wm4 {

template <>
const Vector2<float> Vector2<float>::UNIT_X(1.0f, 0.0f);
template <>
const Vector2<float> Vector2<float>::UNIT_Y(0.0f, 1.0f);

}  // namespace Wm4
