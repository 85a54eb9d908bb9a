#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

TEST_CASE("a plane that touches a face overlaps the box") {
  CHECK(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), -1.0f));
  CHECK(unitCube().overlapsPlane(Point(-1.0f, 0.0f, 0.0f), 1.0f));
  CHECK(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), 0.0f));
  CHECK(unitCube().overlapsPlane(Point(0.0f, 1.0f, 0.0f), -1.0f));
  CHECK(unitCube().overlapsPlane(Point(0.0f, 0.0f, 1.0f), -1.0f));
}

TEST_CASE("a plane through the box overlaps it, a plane beside it does not") {
  CHECK(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), -0.5f));
  CHECK_FALSE(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), -1.5f));
  CHECK_FALSE(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), 0.5f));
}

TEST_CASE("d is added, not subtracted: x + 0.5 = 0 lies beside the unit cube") {
  CHECK_FALSE(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), 0.5f));
  CHECK(qzBBox::Make(-1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 1.0f).overlapsPlane(Point(1.0f, 0.0f, 0.0f), 0.5f));
}

TEST_CASE("a plane is tested against the corners farthest along and against its normal") {
  // (0, 1, 0) is the corner farthest along this normal, with value 1, and (1, 0, 1) the one against it, with -2.
  const Point n(-1.0f, 1.0f, -1.0f);
  CHECK(unitCube().overlapsPlane(n, 2.0f));         // touches (1, 0, 1)
  CHECK_FALSE(unitCube().overlapsPlane(n, 2.25f));  // beyond it
  CHECK(unitCube().overlapsPlane(n, -1.0f));        // touches (0, 1, 0)
  CHECK_FALSE(unitCube().overlapsPlane(n, -1.25f));
}

TEST_CASE("distances of corners are summed x, y, z, then d") {
  // 2^24 + 1 rounds to 2^24, so the distance is 0. With d added to x first it would be 1.
  const qzBBox box = qzBBox(Point(0x1p24f, 1.0f, 0.0f));
  CHECK(box.overlapsPlane(Point(1.0f, 1.0f, 0.0f), -0x1p24f));
  // With y and z added first, their sum 2 would survive the addition to 2^24.
  const qzBBox last = qzBBox(Point(0x1p24f, 1.0f, 1.0f));
  CHECK(last.overlapsPlane(Point(1.0f, 1.0f, 1.0f), -0x1p24f));
}

TEST_CASE("with a zero normal the sign of d alone decides, and d = 0 overlaps every box") {
  CHECK_FALSE(unitCube().overlapsPlane(Point(0.0f, 0.0f, 0.0f), 1.0f));
  CHECK_FALSE(unitCube().overlapsPlane(Point(0.0f, -0.0f, 0.0f), -1.0f));
  CHECK(unitCube().overlapsPlane(Point(0.0f, 0.0f, 0.0f), 0.0f));
  // 0 times the infinite corner is NaN, which is no overlap.
  const qzBBox halfSpace = qzBBox::Make(-kInf, 0.0f, 0.0f, 0.0f, 1.0f, 1.0f);
  CHECK_FALSE(halfSpace.overlapsPlane(Point(0.0f, 1.0f, 0.0f), -0.5f));
}

TEST_CASE("a NaN product is no overlap") {
  CHECK_FALSE(unitCube().overlapsPlane(Point(kNaN, 0.0f, 0.0f), 0.0f));
  CHECK_FALSE(unitCube().overlapsPlane(Point(1.0f, 0.0f, 0.0f), kNaN));
  CHECK_FALSE(qzBBox().overlapsPlane(Point(1.0f, 0.0f, 0.0f), 0.0f));  // inf * 0 on the other axes
}

TEST_CASE("a product of distances that underflows to zero counts as touching") {
  const qzBBox tiny = qzBBox::Make(0x1p-100f, 0.0f, 0.0f, 0x1p-99f, 1.0f, 1.0f);
  CHECK(tiny.overlapsPlane(Point(1.0f, 0.0f, 0.0f), 0.0f));
}

TEST_CASE("a sphere is given by its squared radius, and touching from outside is no overlap") {
  const Point c(2.0f, 0.5f, 0.5f);
  CHECK_FALSE(unitCube().overlapsSphere(c, 1.0f));
  CHECK(unitCube().overlapsSphere(c, 1.0001f));
  CHECK(unitCube().overlapsSphere(c, 0x1.000002p0f));
}

TEST_CASE("overlapsSphere does not square its second argument") {
  const Point c(3.0f, 0.5f, 0.5f);  // squared distance 4
  CHECK_FALSE(unitCube().overlapsSphere(c, 3.0f));
  CHECK(unitCube().overlapsSphere(c, 5.0f));
  CHECK_FALSE(unitCube().overlapsSphere(c, -5.0f));
}

TEST_CASE("a centre in the box or on its border overlaps it, for any second argument") {
  for (const float r : kOddFloats) {
    INFO("r ", r);
    CHECK(unitCube().overlapsSphere(Point(0.5f, 0.5f, 0.5f), r));
    CHECK(unitCube().overlapsSphere(Point(1.0f, 0.0f, 1.0f), r));
  }
}

TEST_CASE("an infinite squared radius overlaps every box at a finite distance, NaN none") {
  CHECK(unitCube().overlapsSphere(Point(100.0f, 0.0f, 0.0f), kInf));
  CHECK_FALSE(unitCube().overlapsSphere(Point(100.0f, 0.0f, 0.0f), kNaN));
  CHECK_FALSE(unitCube().overlapsSphere(Point(kInf, 0.0f, 0.0f), kInf));
  CHECK_FALSE(unitCube().overlapsSphere(Point(kNaN, 0.5f, 0.5f), kInf));
}

TEST_CASE("squared distances are summed y, x, then z") {
  // 2^24 + 1 rounds to 2^24, but 2^24 + 2 does not: the first two squares decide.
  const qzBBox origin(Point(0.0f, 0.0f, 0.0f));
  const float next = 0x1.000002p24f;                               // 2^24 + 2, the float after 2^24
  CHECK(origin.overlapsSphere(Point(0x1p12f, 1.0f, 1.0f), next));  // (1 + 2^24) + 1 = 2^24
  CHECK_FALSE(origin.overlapsSphere(Point(0x1p12f, 1.0f, 1.0f), 0x1p24f));
  CHECK(origin.overlapsSphere(Point(1.0f, 0x1p12f, 1.0f), next));        // (2^24 + 1) + 1 = 2^24
  CHECK_FALSE(origin.overlapsSphere(Point(1.0f, 1.0f, 0x1p12f), next));  // (1 + 1) + 2^24
}
