#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "plain/qzPlainTriangleOverlap.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

using Triangle = std::array<Point, 3>;

// The plain form tells which axis separates, so that a case can say which one it tests.
int separatingAxis(const Triangle& t) {
  return qzPlain::firstSeparatingAxis(unitCube(), t[0], t[1], t[2]);
}
bool overlapsCube(const Triangle& t) {
  return unitCube().overlapsTriangle(t[0], t[1], t[2]);
}

Triangle permuted(const Triangle& t, int a, int b, int c) {
  return {Point(t[0][a], t[0][b], t[0][c]), Point(t[1][a], t[1][b], t[1][c]), Point(t[2][a], t[2][b], t[2][c])};
}

// Checks a triangle against the cube in all orders of axes and corners, which change nothing.
void checkEveryWay(const Triangle& t, bool overlaps) {
  int axes[3] = {0, 1, 2};
  do {
    Triangle way = permuted(t, axes[0], axes[1], axes[2]);
    int corners[3] = {0, 1, 2};
    do {
      const Triangle turned = {way[static_cast<std::size_t>(corners[0])], way[static_cast<std::size_t>(corners[1])],
                               way[static_cast<std::size_t>(corners[2])]};
      INFO("corners", describe(turned[0]), " /", describe(turned[1]), " /", describe(turned[2]));
      CHECK(overlapsCube(turned) == overlaps);
    } while (std::next_permutation(corners, corners + 3));
  } while (std::next_permutation(axes, axes + 3));
}

// In double precision, by another algorithm: the triangle clipped by the six faces has a corner left.
bool hasCommonPoint(const qzBBox& box, const Triangle& t) {
  struct Vector {
    double x[3];
  };
  std::vector<Vector> polygon;
  for (const Point& p : t) polygon.push_back({{p[0], p[1], p[2]}});
  for (int axis = 0; axis < 3; ++axis) {
    for (const double side : {1.0, -1.0}) {
      const double bound = side > 0.0 ? box.getMaxPoint()[axis] : box.getMinPoint()[axis];
      const auto inside = [&](const Vector& v) { return side * (bound - v.x[axis]); };
      std::vector<Vector> clipped;
      for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Vector &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        const double da = inside(a), db = inside(b);
        if (da >= 0.0) clipped.push_back(a);
        if ((da < 0.0) == (db < 0.0)) continue;
        const double s = da / (da - db);
        clipped.push_back(
            {{a.x[0] + s * (b.x[0] - a.x[0]), a.x[1] + s * (b.x[1] - a.x[1]), a.x[2] + s * (b.x[2] - a.x[2])}});
      }
      polygon = clipped;
    }
  }
  return !polygon.empty();
}

}  // namespace

TEST_CASE("a triangle inside the box overlaps it") {
  checkEveryWay({Point(0.25f, 0.25f, 0.25f), Point(0.75f, 0.25f, 0.5f), Point(0.25f, 0.75f, 0.75f)}, true);
}

TEST_CASE("a triangle outside that touches a face with one corner overlaps the box") {
  checkEveryWay({Point(1.0f, 0.5f, 0.5f), Point(2.0f, 0.25f, 0.5f), Point(2.0f, 0.75f, 0.75f)}, true);
  checkEveryWay({Point(0.0f, 0.5f, 0.5f), Point(-2.0f, 0.25f, 0.5f), Point(-2.0f, 0.75f, 0.75f)}, true);
  checkEveryWay({Point(0x1.000002p0f, 0.5f, 0.5f), Point(2.0f, 0.25f, 0.5f), Point(2.0f, 0.75f, 0.75f)}, false);
}

TEST_CASE("a triangle that touches an edge or a corner of the box overlaps it") {
  checkEveryWay({Point(1.0f, 1.0f, 0.5f), Point(2.0f, 1.0f, 0.5f), Point(1.0f, 2.0f, 0.5f)}, true);
  checkEveryWay({Point(2.0f, 0.0f, 0.5f), Point(0.0f, 2.0f, 0.5f), Point(2.0f, 2.0f, 0.5f)}, true);
  checkEveryWay({Point(1.0f, 1.0f, 1.0f), Point(2.0f, 1.0f, 1.0f), Point(1.0f, 2.0f, 3.0f)}, true);
}

