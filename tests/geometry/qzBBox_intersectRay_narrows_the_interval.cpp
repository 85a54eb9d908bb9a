#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

struct Outcome {
  bool hit;
  float tMin, tMax;
  bool operator==(const Outcome& o) const {
    return hit == o.hit && sameBitsOrNaN(tMin, o.tMin) && sameBitsOrNaN(tMax, o.tMax);
  }
};

Outcome shoot(const Point& origin, const Point& dir, float tMin = 0.0f, float tMax = 100.0f,
              const qzBBox& box = unitCube()) {
  const bool hit = box.intersectRay(origin, dir, tMin, tMax);
  return {hit, tMin, tMax};
}

}  // namespace

TEST_CASE("a hit writes entry and exit distance to the interval") {
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}) == Outcome{true, 1.0f, 2.0f});
  CHECK(shoot({0.5f, -1.0f, 0.5f}, {0.0f, 1.0f, 0.0f}) == Outcome{true, 1.0f, 2.0f});
  CHECK(shoot({0.5f, 0.5f, 2.0f}, {0.0f, 0.0f, -1.0f}) == Outcome{true, 1.0f, 2.0f});
}

TEST_CASE("distances are multiples of the direction") {
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {2.0f, 0.0f, 0.0f}) == Outcome{true, 0.5f, 1.0f});
}

TEST_CASE("a miss writes the narrowed interval") {
  // On x the origin lies beside the slab: t1 = 1 / 0 = inf and t2 = 2 / 0 = inf, so tMin is inf; on y, from -0.5 to
  // 0.5.
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {0.0f, 1.0f, 0.0f}) == Outcome{false, kInf, 0.5f});
}

TEST_CASE("all axes narrow the interval, also after one that decides a miss") {
  CHECK(shoot({-1.0f, -1.0f, -1.0f}, {0.0f, 1.0f, 2.0f}) == Outcome{false, kInf, 1.0f});
}

TEST_CASE("a box before or beyond the caller's interval is missed") {
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 0.0f, 0.5f) == Outcome{false, 1.0f, 0.5f});
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 3.0f, 100.0f) == Outcome{false, 3.0f, 2.0f});
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 1.25f, 1.5f) == Outcome{true, 1.25f, 1.5f});
}

TEST_CASE("an interval that only touches the box is a hit") {
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 0.0f, 1.0f) == Outcome{true, 1.0f, 1.0f});
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 2.0f, 100.0f) == Outcome{true, 2.0f, 2.0f});
}

TEST_CASE("touching an edge or a corner is a hit") {
  CHECK(shoot({-1.0f, 0.0f, 0.5f}, {1.0f, 1.0f, 0.0f}) == Outcome{true, 1.0f, 1.0f});
  CHECK(shoot({-1.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}) == Outcome{true, 1.0f, 1.0f});
}

TEST_CASE("from an origin in the box the entry distance is the lower bound") {
  CHECK(shoot({0.5f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}) == Outcome{true, 0.0f, 0.5f});
  CHECK(shoot({0.5f, 0.5f, 0.5f}, {-1.0f, 0.0f, 0.0f}, -100.0f) == Outcome{true, -0.5f, 0.5f});
}

TEST_CASE("a ray in the max face hits, a ray in the min face misses") {
  CHECK(shoot({1.0f, -1.0f, 0.5f}, {0.0f, 1.0f, 0.0f}) == Outcome{true, 1.0f, 2.0f});
  CHECK(shoot({0.0f, -1.0f, 0.5f}, {0.0f, 1.0f, 0.0f}) == Outcome{false, kInf, 2.0f});
}

