#include <doctest/doctest.h>

#include <type_traits>
#include <utility>

#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

TEST_CASE("a 2D box is four floats, min before max, x before y") {
  CHECK(sizeof(qzBBox2D) == 4 * sizeof(float));
  const qzBBox2D box = qzBBox2D::Make(1.0f, 2.0f, 3.0f, 4.0f);
  float inMemory[4];
  std::memcpy(inMemory, &box, sizeof inMemory);
  for (int i = 0; i < 4; ++i) CHECK(inMemory[i] == static_cast<float>(i + 1));
}

TEST_CASE("a 2D box is trivially copyable, of standard layout and not polymorphic") {
  CHECK(std::is_trivially_copyable_v<qzBBox2D>);
  CHECK(std::is_standard_layout_v<qzBBox2D>);
  CHECK_FALSE(std::is_polymorphic_v<qzBBox2D>);
}

TEST_CASE("the default 2D box has min +inf and max -inf on both axes") {
  const qzBBox2D box;
  for (int c = 0; c < 2; ++c) {
    CHECK(bitsOf(box.getMinPoint()[c]) == 0x7F800000u);
    CHECK(bitsOf(box.getMaxPoint()[c]) == 0xFF800000u);
  }
}

TEST_CASE("the default 2D box is empty, has no extent, contains no point and intersects no segment") {
  const qzBBox2D box;
  CHECK(box.isEmpty());
  CHECK_FALSE(box.hasExtent());
  for (const float x : kOddFloats) {
    for (const float y : kOddFloats) {
      const Point p(x, y);
      if (box.contains(p)) FAIL("contains", describe(p));
      if (box.strictlyContains(p)) FAIL("strictly contains", describe(p));
      if (box.intersectSegment(p, Point(1.0f, 2.0f))) FAIL("met from", describe(p));
    }
  }
}

TEST_CASE("union with the default 2D box changes nothing, from either side") {
  const std::uint32_t seed = 111;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 10000; ++i) {
    const qzBBox2D proper = properBox(random), any = anyBox(random);
    if (!sameBits(proper.bboxUnion(qzBBox2D()), proper)) FAIL("box union default", describe(proper));
    if (!sameBits(qzBBox2D().bboxUnion(proper), proper)) FAIL("default union box", describe(proper));
    // The first operand may hold any floats.
    if (!sameBits(any.bboxUnion(qzBBox2D()), any)) FAIL("box union default", describe(any));
  }
}

TEST_CASE("a 2D box of one point has it as min and max, is not empty and has no extent") {
  const Point p(1.0f, -0.0f);
  const qzBBox2D box(p);
  CHECK(sameBits(box.getMinPoint(), p));
  CHECK(sameBits(box.getMaxPoint(), p));
  CHECK_FALSE(box.isEmpty());
  CHECK_FALSE(box.hasExtent());
  CHECK(box.contains(p));
  CHECK_FALSE(box.strictlyContains(p));
}

TEST_CASE("Make in 2D stores both points unchanged, in any order") {
  const qzBBox2D box = qzBBox2D::Make(Point(3.0f, kNaN), Point(-0.0f, -kInf));
  CHECK(sameBits(box.getMinPoint(), Point(3.0f, kNaN)));
  CHECK(sameBits(box.getMaxPoint(), Point(-0.0f, -kInf)));
  CHECK(box.isEmpty());
  CHECK(sameBits(qzBBox2D::Make(3.0f, kNaN, -0.0f, -kInf), box));
}

TEST_CASE("Make in 2D with min above max on a single axis gives an empty box") {
  CHECK(qzBBox2D::Make(Point(2.0f, 0.0f), Point(1.0f, 1.0f)).isEmpty());
  CHECK(qzBBox2D::Make(Point(0.0f, 2.0f), Point(1.0f, 1.0f)).isEmpty());
}

TEST_CASE("RobustMake in 2D makes the proper box of two opposite corners in any order") {
  const qzBBox2D expected = qzBBox2D::Make(0.0f, 1.0f, 3.0f, 4.0f);
  CHECK(sameBits(qzBBox2D::RobustMake(Point(0.0f, 1.0f), Point(3.0f, 4.0f)), expected));
  CHECK(sameBits(qzBBox2D::RobustMake(Point(3.0f, 4.0f), Point(0.0f, 1.0f)), expected));
  CHECK(sameBits(qzBBox2D::RobustMake(Point(3.0f, 1.0f), Point(0.0f, 4.0f)), expected));
  CHECK(sameBits(qzBBox2D::RobustMake(0.0f, 4.0f, 3.0f, 1.0f), expected));
}

TEST_CASE("RobustMake in 2D keeps the first corner's value when the second is equal or NaN") {
  const float first = floatFromBits(0x7FC0BEEFu);
  const qzBBox2D box = qzBBox2D::RobustMake(Point(-0.0f, first), Point(0.0f, 1.0f));
  CHECK(sameBits(box.getMinPoint(), Point(-0.0f, first)));
  CHECK(sameBits(box.getMaxPoint(), Point(-0.0f, first)));
  CHECK(sameBits(qzBBox2D::RobustMake(2.0f, 3.0f, kNaN, kNaN), qzBBox2D(Point(2.0f, 3.0f))));
}

TEST_CASE("the accessors of a 2D box return references to the stored points") {
  qzBBox2D box = qzBBox2D::Make(1.0f, 2.0f, 3.0f, 4.0f);
  CHECK((box.xMin() == 1.0f && box.yMin() == 2.0f && box.xMax() == 3.0f && box.yMax() == 4.0f));
  const Point& min = box.getMinPoint();
  const Point& max = box.getMaxPoint();
  box.selfExpand(Point(-5.0f, 7.0f));
  CHECK(min[0] == -5.0f);
  CHECK(max[1] == 7.0f);
}

TEST_CASE("copying and moving a 2D box copy the four floats, NaN bits included") {
  const qzBBox2D source = qzBBox2D::Make(floatFromBits(0xFFC00001u), -0.0f, kInf, 0x1p-149f);
  qzBBox2D copy = source, assigned;
  assigned = copy;
  CHECK(sameBits(assigned, source));
  qzBBox2D moved = std::move(copy);
  assigned = std::move(moved);
  CHECK(sameBits(assigned, source));
  CHECK(sameBits(copy, source));  // NOLINT: a moved-from box keeps its floats
}
