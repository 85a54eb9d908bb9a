#include <doctest/doctest.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

TEST_CASE("the centre of the box from (0, 0) to (3, 1) is (1.5, 0.5), its area is 3") {
  const qzBBox2D box = qzBBox2D::Make(0.0f, 0.0f, 3.0f, 1.0f);
  CHECK(sameBits(box.getCenter(), Point(1.5f, 0.5f)));
  CHECK(box.area() == 3.0f);
  CHECK(box.extentX() == 3.0f);
  CHECK(box.extentY() == 1.0f);
}

TEST_CASE("the centre in 2D is (max - min) * 0.5 + min, in 3D (min + max) * 0.5, which differ in the last bit") {
  const std::uint32_t seed = 121;
  INFO("seed ", seed);
  Random random(seed);
  int nbDifferent = 0;
  for (int i = 0; i < 10000; ++i) {
    const float min = random.between(-1.0f, 1.0f), max = random.between(1.0f, 1000.0f);
    const float half = (max - min) * 0.5f;
    const Point center = qzBBox2D::Make(min, min, max, max).getCenter();
    if (!sameBits(center, Point(half + min, half + min))) FAIL(describe({min, max}));
    const float center3D = qzBBox::Make(min, min, min, max, max, max).getCenter()[0];
    if (!sameBits(center[0], center3D)) ++nbDifferent;
  }
  CHECK(nbDifferent > 0);
  // 3 - 2^-23 rounds to 3, and half of that plus 2^-23 is exact; 3 + 2^-23 rounds to 3.
  CHECK(sameBits(qzBBox2D::Make(0x1p-23f, 0.0f, 3.0f, 0.0f).getCenter()[0], 0x1.800002p+0f));
  CHECK(sameBits(qzBBox::Make(0x1p-23f, 0.0f, 0.0f, 3.0f, 0.0f, 0.0f).getCenter()[0], 1.5f));
  // The sum overflows and the difference does not, and vice versa.
  CHECK(qzBBox2D::Make(kMaxFloat, kMaxFloat, kMaxFloat, kMaxFloat).getCenter()[0] == kMaxFloat);
  CHECK(qzBBox2D::Make(-kMaxFloat, 0.0f, kMaxFloat, 0.0f).getCenter()[0] == kInf);
}

TEST_CASE("the area of an empty 2D box is not clamped and may be positive") {
  CHECK(qzBBox2D::Make(1.0f, 1.0f, 0.0f, 0.0f).area() == 1.0f);
  CHECK(qzBBox2D::Make(1.0f, 0.0f, 0.0f, 1.0f).area() == -1.0f);
  CHECK(qzBBox2D().area() == kInf);
  CHECK(qzBBox2D::Make(0.0f, 0.0f, 5.0f, 0.0f).area() == 0.0f);
}

TEST_CASE("union and intersection of 2D boxes go per component") {
  const qzBBox2D a = qzBBox2D::Make(0.0f, 0.0f, 2.0f, 2.0f), b = qzBBox2D::Make(1.0f, -1.0f, 3.0f, 1.0f);
  CHECK(sameBits(a.bboxUnion(b), qzBBox2D::Make(0.0f, -1.0f, 3.0f, 2.0f)));
  CHECK(sameBits(a.bboxIntersection(b), qzBBox2D::Make(1.0f, 0.0f, 2.0f, 1.0f)));
}

TEST_CASE("the intersection of disjoint 2D boxes keeps min above max") {
  const qzBBox2D gap = unitSquare().bboxIntersection(qzBBox2D::Make(2.0f, 0.0f, 3.0f, 1.0f));
  CHECK(sameBits(gap, qzBBox2D::Make(2.0f, 0.0f, 1.0f, 1.0f)));
  CHECK(gap.isEmpty());
}

TEST_CASE("union, intersection and expand in 2D keep a first value that is equal or NaN, or whose second is NaN") {
  const float own = floatFromBits(0xFFC01234u);
  const qzBBox2D box = qzBBox2D::Make(-0.0f, own, 0.0f, own);
  const qzBBox2D other = qzBBox2D::Make(0.0f, -kInf, -0.0f, kInf);
  CHECK(sameBits(box.bboxUnion(other), box));
  CHECK(sameBits(box.bboxIntersection(other), box));
  CHECK(sameBits(box.expand(Point(-0.0f, 7.0f)), box));
  const qzBBox2D notANumber = qzBBox2D::Make(kNaN, kNaN, kNaN, kNaN);
  CHECK(sameBits(unitSquare().bboxUnion(notANumber), unitSquare()));
  CHECK(sameBits(unitSquare().bboxIntersection(notANumber), unitSquare()));
  CHECK(sameBits(unitSquare().expand(Point(kNaN, 0.5f)), unitSquare()));
}

TEST_CASE("grow moves every side of a 2D box outwards; a negative amount may invert the box") {
  CHECK(sameBits(unitSquare().grow(0.25f), qzBBox2D::Make(-0.25f, -0.25f, 1.25f, 1.25f)));
  CHECK(sameBits(unitSquare().grow(-1.0f), qzBBox2D::Make(1.0f, 1.0f, 0.0f, 0.0f)));
}

TEST_CASE("the in-place forms change the 2D box and return it; the others do not change it") {
  const qzBBox2D before = unitSquare(), o = qzBBox2D::Make(0.5f, -1.0f, 3.0f, 0.75f);
  const Point p(-2.0f, 4.0f);
  qzBBox2D box = before;
  CHECK(&box.selfUnion(o) == &box);
  CHECK(sameBits(box, before.bboxUnion(o)));
  box = before;
  CHECK(&box.selfIntersection(o) == &box);
  CHECK(sameBits(box, before.bboxIntersection(o)));
  box = before;
  CHECK(&box.selfExpand(p) == &box);
  CHECK(sameBits(box, before.expand(p)));
  box = before;
  CHECK(&box.selfGrow(2.0f) == &box);
  CHECK(sameBits(box, before.grow(2.0f)));
  CHECK(sameBits(before, unitSquare()));
}

TEST_CASE("projecting onto a 2D box clamps to the lower bound first and then to the upper") {
  CHECK(sameBits(unitSquare().projectOntoBBox(Point(-1.0f, 0.5f)), Point(0.0f, 0.5f)));
  CHECK(sameBits(unitSquare().projectOntoBBox(Point(0.25f, 7.0f)), Point(0.25f, 1.0f)));
  // Inverted: the upper bound is applied last.
  const qzBBox2D insideOut = qzBBox2D::Make(2.0f, 2.0f, 1.0f, 1.0f);
  CHECK(sameBits(insideOut.projectOntoBBox(Point(1.5f, 5.0f)), Point(1.0f, 1.0f)));
  CHECK(sameBits(insideOut.projectOntoBBox(Point(0.0f, 0.0f)), Point(1.0f, 1.0f)));
  const float own = floatFromBits(0x7FC00042u);
  CHECK(sameBits(unitSquare().projectOntoBBox(Point(own, -0.0f)), Point(own, -0.0f)));
}
