#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

namespace {

bool meets(const Point& a, const Point& b, const qzBBox2D& box = unitSquare()) {
  return box.intersectSegment(a, b);
}

}  // namespace

TEST_CASE("a segment that ends in the square intersects it, one that ends before it does not") {
  CHECK(meets({-1.0f, 0.5f}, {0.5f, 0.5f}));         // from 2/3 to 4/3
  CHECK_FALSE(meets({-1.0f, 0.5f}, {-0.5f, 0.5f}));  // the box begins at 2
  CHECK(meets({-1.0f, 0.25f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({-1.0f, 0.25f}, {-0.5f, 0.5f}));
  CHECK(meets({0.25f, -1.0f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({0.25f, -1.0f}, {0.5f, -0.5f}));
}

TEST_CASE("a segment that ends on a side of the square intersects it") {
  CHECK(meets({-1.0f, 0.5f}, {0.0f, 0.5f}));  // begins at 1
  CHECK(meets({2.0f, 0.25f}, {1.0f, 0.5f}));
  CHECK(meets({0.25f, -1.0f}, {0.5f, 0.0f}));
  CHECK(meets({0.25f, 2.0f}, {0.5f, 1.0f}));
}

TEST_CASE("a segment that starts on a side and leads away intersects the square") {
  CHECK(meets({1.0f, 0.5f}, {2.0f, 0.75f}));  // ends at 0
  CHECK(meets({0.25f, 0.0f}, {0.5f, -1.0f}));
  CHECK_FALSE(meets({1.5f, 0.5f}, {2.0f, 0.75f}));  // ended before the start
}

TEST_CASE("a segment through or inside the square intersects it, in either direction") {
  CHECK(meets({-1.0f, -0.5f}, {2.0f, 1.5f}));
  CHECK(meets({2.0f, 1.5f}, {-1.0f, -0.5f}));
  CHECK(meets({0.25f, 0.25f}, {0.5f, 0.75f}));
}

TEST_CASE("a segment through a corner of the square intersects it, one past the corner does not") {
  CHECK(meets({-1.0f, 1.0f}, {1.0f, -1.0f}));
  CHECK_FALSE(meets({-1.0f, 0.75f}, {1.0f, -1.25f}));
}

TEST_CASE("along x at a height inside the square the x slab alone decides") {
  CHECK(meets({0.25f, 0.5f}, {0.75f, 0.5f}));
  CHECK(meets({-5.0f, 0.5f}, {5.0f, 0.5f}));
  CHECK(meets({5.0f, 0.5f}, {-5.0f, 0.5f}));
  CHECK_FALSE(meets({-5.0f, 0.5f}, {-2.0f, 0.5f}));
  CHECK_FALSE(meets({2.0f, 0.5f}, {5.0f, 0.5f}));
}

TEST_CASE("along x on the lower or upper side, or above it, the x slab alone decides") {
  for (const float y : {0.0f, 1.0f, 2.0f, 1e30f}) {
    INFO("y ", y);
    CHECK(meets({-1.0f, y}, {0.5f, y}));
    CHECK_FALSE(meets({-1.0f, y}, {-0.5f, y}));
  }
}

TEST_CASE("along x below the square a segment misses") {
  CHECK_FALSE(meets({-1.0f, -0.5f}, {0.5f, -0.5f}));
  CHECK_FALSE(meets({0.25f, -0x1p-149f}, {0.5f, -0x1p-149f}));
}

TEST_CASE("from y = +0 to y = -0 the sign of the reciprocal swaps below and above") {
  const qzBBox2D above = qzBBox2D::Make(0.0f, 1.0f, 1.0f, 2.0f), below = qzBBox2D::Make(0.0f, -2.0f, 1.0f, -1.0f);
  CHECK_FALSE(meets({-1.0f, 0.0f}, {0.5f, 0.0f}, above));
  CHECK(meets({-1.0f, 0.0f}, {0.5f, -0.0f}, above));
  CHECK(meets({-1.0f, 0.0f}, {0.5f, 0.0f}, below));
  CHECK_FALSE(meets({-1.0f, 0.0f}, {0.5f, -0.0f}, below));
}

TEST_CASE("a segment along y never intersects a box, because the far end of the x slab is NaN") {
  for (const float x : {-1.0f, 0.0f, 0.5f, 1.0f, 2.0f}) {
    INFO("x ", x);
    CHECK_FALSE(meets({x, -1.0f}, {x, 2.0f}));
    CHECK_FALSE(meets({x, 0.25f}, {x, 0.75f}));
  }
}

TEST_CASE("a segment of one point never intersects a box") {
  CHECK_FALSE(meets({0.5f, 0.5f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({0.0f, 0.0f}, {0.0f, 0.0f}));
}

TEST_CASE("the far end of a slab is the sum of both ends minus the near end, rounding included") {
  // On x from -1e8 to 1: 1 - 1e8 rounds to -1e8, so the far end is 0 instead of 1. On y from 0.5 to 1.
  const qzBBox2D box = qzBBox2D::Make(-1e8f, 0.5f, 1.0f, 1.0f);
  CHECK_FALSE(meets({0.0f, 0.0f}, {1.0f, 1.0f}, box));
  CHECK(meets({0.0f, 0.0f}, {1.0f, 1.0f}, qzBBox2D::Make(-1.0f, 0.5f, 1.0f, 1.0f)));
}

TEST_CASE("a slab is scaled by a reciprocal, which overflows for a denormal difference") {
  const qzBBox2D box = qzBBox2D::Make(0x1p-131f, 0.0f, 1.0f, 1.0f);
  CHECK_FALSE(meets({0.0f, 0.25f}, {0x1p-130f, 0.5f}, box));  // a quotient would be 0.5
  CHECK(meets({0.0f, 0.25f}, {0x1p-126f, 0.5f}, qzBBox2D::Make(0x1p-127f, 0.0f, 1.0f, 1.0f)));
}

TEST_CASE("a NaN x of an end point is a miss; with a NaN y the x slab alone decides") {
  CHECK_FALSE(meets({kNaN, 0.25f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({-1.0f, 0.25f}, {kNaN, 0.5f}));
  CHECK(meets({-1.0f, kNaN}, {0.5f, 0.5f}));
  CHECK(meets({-1.0f, 0.25f}, {0.5f, kNaN}));
  CHECK_FALSE(meets({-1.0f, kNaN}, {-0.5f, 0.5f}));
}

TEST_CASE("random segments agree with a test of 1001 points along each") {
  const std::uint32_t seed = 131;
  INFO("seed ", seed);
  Random random(seed);
  int nbMet = 0;
  for (int i = 0; i < 2000; ++i) {
    const Point a = pointBetween(random, -2.0f, 2.0f), b = pointBetween(random, -2.0f, 2.0f);
    bool near = false, inside = false;  // a point in a slightly larger square, in a slightly smaller one
    for (int step = 0; step <= 1000; ++step) {
      const float t = static_cast<float>(step) / 1000.0f;
      const Point p(a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1]));
      near = near || unitSquare().grow(0.01f).contains(p);
      inside = inside || unitSquare().grow(-0.001f).contains(p);
    }
    const bool met = meets(a, b);
    nbMet += met ? 1 : 0;
    if (inside && !met) FAIL("missed", describe(a), describe(b));
    if (met && !near) FAIL("met", describe(a), describe(b));
  }
  CHECK(nbMet > 200);
  CHECK(nbMet < 1800);
}