TEST_CASE("the same on every axis and for either sign of the zero") {
  for (int axis = 0; axis < 3; ++axis) {
    for (const float zero : {0.0f, -0.0f}) {
      INFO("axis ", axis, " zero ", zero);
      const int along = (axis + 1) % 3;
      Point onMax(0.5f, 0.5f, 0.5f), onMin = onMax, dir(0.0f, 0.0f, 0.0f);
      onMax[along] = onMin[along] = -1.0f;
      onMax[axis] = 1.0f;
      onMin[axis] = 0.0f;
      dir[along] = 1.0f;
      dir[axis] = zero;
      // On the max plane 0 / 0 leaves the interval as it is. On the min plane near and far are both +inf for 0 and both
      // -inf for -0, which empties it.
      CHECK(shoot(onMax, dir) == Outcome{true, 1.0f, 2.0f});
      const bool positive = bitsOf(zero) == 0;
      CHECK(shoot(onMin, dir) == (positive ? Outcome{false, kInf, 2.0f} : Outcome{false, 1.0f, -kInf}));
    }
  }
}

TEST_CASE("a ray in the plane of a flat box: 0 / 0 twice leaves the interval as it is") {
  const qzBBox flat = qzBBox::Make(0.0f, 0.0f, 0.5f, 1.0f, 1.0f, 0.5f);
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 0.0f, 100.0f, flat) == Outcome{true, 1.0f, 2.0f});
}

TEST_CASE("a zero direction hits from inside and misses from outside") {
  CHECK(shoot({0.5f, 0.5f, 0.5f}, {0.0f, 0.0f, 0.0f}) == Outcome{true, 0.0f, 100.0f});
  CHECK(shoot({2.0f, 0.5f, 0.5f}, {0.0f, 0.0f, 0.0f}) == Outcome{false, 0.0f, -kInf});
}

TEST_CASE("a NaN end of the interval is kept, and the ray misses") {
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, kNaN, 100.0f) == Outcome{false, kNaN, 2.0f});
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, 0.0f, kNaN) == Outcome{false, 1.0f, kNaN});
}

TEST_CASE("a NaN component of direction or origin disables its slab") {
  CHECK(shoot({-1.0f, 0.5f, 0.5f}, {1.0f, kNaN, 0.0f}) == Outcome{true, 1.0f, 2.0f});
  CHECK(shoot({-1.0f, 0.5f, kNaN}, {1.0f, 0.0f, 0.0f}) == Outcome{true, 1.0f, 2.0f});
}

TEST_CASE("distances are quotients, not products with a reciprocal") {
  // 5 / 3 and 5 * (1 / 3) differ in the last bit.
  const float quotient = 5.0f / 3.0f, product = 5.0f * (1.0f / 3.0f);
  REQUIRE_FALSE(sameBits(quotient, product));
  const qzBBox box = qzBBox::Make(5.0f, -1.0f, -1.0f, 6.0f, 1.0f, 1.0f);
  CHECK(shoot({0.0f, 0.0f, 0.0f}, {3.0f, 0.0f, 0.0f}, 0.0f, 100.0f, box) == Outcome{true, quotient, 2.0f});
  // The reciprocal of a denormal overflows; the quotient does not.
  const qzBBox tiny = qzBBox::Make(0x1p-130f, -1.0f, -1.0f, 0x1p-129f, 1.0f, 1.0f);
  CHECK(shoot({0.0f, 0.0f, 0.0f}, {0x1p-130f, 0.0f, 0.0f}, 0.0f, 100.0f, tiny) == Outcome{true, 1.0f, 2.0f});
}

TEST_CASE("an entry or exit distance of zero keeps the sign of the caller's equal bound") {
  // near = 0 is not greater than tMin = -0, far = 0 not smaller than tMax = -0.
  const Outcome outcome = shoot({0.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, -0.0f);
  CHECK(bitsOf(outcome.tMin) == 0x80000000u);
  CHECK(bitsOf(shoot({1.0f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, -5.0f, -0.0f).tMax) == 0x80000000u);
}

TEST_CASE("the default box does not limit a ray: its slabs are -inf to inf") {
  CHECK(shoot({0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}, 0.0f, 100.0f, qzBBox()) == Outcome{true, 0.0f, 100.0f});
}