TEST_CASE("a triangle in the plane of a face overlaps the box") {
  checkEveryWay({Point(0.25f, 0.25f, 1.0f), Point(0.75f, 0.25f, 1.0f), Point(0.25f, 0.75f, 1.0f)}, true);
  checkEveryWay({Point(-9.0f, -9.0f, 1.0f), Point(9.0f, -9.0f, 1.0f), Point(0.0f, 9.0f, 1.0f)}, true);
}

TEST_CASE("a large triangle above the box that covers it in x and y does not overlap it") {
  const Triangle above = {Point(-10.0f, -10.0f, 2.0f), Point(20.0f, -10.0f, 2.0f), Point(-10.0f, 20.0f, 2.0f)};
  CHECK(separatingAxis(above) == 2);  // z separates as well, but the edge axes come first
  checkEveryWay(above, false);
  checkEveryWay({Point(-10.0f, -10.0f, -1.0f), Point(20.0f, -10.0f, -1.0f), Point(-10.0f, 20.0f, -1.0f)}, false);
}

TEST_CASE("a large triangle through the middle overlaps the box with no corner in it") {
  checkEveryWay({Point(-10.0f, -10.0f, 0.5f), Point(20.0f, -10.0f, 0.5f), Point(-10.0f, 20.0f, 0.5f)}, true);
  checkEveryWay({Point(-10.0f, -10.0f, 21.5f), Point(21.5f, -10.0f, -10.0f), Point(-10.0f, 21.5f, -10.0f)}, true);
}

TEST_CASE("a triangle past an edge of the box is separated by an edge axis alone") {
  // The line x + y = 2.5 passes the edge at (1, 1); the triangle reaches beyond the cube on every axis.
  const Triangle past = {Point(3.0f, -0.5f, -1.0f), Point(-0.5f, 3.0f, -1.0f), Point(1.25f, 1.25f, 3.0f)};
  CHECK(separatingAxis(past) >= 1);
  CHECK(separatingAxis(past) <= 9);
  checkEveryWay(past, false);
  checkEveryWay({Point(2.5f, -0.5f, -1.0f), Point(-0.5f, 2.5f, -1.0f), Point(1.0f, 1.0f, 3.0f)}, true);
}

TEST_CASE("a triangle past a corner of the box is separated by its plane alone") {
  // x + y + z = 3.25, around (1, 1, 1): every edge axis and box axis overlaps.
  const Triangle corner = {Point(13.0f, -4.875f, -4.875f), Point(-4.875f, 13.0f, -4.875f),
                           Point(-4.875f, -4.875f, 13.0f)};
  CHECK(separatingAxis(corner) == 13);
  checkEveryWay(corner, false);
  const Triangle touching = {Point(13.0f, -5.0f, -5.0f), Point(-5.0f, 13.0f, -5.0f), Point(-5.0f, -5.0f, 13.0f)};
  checkEveryWay(touching, true);
}

TEST_CASE("each of the thirteen axes is the first to separate some triangle, and the library agrees on all") {
  const std::uint32_t seed = 1;
  Random random(seed);
  INFO("seed ", seed);
  int nbSeparated[14] = {};
  for (int i = 0; i < 200000; ++i) {
    const float reach = i % 2 == 0 ? 1.5f : 4.0f;
    const Triangle t = {random.point(-reach, 1.0f + reach), random.point(-reach, 1.0f + reach),
                        random.point(-reach, 1.0f + reach)};
    const int axis = separatingAxis(t);
    ++nbSeparated[axis];
    REQUIRE(overlapsCube(t) == (axis == 0));
  }
  for (int axis = 0; axis <= 13; ++axis) {
    INFO("axis ", axis);
    CHECK(nbSeparated[axis] > 0);
  }
}

TEST_CASE("a triangle of three equal corners overlaps the box when the point lies in it") {
  const auto point = [](float x, float y, float z) { return Triangle{Point(x, y, z), Point(x, y, z), Point(x, y, z)}; };
  checkEveryWay(point(0.5f, 0.25f, 0.75f), true);
  checkEveryWay(point(1.0f, 0.25f, 0.75f), true);
  checkEveryWay(point(1.0f, 0.0f, 1.0f), true);
  checkEveryWay(point(1.5f, 0.25f, 0.75f), false);
  CHECK(separatingAxis(point(1.5f, 0.25f, 0.75f)) == 10);
  CHECK(separatingAxis(point(0.5f, -0.25f, 0.75f)) == 11);
  CHECK(separatingAxis(point(0.5f, 0.25f, 1.5f)) == 12);
}

