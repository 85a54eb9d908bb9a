#include <Wm4/Box3.h>
#include <doctest/doctest.h>

#include <cstddef>

#include "support/qzBits.h"

using namespace qzTest;
using Point = Wm4::Vector3<float>;

TEST_CASE("a Box3 is made of a centre, three axes and three half extents") {
  const Point axes[3] = {Point(0.0f, 1.0f, 0.0f), Point(0.0f, 0.0f, 1.0f), Point(1.0f, 0.0f, 0.0f)};
  const float extents[3] = {4.0f, 5.0f, 6.0f};
  const Wm4::Box3<float> box(Point(1.0f, 2.0f, 3.0f), axes, extents);
  CHECK(sameBits(box.Center, Point(1.0f, 2.0f, 3.0f)));
  for (int i = 0; i < 3; ++i) {
    CHECK(sameBits(box.Axis[i], axes[i]));
    CHECK(box.Extent[i] == extents[i]);
  }
}

TEST_CASE("centre, axes and half extents lie in memory in that order") {
  CHECK(offsetof(Wm4::Box3<float>, Center) == 0);
  CHECK(offsetof(Wm4::Box3<float>, Axis) == 3 * sizeof(float));
  CHECK(offsetof(Wm4::Box3<float>, Extent) == 12 * sizeof(float));
  CHECK(sizeof(Wm4::Box3<float>) == 15 * sizeof(float));
}

TEST_CASE("the parts of a default Box3 can be assigned one by one") {
  Wm4::Box3<float> box;
  box.Center = Point(1.0f, 2.0f, 3.0f);
  for (int i = 0; i < 3; ++i) {
    box.Axis[i] = Point::UNIT_Z;
    box.Extent[i] = static_cast<float>(i);
  }
  const Wm4::Box3<float> copy = box;
  CHECK(sameBits(copy, box));
  CHECK((copy.Center[2] == 3.0f && copy.Axis[2][2] == 1.0f && copy.Extent[2] == 2.0f));
}
