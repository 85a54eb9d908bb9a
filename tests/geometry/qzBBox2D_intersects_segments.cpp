#include <doctest/doctest.h>

#include "support/qzTestBoxes2D.h"

using namespace qzTest;

namespace {

bool meets(const Point& a, const Point& b, const qzBBox2D& box = unitSquare()) {
  return box.intersectSegment(a, b);
}

}  // namespace

TEST_CASE("a segment into the square meets it, one that stops short does not") {
  CHECK(meets({-1.0f, 0.5f}, {0.5f, 0.5f}));         // from 2/3 to 4/3
  CHECK_FALSE(meets({-1.0f, 0.5f}, {-0.5f, 0.5f}));  // the box begins at 2
  CHECK(meets({-1.0f, 0.25f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({-1.0f, 0.25f}, {-0.5f, 0.5f}));
  CHECK(meets({0.25f, -1.0f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({0.25f, -1.0f}, {0.5f, -0.5f}));
}

TEST_CASE("a segment that ends on a side of the square meets it") {
  CHECK(meets({-1.0f, 0.5f}, {0.0f, 0.5f}));  // begins at 1
  CHECK(meets({2.0f, 0.25f}, {1.0f, 0.5f}));
  CHECK(meets({0.25f, -1.0f}, {0.5f, 0.0f}));
  CHECK(meets({0.25f, 2.0f}, {0.5f, 1.0f}));
}

TEST_CASE("a segment that starts on a side and leads away meets the square") {
  CHECK(meets({1.0f, 0.5f}, {2.0f, 0.75f}));  // ends at 0
  CHECK(meets({0.25f, 0.0f}, {0.5f, -1.0f}));
  CHECK_FALSE(meets({1.5f, 0.5f}, {2.0f, 0.75f}));  // ended before the start
}

TEST_CASE("a segment through the whole square or inside of it meets it, in either direction") {
  CHECK(meets({-1.0f, -0.5f}, {2.0f, 1.5f}));
  CHECK(meets({2.0f, 1.5f}, {-1.0f, -0.5f}));
  CHECK(meets({0.25f, 0.25f}, {0.5f, 0.75f}));
}

TEST_CASE("a segment through a corner of the square meets it, one past the corner does not") {
  CHECK(meets({-1.0f, 1.0f}, {1.0f, -1.0f}));
  CHECK_FALSE(meets({-1.0f, 0.75f}, {1.0f, -1.25f}));
}

TEST_CASE("a segment along x strictly inside the square's height is decided by the x slab alone") {
  CHECK(meets({0.25f, 0.5f}, {0.75f, 0.5f}));
  CHECK(meets({-5.0f, 0.5f}, {5.0f, 0.5f}));
  CHECK(meets({5.0f, 0.5f}, {-5.0f, 0.5f}));
  CHECK_FALSE(meets({-5.0f, 0.5f}, {-2.0f, 0.5f}));
  CHECK_FALSE(meets({2.0f, 0.5f}, {5.0f, 0.5f}));
}

TEST_CASE("a segment along x on the lower or upper side, or above, is decided by the x slab alone") {
  for (const float y : {0.0f, 1.0f, 2.0f, 1e30f}) {
    INFO("y ", y);
    CHECK(meets({-1.0f, y}, {0.5f, y}));
    CHECK_FALSE(meets({-1.0f, y}, {-0.5f, y}));
  }
}

TEST_CASE("a segment along x below the square misses it") {
  CHECK_FALSE(meets({-1.0f, -0.5f}, {0.5f, -0.5f}));
  CHECK_FALSE(meets({0.25f, -0x1p-149f}, {0.5f, -0x1p-149f}));
}

TEST_CASE("from y = +0 to y = -0 below and above change places") {
  const qzBBox2D above = qzBBox2D::Make(0.0f, 1.0f, 1.0f, 2.0f), below = qzBBox2D::Make(0.0f, -2.0f, 1.0f, -1.0f);
  CHECK_FALSE(meets({-1.0f, 0.0f}, {0.5f, 0.0f}, above));
  CHECK(meets({-1.0f, 0.0f}, {0.5f, -0.0f}, above));
  CHECK(meets({-1.0f, 0.0f}, {0.5f, 0.0f}, below));
  CHECK_FALSE(meets({-1.0f, 0.0f}, {0.5f, -0.0f}, below));
}

TEST_CASE("a segment along y never meets a box, for the far end of the x slab is not a number") {
  for (const float x : {-1.0f, 0.0f, 0.5f, 1.0f, 2.0f}) {
    INFO("x ", x);
    CHECK_FALSE(meets({x, -1.0f}, {x, 2.0f}));
    CHECK_FALSE(meets({x, 0.25f}, {x, 0.75f}));
  }
}

TEST_CASE("a segment of one point never meets a box") {
  CHECK_FALSE(meets({0.5f, 0.5f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({0.0f, 0.0f}, {0.0f, 0.0f}));
}

TEST_CASE("the far end of a slab is the sum of both ends less the near one, also where that rounds") {
  // On x from -1e8 to 1: 1 - 1e8 rounds to -1e8, so the far end is 0 instead of 1. On y from 0.5 to 1.
  const qzBBox2D box = qzBBox2D::Make(-1e8f, 0.5f, 1.0f, 1.0f);
  CHECK_FALSE(meets({0.0f, 0.0f}, {1.0f, 1.0f}, box));
  CHECK(meets({0.0f, 0.0f}, {1.0f, 1.0f}, qzBBox2D::Make(-1.0f, 0.5f, 1.0f, 1.0f)));
}

TEST_CASE("a slab is multiplied with one reciprocal, which overflows for a denormal difference") {
  const qzBBox2D box = qzBBox2D::Make(0x1p-131f, 0.0f, 1.0f, 1.0f);
  CHECK_FALSE(meets({0.0f, 0.25f}, {0x1p-130f, 0.5f}, box));  // a quotient would be 0.5
  CHECK(meets({0.0f, 0.25f}, {0x1p-126f, 0.5f}, qzBBox2D::Make(0x1p-127f, 0.0f, 1.0f, 1.0f)));
}

TEST_CASE("a NaN x of an end point is a miss, a NaN y leaves the x slab to decide") {
  CHECK_FALSE(meets({kNaN, 0.25f}, {0.5f, 0.5f}));
  CHECK_FALSE(meets({-1.0f, 0.25f}, {kNaN, 0.5f}));
  CHECK(meets({-1.0f, kNaN}, {0.5f, 0.5f}));
  CHECK(meets({-1.0f, 0.25f}, {0.5f, kNaN}));
  CHECK_FALSE(meets({-1.0f, kNaN}, {-0.5f, 0.5f}));
}

TEST_CASE("a segment between the square's corners' heights agrees with cutting it finely") {
  const std::uint32_t seed = 131;
  INFO("seed ", seed);
  Random random(seed);
  int nbMet = 0;
  for (int i = 0; i < 2000; ++i) {
    const Point a = pointBetween(random, -2.0f, 2.0f), b = pointBetween(random, -2.0f, 2.0f);
    bool near = false, inside = false;  // points of the segment in a slightly larger and a slightly smaller square
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
