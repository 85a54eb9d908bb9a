#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

qzBBox::tAxis axisWord(unsigned int word) {
  return static_cast<qzBBox::tAxis>(word);
}

struct Extreme {
  float extent;
  unsigned int axis;
  bool operator==(const Extreme& o) const { return sameBits(extent, o.extent) && axis == o.axis; }
};

Extreme maxOf(const qzBBox& box) {
  qzBBox::tAxis axis = axisWord(0xDEADBEEFu);
  const float extent = box.getMaxExtent(axis);
  return {extent, axis};
}

Extreme minOf(const qzBBox& box) {
  qzBBox::tAxis axis = axisWord(0xDEADBEEFu);
  const float extent = box.getMinExtent(axis);
  return {extent, axis};
}

}  // namespace

TEST_CASE("an extent is max minus min, negative where the box is empty") {
  const qzBBox box = qzBBox::Make(1.0f, 5.0f, -3.0f, 4.0f, 4.0f, 7.0f);
  CHECK(box.extentX() == 3.0f);
  CHECK(box.extentY() == -1.0f);
  CHECK(box.extentZ() == 10.0f);
  CHECK(sameBits(box.getExtents(), Point(3.0f, -1.0f, 10.0f)));
}

TEST_CASE("the default box has an extent of -inf on every axis") {
  const float minusInfinity = -kInf;
  CHECK(sameBits(qzBBox().getExtents(), Point(minusInfinity, minusInfinity, minusInfinity)));
}

TEST_CASE("axis value 0 is x, 0x40000000 is y, any other value z") {
  const qzBBox box = boxOfExtents(1.0f, 2.0f, 3.0f);
  CHECK(box.getExtent(qzBBox::eAxisX) == 1.0f);
  CHECK(box.getExtent(qzBBox::eAxisY) == 2.0f);
  CHECK(box.getExtent(qzBBox::eAxisZ) == 3.0f);
  for (const unsigned int stray : {0xC0000000u, 1u, 2u, 0x3FFFFFFFu, 0x40000001u, 0x7FFFFFFFu, 0x80000001u, 0xFFFFFFFFu,
                                   0x20000000u, 0x60000000u}) {
    INFO("axis ", stray);
    CHECK(box.getExtent(axisWord(stray)) == 3.0f);
  }
}

TEST_CASE("an axis value of any other single bit is z") {
  const qzBBox box = boxOfExtents(1.0f, 2.0f, 3.0f);
  for (int bit = 0; bit < 32; ++bit) {
    INFO("bit ", bit);
    CHECK(box.getExtent(axisWord(1u << bit)) == (bit == 30 ? 2.0f : 3.0f));
  }
}

TEST_CASE("the centre is the sum times 0.5 and overflows with the sum") {
  CHECK(sameBits(qzBBox::Make(1.0f, -2.0f, 0.0f, 4.0f, 2.0f, 0.5f).getCenter(), Point(2.5f, 0.0f, 0.25f)));
  const Point huge = qzBBox::Make(0x1p127f, -0x1p127f, 0.0f, 0x1p127f, -0x1p127f, 0.0f).getCenter();
  CHECK(sameBits(huge, Point(kInf, -kInf, 0.0f)));
}

TEST_CASE("the centre of the default box is NaN") {
  const Point center = qzBBox().getCenter();
  for (int c = 0; c < 3; ++c) CHECK(center[c] != center[c]);
}

TEST_CASE("the volume multiplies y by x and then by z") {
  CHECK(unitCube().volume() == 1.0f);
  CHECK(boxOfExtents(2.0f, 3.0f, 4.0f).volume() == 24.0f);
  CHECK(boxOfExtents(2.0f, 3.0f, 0.0f).volume() == 0.0f);
  // y * x overflows first; any other order would not.
  CHECK(boxOfExtents(0x1p100f, 0x1p100f, 0x1p-100f).volume() == kInf);
  CHECK(boxOfExtents(0x1p100f, 0x1p-100f, 0x1p100f).volume() == 0x1p100f);
  CHECK(boxOfExtents(0x1p-100f, 0x1p100f, 0x1p100f).volume() == 0x1p100f);
  // y * x underflows to zero first.
  CHECK(boxOfExtents(0x1p-100f, 0x1p-100f, 0x1p100f).volume() == 0.0f);
}

TEST_CASE("halfArea of a unit cube is 3") {
  CHECK(unitCube().halfArea() == 3.0f);
}