TEST_CASE("a triangle of collinear corners is tested as a segment") {
  checkEveryWay({Point(-1.0f, 0.5f, 0.5f), Point(0.5f, 0.5f, 0.5f), Point(3.0f, 0.5f, 0.5f)}, true);
  checkEveryWay({Point(-1.0f, -1.0f, 0.5f), Point(0.0f, 0.0f, 0.5f), Point(3.0f, 3.0f, 0.5f)}, true);
  checkEveryWay({Point(3.0f, 0.0f, 0.5f), Point(1.5f, 1.5f, 0.5f), Point(0.0f, 3.0f, 0.5f)}, false);
  checkEveryWay({Point(-1.0f, 2.0f, 0.5f), Point(0.5f, 2.0f, 0.5f), Point(3.0f, 2.0f, 0.5f)}, false);
}

TEST_CASE("a box of one point or without thickness is tested like others") {
  const Triangle t = {Point(0.0f, 0.0f, 0.0f), Point(4.0f, 0.0f, 0.0f), Point(0.0f, 4.0f, 0.0f)};
  CHECK(qzBBox(Point(1.0f, 1.0f, 0.0f)).overlapsTriangle(t[0], t[1], t[2]));
  CHECK(qzBBox(Point(2.0f, 2.0f, 0.0f)).overlapsTriangle(t[0], t[1], t[2]));
  CHECK_FALSE(qzBBox(Point(1.0f, 1.0f, 0.5f)).overlapsTriangle(t[0], t[1], t[2]));
  CHECK_FALSE(qzBBox(Point(2.0f, 2.25f, 0.0f)).overlapsTriangle(t[0], t[1], t[2]));
  CHECK(qzBBox::Make(1.0f, 1.0f, -1.0f, 1.0f, 1.0f, 1.0f).overlapsTriangle(t[0], t[1], t[2]));
}

TEST_CASE("any floats get the answer of the plain form") {
  const std::uint32_t seed = 2;
  Random random(seed);
  int nbOverlaps = 0;
  for (int i = 0; i < 300000; ++i) {
    const qzBBox box = i % 3 == 0 ? anyBox(random) : i % 3 == 1 ? properBox(random) : unitCube();
    Triangle t;
    for (Point& p : t) p = random.below(3) == 0 ? anyPoint(random) : random.point(-2.0f, 2.0f);
    if (random.below(8) == 0) t[2] = t[random.below(2)];
    const bool overlaps = box.overlapsTriangle(t[0], t[1], t[2]);
    nbOverlaps += overlaps;
    INFO("round ", i, ", seed ", seed, describe(box), describe(t[0]), describe(t[1]), describe(t[2]));
    REQUIRE(overlaps == (qzPlain::firstSeparatingAxis(box, t[0], t[1], t[2]) == 0));
  }
  CHECK(nbOverlaps > 10000);
  CHECK(nbOverlaps < 290000);
}

TEST_CASE("sizes at either end of the float range get the answer of the plain form") {
  // Sums of two coordinates overflow, products do sooner; or everything underflows.
  const std::uint32_t seed = 6;
  Random random(seed);
  for (const float scale : {0x1p126f, 0x1p64f, 0x1p62f, 0x1p-74f, 0x1p-126f, 0x1p-147f}) {
    int nbOverlaps = 0;
    for (int i = 0; i < 20000; ++i) {
      const auto point = [&] {
        const Point p = random.point(-2.0f, 2.0f);
        return Point(p[0] * scale, p[1] * scale, p[2] * scale);
      };
      const Point a = point(), b = point();
      const qzBBox box = qzBBox::RobustMake(a, b);
      const Triangle t = {point(), point(), point()};
      const bool overlaps = box.overlapsTriangle(t[0], t[1], t[2]);
      nbOverlaps += overlaps;
      INFO("round ", i, ", seed ", seed, describe(box), describe(t[0]), describe(t[1]), describe(t[2]));
      REQUIRE(overlaps == (qzPlain::firstSeparatingAxis(box, t[0], t[1], t[2]) == 0));
    }
    INFO("scale ", scale);
    if (scale > 1.0f) {
      CHECK(nbOverlaps == 0);  // the products of the plane test overflow, and no triangle is reported
    } else {
      CHECK(nbOverlaps > 500);
      CHECK(nbOverlaps < 19500);
    }
  }
}

