#include <doctest/doctest.h>

#include <limits>
#include <type_traits>
#include <utility>

#include "plain/qzPlainBBox.h"
#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

TEST_CASE("a box is six floats, min before max, x before y before z") {
  CHECK(sizeof(qzBBox) == 6 * sizeof(float));
  const qzBBox box = qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
  float inMemory[6];
  std::memcpy(inMemory, &box, sizeof inMemory);
  for (int i = 0; i < 6; ++i) CHECK(inMemory[i] == static_cast<float>(i + 1));
}

TEST_CASE("a box is trivially copyable, of standard layout and not polymorphic") {
  CHECK(std::is_trivially_copyable_v<qzBBox>);
  CHECK(std::is_standard_layout_v<qzBBox>);
  CHECK_FALSE(std::is_polymorphic_v<qzBBox>);
}

TEST_CASE("the axis values are the top two bits of a 32-bit word") {
  CHECK(std::is_same_v<std::underlying_type_t<qzBBox::tAxis>, unsigned int>);
  CHECK(qzBBox::eAxisX == 0x00000000u);
  CHECK(qzBBox::eAxisY == 0x40000000u);
  CHECK(qzBBox::eAxisZ == 0x80000000u);
}

TEST_CASE("the default box has min +inf and max -inf on every axis") {
  const qzBBox box;
  for (int c = 0; c < 3; ++c) {
    CHECK(bitsOf(box.getMinPoint()[c]) == 0x7F800000u);
    CHECK(bitsOf(box.getMaxPoint()[c]) == 0xFF800000u);
  }
}

TEST_CASE("the default box is empty, has no extent and contains no point") {
  const qzBBox box;
  CHECK(box.isEmpty());
  CHECK_FALSE(box.hasExtent());
  for (const float x : kOddFloats) {
    for (const float y : kOddFloats) {
      for (const float z : kOddFloats) {
        if (box.contains(Point(x, y, z))) FAIL("contains", describe(Point(x, y, z)));
        if (box.strictlyContains(Point(x, y, z))) FAIL("strictly contains", describe(Point(x, y, z)));
      }
    }
  }
}

TEST_CASE("union with the default box changes nothing, from either side") {
  const std::uint32_t seed = 11;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 10000; ++i) {
    qzBBox box = properBox(random);
    if (!sameBits(box.bboxUnion(qzBBox()), box)) FAIL("box union default", describe(box));
    if (!sameBits(qzBBox().bboxUnion(box), box)) FAIL("default union box", describe(box));
  }
  // The first operand may hold any floats, empty and infinite boxes included.
  for (int i = 0; i < 10000; ++i) {
    const qzBBox box = anyBox(random);
    if (!sameBits(box.bboxUnion(qzBBox()), box)) FAIL("box union default", describe(box));
  }
}

TEST_CASE("a box of one point has it as min and max, is not empty and has no extent") {
  const Point p(1.0f, -2.0f, -0.0f);
  const qzBBox box(p);
  CHECK(sameBits(box.getMinPoint(), p));
  CHECK(sameBits(box.getMaxPoint(), p));
  CHECK_FALSE(box.isEmpty());
  CHECK_FALSE(box.hasExtent());
  CHECK(box.contains(p));
  CHECK_FALSE(box.strictlyContains(p));
}

TEST_CASE("Make stores both points unchanged, in any order") {
  const qzBBox box = qzBBox::Make(Point(3.0f, -0.0f, kNaN), Point(1.0f, 0.0f, -kInf));
  CHECK(sameBits(box.getMinPoint(), Point(3.0f, -0.0f, kNaN)));
  CHECK(sameBits(box.getMaxPoint(), Point(1.0f, 0.0f, -kInf)));
  CHECK(box.isEmpty());
  CHECK(sameBits(qzBBox::Make(3.0f, -0.0f, kNaN, 1.0f, 0.0f, -kInf), box));
}

TEST_CASE("Make with min above max on a single axis gives an empty box") {
  CHECK(qzBBox::Make(Point(2.0f, 0.0f, 0.0f), Point(1.0f, 1.0f, 1.0f)).isEmpty());
  CHECK(qzBBox::Make(Point(0.0f, 2.0f, 0.0f), Point(1.0f, 1.0f, 1.0f)).isEmpty());
  CHECK(qzBBox::Make(Point(0.0f, 0.0f, 2.0f), Point(1.0f, 1.0f, 1.0f)).isEmpty());
}

