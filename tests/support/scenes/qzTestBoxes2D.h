#pragma once
// Boxes, points and special floats for tests in two dimensions.

#include <Wm4/Vector2.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>

#include <initializer_list>
#include <sstream>
#include <string>

#include "support/qzBits.h"

namespace qzTest {

using Point = Wm4::Vector2<float>;

inline qzBBox2D unitSquare() {
  return qzBBox2D::Make(0.0f, 0.0f, 1.0f, 1.0f);
}

/// Every kind of float: zeros, ordinary, largest, denormal, infinite, NaN of both signs.
constexpr float kOddFloats[] = {0.0f, -0.0f, 1.0f,      -1.0f,      0.25f,     kInf,      -kInf,
                                kNaN, -kNaN, kMaxFloat, -kMaxFloat, 0x1p-149f, -0x1p-149f};

/// Floats for products of many variables: zeros, 1, the smallest negative, infinities, NaN.
constexpr float kFewFloats[] = {0.0f, -0.0f, 1.0f, -0x1p-149f, kInf, -kInf, kNaN};

inline Point anyPoint(Random& random) {
  const float x = random.anyFloat(), y = random.anyFloat();
  return Point(x, y);
}
inline Point pointBetween(Random& random, float low, float high) {
  const float x = random.between(low, high), y = random.between(low, high);
  return Point(x, y);
}

/// A box of any four floats; empty axes, NaN and infinities are common.
inline qzBBox2D anyBox(Random& random) {
  const Point min = anyPoint(random), max = anyPoint(random);
  return qzBBox2D::Make(min, max);
}

/// A proper box with corners from -2 to 2.
inline qzBBox2D properBox(Random& random) {
  const Point a = pointBetween(random, -2.0f, 2.0f), b = pointBetween(random, -2.0f, 2.0f);
  return qzBBox2D::RobustMake(a, b);
}

inline bool sameBitsOrNaN(const Point& a, const Point& b) {
  return sameBitsOrNaN(a[0], b[0]) && sameBitsOrNaN(a[1], b[1]);
}
inline bool sameBitsOrNaN(const qzBBox2D& a, const qzBBox2D& b) {
  return sameBitsOrNaN(a.getMinPoint(), b.getMinPoint()) && sameBitsOrNaN(a.getMaxPoint(), b.getMaxPoint());
}

inline std::string describe(std::initializer_list<float> values) {
  std::ostringstream text;
  text << std::hexfloat;
  for (const float value : values) text << ' ' << value;
  return text.str();
}
inline std::string describe(const Point& p) {
  return describe({p[0], p[1]});
}
inline std::string describe(const qzBBox2D& box) {
  return " [" + describe(box.getMinPoint()) + " |" + describe(box.getMaxPoint()) + " ]";
}

}  // namespace qzTest