TEST_CASE("a flat box has volume 0, but an area") {
  CHECK(boxOfExtents(2.0f, 3.0f, 0.0f).volume() == 0.0f);
  CHECK(boxOfExtents(2.0f, 3.0f, 0.0f).halfArea() == 6.0f);
  CHECK(boxOfExtents(2.0f, 0.0f, 3.0f).halfArea() == 6.0f);
  CHECK(boxOfExtents(0.0f, 2.0f, 3.0f).halfArea() == 6.0f);
}

TEST_CASE("halfArea is (dz + dy) * dx + dz * dy in this order") {
  // dz + dy overflows first, and inf * 0 is NaN; dz * dx + dy * dx would be 0.
  const float overflow = boxOfExtents(0.0f, 0x1p127f, 0x1p127f).halfArea();
  CHECK(overflow != overflow);
  // With u = 2^-23, the last bit of 1: 6 * (1 + u) rounds to 6 + 8u, and 5 more is exact. Every other
  // pairing of the sides loses the bit and gives 11.
  const float u = 0x1p-23f;
  CHECK(boxOfExtents(1.0f + u, 1.0f, 5.0f).halfArea() == 11.0f + 8.0f * u);
}

TEST_CASE("halfArea rounds both products before it adds them") {
  // Either product fused with the sum would give 11 + 24u.
  const float u = 0x1p-23f;
  CHECK(boxOfExtents(1.0f + u, 1.0f + 3.0f * u, 5.0f).halfArea() == 11.0f + 32.0f * u);
}

TEST_CASE("three equal extents: largest and smallest are y") {
  CHECK(maxOf(boxOfExtents(1.0f, 1.0f, 1.0f)) == Extreme{1.0f, qzBBox::eAxisY});
  CHECK(minOf(boxOfExtents(1.0f, 1.0f, 1.0f)) == Extreme{1.0f, qzBBox::eAxisY});
}

TEST_CASE("getMaxExtent returns the largest extent and its axis") {
  CHECK(maxOf(boxOfExtents(3.0f, 1.0f, 2.0f)) == Extreme{3.0f, qzBBox::eAxisX});
  CHECK(maxOf(boxOfExtents(1.0f, 3.0f, 2.0f)) == Extreme{3.0f, qzBBox::eAxisY});
  CHECK(maxOf(boxOfExtents(1.0f, 2.0f, 3.0f)) == Extreme{3.0f, qzBBox::eAxisZ});
}

TEST_CASE("getMinExtent returns the smallest extent and its axis") {
  CHECK(minOf(boxOfExtents(1.0f, 3.0f, 2.0f)) == Extreme{1.0f, qzBBox::eAxisX});
  CHECK(minOf(boxOfExtents(2.0f, 1.0f, 3.0f)) == Extreme{1.0f, qzBBox::eAxisY});
  CHECK(minOf(boxOfExtents(3.0f, 2.0f, 1.0f)) == Extreme{1.0f, qzBBox::eAxisZ});
}

TEST_CASE("among equal largest extents y comes before z, and both before x") {
  CHECK(maxOf(boxOfExtents(2.0f, 1.0f, 2.0f)) == Extreme{2.0f, qzBBox::eAxisZ});
  CHECK(maxOf(boxOfExtents(2.0f, 2.0f, 1.0f)) == Extreme{2.0f, qzBBox::eAxisY});
  CHECK(maxOf(boxOfExtents(1.0f, 2.0f, 2.0f)) == Extreme{2.0f, qzBBox::eAxisY});
}

TEST_CASE("among equal smallest extents y comes before z, and both before x") {
  CHECK(minOf(boxOfExtents(1.0f, 1.0f, 2.0f)) == Extreme{1.0f, qzBBox::eAxisY});
  CHECK(minOf(boxOfExtents(1.0f, 2.0f, 1.0f)) == Extreme{1.0f, qzBBox::eAxisZ});
  CHECK(minOf(boxOfExtents(2.0f, 1.0f, 1.0f)) == Extreme{1.0f, qzBBox::eAxisY});
}

TEST_CASE("a NaN extent fails every comparison: kept on y, skipped on z and x") {
  CHECK(maxOf(boxOfExtents(1.0f, 2.0f, kNaN)) == Extreme{2.0f, qzBBox::eAxisY});
  CHECK(maxOf(boxOfExtents(kNaN, 1.0f, 2.0f)) == Extreme{2.0f, qzBBox::eAxisZ});
  CHECK(minOf(boxOfExtents(1.0f, 2.0f, kNaN)) == Extreme{1.0f, qzBBox::eAxisX});
  CHECK(maxOf(boxOfExtents(1.0f, kNaN, 2.0f)).axis == qzBBox::eAxisY);
  CHECK(minOf(boxOfExtents(1.0f, kNaN, 2.0f)).axis == qzBBox::eAxisY);
}