TEST_CASE("a NaN coordinate, of a corner or of the box, is no overlap") {
  const Triangle inside = {Point(0.25f, 0.25f, 0.25f), Point(0.75f, 0.25f, 0.5f), Point(0.25f, 0.75f, 0.75f)};
  for (std::size_t corner = 0; corner < 3; ++corner) {
    for (int axis = 0; axis < 3; ++axis) {
      Triangle t = inside;
      t[corner][axis] = kNaN;
      CHECK_FALSE(overlapsCube(t));
    }
  }
  for (int axis = 0; axis < 3; ++axis) {
    Point min = unitCube().getMinPoint(), max = unitCube().getMaxPoint();
    min[axis] = kNaN;
    CHECK_FALSE(qzBBox::Make(min, max).overlapsTriangle(inside[0], inside[1], inside[2]));
    min[axis] = 0.0f;
    max[axis] = kNaN;
    CHECK_FALSE(qzBBox::Make(min, max).overlapsTriangle(inside[0], inside[1], inside[2]));
  }
}

TEST_CASE("triangles and boxes with corners on a coarse grid get the answer of the plain form and of exact clipping") {
  // Touching is common, so every comparison meets its equal case.
  const std::uint32_t seed = 3;
  Random random(seed);
  int nbOverlaps = 0;
  const auto gridPoint = [&] {
    const auto coordinate = [&] { return 0.5f * static_cast<float>(random.below(7)) - 1.0f; };
    const float x = coordinate(), y = coordinate(), z = coordinate();
    return Point(x, y, z);
  };
  for (int i = 0; i < 300000; ++i) {
    const Point a = gridPoint(), b = gridPoint();
    const qzBBox box = qzBBox::RobustMake(a, b);
    const Triangle t = {gridPoint(), gridPoint(), gridPoint()};
    const bool overlaps = box.overlapsTriangle(t[0], t[1], t[2]);
    nbOverlaps += overlaps;
    INFO("round ", i, ", seed ", seed, describe(box), describe(t[0]), describe(t[1]), describe(t[2]));
    REQUIRE(overlaps == (qzPlain::firstSeparatingAxis(box, t[0], t[1], t[2]) == 0));
    // On this grid nothing is rounded, so the answer is exact; disjoint shapes are farther apart than 1e-4.
    REQUIRE(overlaps == hasCommonPoint(box.grow(1e-4f), t));
  }
  CHECK(nbOverlaps > 1000);
}

TEST_CASE("the answer is that of clipping in double precision, except within rounding of touching") {
  const std::uint32_t seed = 4;
  Random random(seed);
  int nbOverlaps = 0;
  for (int i = 0; i < 200000; ++i) {
    const qzBBox box = properBox(random);
    const Triangle t = {random.point(-3.0f, 3.0f), random.point(-3.0f, 3.0f), random.point(-3.0f, 3.0f)};
    const bool overlaps = box.overlapsTriangle(t[0], t[1], t[2]);
    INFO("round ", i, ", seed ", seed, describe(box), describe(t[0]), describe(t[1]), describe(t[2]));
    nbOverlaps += overlaps;
    // Slightly larger and smaller boxes bracket the exact answer.
    if (overlaps) REQUIRE(hasCommonPoint(box.grow(1e-4f), t));
    if (!overlaps) REQUIRE_FALSE(hasCommonPoint(box.grow(-1e-4f), t));
  }
  CHECK(nbOverlaps > 10000);
  CHECK(nbOverlaps < 190000);
}

TEST_CASE("the caller's float mode does not change the triangle test and is kept") {
  const std::uint32_t seed = 5;
  Random random(seed);
  for (int i = 0; i < 20000; ++i) {
    // Half of the sizes are near the smallest floats, where flushing would show.
    const float scale = i % 2 == 0 ? 0x1p-75f : 1.0f;
    const auto point = [&] {
      const Point p = random.point(-2.0f, 2.0f);
      return Point(p[0] * scale, p[1] * scale, p[2] * scale);
    };
    const Point a = point(), b = point(), t0 = point(), t1 = point(), t2 = point();
    const qzBBox box = qzBBox::RobustMake(a, b);
    const bool expected = box.overlapsTriangle(t0, t1, t2);
    bool answer, isKept;
    {
      const CallersFloatMode mode(CallersFloatMode::kModes[random.below(CallersFloatMode::kNbModes)]);
      answer = box.overlapsTriangle(t0, t1, t2);
      isKept = mode.isKept();
    }
    INFO("round ", i, ", seed ", seed);
    REQUIRE(answer == expected);
    REQUIRE(isKept);
  }
}
