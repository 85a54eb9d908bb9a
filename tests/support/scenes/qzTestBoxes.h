#pragma once
// Boxes and special floats for tests in three dimensions.

#include <Wm4/Vector3.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

#include <initializer_list>
#include <sstream>
#include <string>

#include "support/qzBits.h"

namespace qzTest {

using Point = Wm4::Vector3<float>;

inline qzBBox unitCube() {
  return qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f);
}

/// A box from the origin with the given extents.
inline qzBBox boxOfExtents(float x, float y, float z) {
  return qzBBox::Make(0.0f, 0.0f, 0.0f, x, y, z);
}

/// Every kind of float: zeros, ordinary, largest, denormal, infinite, NaN of both signs.
constexpr float kOddFloats[] = {0.0f, -0.0f, 1.0f,      -1.0f,      0.25f,     kInf,       -kInf,
                                kNaN, -kNaN, kMaxFloat, -kMaxFloat, 0x1p-149f, -0x1p-149f, 0x1.8p-127f};

/// Floats for products of many variables: zeros, 1, the smallest negative, infinities, NaN.
constexpr float kFewFloats[] = {0.0f, -0.0f, 1.0f, -0x1p-149f, kInf, -kInf, kNaN};

inline Point anyPoint(Random& random) {
  const float x = random.anyFloat(), y = random.anyFloat(), z = random.anyFloat();
  return Point(x, y, z);
}

/// A box of any six floats; empty axes, NaN and infinities are common.
inline qzBBox anyBox(Random& random) {
  const Point min = anyPoint(random), max = anyPoint(random);
  return qzBBox::Make(min, max);
}

/// A proper box with corners from -2 to 2.
inline qzBBox properBox(Random& random) {
  const Point a = random.point(-2.0f, 2.0f), b = random.point(-2.0f, 2.0f);
  return qzBBox::RobustMake(a, b);
}

inline bool sameBitsOrNaN(const Point& a, const Point& b) {
  return sameBitsOrNaN(a[0], b[0]) && sameBitsOrNaN(a[1], b[1]) && sameBitsOrNaN(a[2], b[2]);
}
inline bool sameBitsOrNaN(const qzBBox& a, const qzBBox& b) {
  return sameBitsOrNaN(a.getMinPoint(), b.getMinPoint()) && sameBitsOrNaN(a.getMaxPoint(), b.getMaxPoint());
}

inline std::string describe(std::initializer_list<float> values) {
  std::ostringstream text;
  text << std::hexfloat;
  for (const float value : values) text << ' ' << value;
  return text.str();
}
inline std::string describe(const Point& p) {
  return describe({p[0], p[1], p[2]});
}
inline std::string describe(const qzBBox& box) {
  return " [" + describe(box.getMinPoint()) + " |" + describe(box.getMaxPoint()) + " ]";
}

}  // namespace qzTest