TEST_CASE("RobustMake makes the proper box of two opposite corners in any order") {
  const qzBBox expected = qzBBox::Make(0.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f);
  const float x[2] = {0.0f, 3.0f}, y[2] = {1.0f, 4.0f}, z[2] = {2.0f, 5.0f};
  for (int order = 0; order < 8; ++order) {
    const int i = order & 1, j = order >> 1 & 1, k = order >> 2;
    const Point a(x[i], y[j], z[k]), b(x[1 - i], y[1 - j], z[1 - k]);
    CHECK(sameBits(qzBBox::RobustMake(a, b), expected));
    CHECK(sameBits(qzBBox::RobustMake(a[0], a[1], a[2], b[0], b[1], b[2]), expected));
  }
}

TEST_CASE("RobustMake of swapped corners is the same box") {
  const std::uint32_t seed = 12;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 10000; ++i) {
    const Point a = random.point(-10.0f, 10.0f), b = random.point(-10.0f, 10.0f);
    if (!sameBits(qzBBox::RobustMake(a, b), qzBBox::RobustMake(b, a))) FAIL(describe(a), " and", describe(b));
  }
}

TEST_CASE("RobustMake keeps the first corner's value when the second is equal or NaN") {
  const qzBBox zeros = qzBBox::RobustMake(Point(0.0f, -0.0f, 1.0f), Point(-0.0f, 0.0f, kNaN));
  CHECK(sameBits(zeros.getMinPoint(), Point(0.0f, -0.0f, 1.0f)));
  CHECK(sameBits(zeros.getMaxPoint(), Point(0.0f, -0.0f, 1.0f)));
  const float first = floatFromBits(0x7FC0BEEFu);
  const qzBBox notANumber = qzBBox::RobustMake(Point(first, first, first), Point(1.0f, -kInf, kNaN));
  CHECK(sameBits(notANumber.getMinPoint(), Point(first, first, first)));
  CHECK(sameBits(notANumber.getMaxPoint(), Point(first, first, first)));
}

TEST_CASE("RobustMake of six floats takes the first three as the first corner") {
  for (const float a : kOddFloats) {
    for (const float b : kOddFloats) {
      const qzBBox expected = qzPlain::robustMake(Point(a, b, a), Point(b, a, 1.0f));
      if (!sameBits(qzBBox::RobustMake(a, b, a, b, a, 1.0f), expected)) FAIL(describe({a, b}));
    }
  }
}

TEST_CASE("the accessors read the stored points") {
  const qzBBox box = qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
  CHECK((box.xMin() == 1.0f && box.yMin() == 2.0f && box.zMin() == 3.0f));
  CHECK((box.xMax() == 4.0f && box.yMax() == 5.0f && box.zMax() == 6.0f));
  CHECK(sameBits(box.getMinPoint(), Point(1.0f, 2.0f, 3.0f)));
  CHECK(sameBits(box.getMaxPoint(), Point(4.0f, 5.0f, 6.0f)));
}

TEST_CASE("getMinPoint and getMaxPoint return references to the stored points") {
  qzBBox box = unitCube();
  const Point& min = box.getMinPoint();
  const Point& max = box.getMaxPoint();
  box.selfExpand(Point(-5.0f, 0.5f, 7.0f));
  CHECK(min[0] == -5.0f);
  CHECK(max[2] == 7.0f);
}

TEST_CASE("copying and moving copy the six floats, NaN bits included") {
  const qzBBox source =
      qzBBox::Make(floatFromBits(0xFFC00001u), -0.0f, kInf, floatFromBits(0x7FC12345u), 0x1p-149f, 1.0f);
  const qzBBox copy = source;
  CHECK(sameBits(copy, source));
  qzBBox assigned;
  assigned = source;
  CHECK(sameBits(assigned, source));
  qzBBox moved = std::move(assigned);
  CHECK(sameBits(moved, source));
  CHECK(sameBits(assigned, source));  // NOLINT: a moved-from box keeps its floats
  qzBBox moveAssigned;
  moveAssigned = std::move(moved);
  CHECK(sameBits(moveAssigned, source));
}
