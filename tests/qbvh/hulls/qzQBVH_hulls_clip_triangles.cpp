// The leaf test of the hull query, on hierarchies without a node, so that no box is tested.

#include <doctest/doctest.h>

#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

const Point kOrigin(0.0f, 0.0f, 0.0f);
const Planes kUnitCube = insideOf(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f));

/// Whether one triangle intersects the region; checks that the answer is the same in every lane.
bool triangleMeets(const Point& a, const Point& b, const Point& c, const Planes& planes) {
  int nbYes = 0;
  for (int lane = 0; lane < 4; ++lane) {
    HullQBVH hierarchy;
    hierarchy.allocateEmpty(0, 1);
    for (int j = 0; j < 4; ++j) {
      const Point none(kNaN, 0.0f, 0.0f);
      hierarchy.setTriangle(0, j, j == lane ? a : none, j == lane ? b : none, j == lane ? c : none);
    }
    nbYes += meets(hierarchy, planes) ? 1 : 0;
  }
  CHECK((nbYes == 0 || nbYes == 4));
  return nbYes != 0;
}

/// The mesh of the triangle (3, -1, -1), (-1, 3, -1), (-1, -1, 3), count times: the origin lies in its box and away
/// from its plane x + y + z = 1.
qz::qzTriMesh besideOrigin(int count) {
  std::vector<Point> corners;
  for (int i = 0; i < count; ++i) {
    corners.insert(corners.end(), {Point(3.0f, -1.0f, -1.0f), Point(-1.0f, 3.0f, -1.0f), Point(-1.0f, -1.0f, 3.0f)});
  }
  return meshOfCorners(corners);
}

}  // namespace

TEST_CASE("a triangle inside the region intersects it, one beside it does not") {
  CHECK(triangleMeets(Point(0.2f, 0.2f, 0.2f), Point(0.8f, 0.2f, 0.2f), Point(0.2f, 0.8f, 0.2f), kUnitCube));
  CHECK_FALSE(triangleMeets(Point(1.2f, 0.2f, 0.2f), Point(1.8f, 0.2f, 0.2f), Point(1.2f, 0.8f, 0.2f), kUnitCube));
}

TEST_CASE("a triangle that passes through the region intersects it, even with all vertices outside") {
  CHECK(triangleMeets(Point(-5.0f, -5.0f, 0.5f), Point(5.0f, -5.0f, 0.5f), Point(0.5f, 9.0f, 0.5f), kUnitCube));
  // A triangle with only a corner inside, and one with only part of an edge inside.
  CHECK(triangleMeets(Point(0.9f, 0.5f, 0.5f), Point(5.0f, 0.0f, 0.5f), Point(5.0f, 1.0f, 0.5f), kUnitCube));
  CHECK(triangleMeets(Point(-1.0f, 0.9f, 0.5f), Point(2.0f, 0.9f, 0.5f), Point(0.5f, 5.0f, 0.5f), kUnitCube));
}

TEST_CASE("a triangle beside an edge of the region does not intersect it, though no single plane rejects it") {
  CHECK_FALSE(triangleMeets(Point(2.5f, 0.0f, 0.5f), Point(0.0f, 2.5f, 0.5f), Point(2.5f, 2.5f, 0.5f), kUnitCube));
  CHECK(triangleMeets(Point(1.9f, 0.0f, 0.5f), Point(0.0f, 1.9f, 0.5f), Point(2.5f, 2.5f, 0.5f), kUnitCube));
}

TEST_CASE("a triangle that only touches a plane with a vertex, an edge or its face does not intersect") {
  const Planes positive = {Plane(1.0f, 0.0f, 0.0f, 0.0f)};
  const float t = 0x1p-149f;
  CHECK_FALSE(triangleMeets(Point(0, 0, 0), Point(-1, 1, 0), Point(-1, 0, 1), positive));
  CHECK(triangleMeets(Point(t, 0, 0), Point(-1, 1, 0), Point(-1, 0, 1), positive));
  CHECK_FALSE(triangleMeets(Point(0, 0, 0), Point(-0.0f, 1, 0), Point(-1, 0, 1), positive));
  CHECK(triangleMeets(Point(0, 0, 0), Point(t, 1, 0), Point(-1, 0, 1), positive));
  CHECK_FALSE(triangleMeets(Point(0, 0, 0), Point(0, 1, 0), Point(0, 0, 1), positive));
  // On the face of the cube, and just behind it.
  CHECK_FALSE(triangleMeets(Point(0.2f, 0.2f, 1), Point(0.8f, 0.2f, 1), Point(0.2f, 0.8f, 1), kUnitCube));
  const float z = 0x1.fffffep-1f;
  CHECK(triangleMeets(Point(0.2f, 0.2f, z), Point(0.8f, 0.2f, z), Point(0.2f, 0.8f, z), kUnitCube));
}

TEST_CASE("a triangle whose clipped part only touches the next plane does not intersect") {
  // What is left below x = 1 is the part with x <= 1, which touches y = 1 in (1, 1).
  const Point a(0.0f, 2.0f, 0.5f), b(2.0f, 0.0f, 0.5f), c(2.0f, 2.0f, 0.5f);
  CHECK_FALSE(triangleMeets(a, b, c, kUnitCube));
  CHECK(triangleMeets(a, Point(2.0f, -0.25f, 0.5f), c, kUnitCube));
}

TEST_CASE("triangles that are points or segments intersect like others") {
  const Point p(0.5f, 0.5f, 0.5f), q(5.0f, 0.5f, 0.5f), r(5.0f, 5.0f, 0.5f);
  CHECK(triangleMeets(p, p, p, kUnitCube));
  CHECK(triangleMeets(p, q, q, kUnitCube));
  CHECK_FALSE(triangleMeets(q, q, r, kUnitCube));
}

TEST_CASE("distances are summed ((z + d) + y) + x") {
  // 2^24 + 1 loses the 1; a point is inside if the 1 is not lost.
  const auto isInside = [](const Point& p, float d) { return triangleMeets(p, p, p, {Plane(1.0f, 1.0f, 1.0f, d)}); };
  CHECK(isInside(Point(1.0f, 0.0f, 0x1p24f), -0x1p24f));
  CHECK(isInside(Point(0.0f, 1.0f, 0x1p24f), -0x1p24f));
  CHECK(isInside(Point(1.0f, -0x1p24f, 0.0f), 0x1p24f));
  CHECK_FALSE(isInside(Point(-0x1p24f, 1.0f, 0.0f), 0x1p24f));
  CHECK_FALSE(isInside(Point(-0x1p24f, 0.0f, 1.0f), 0x1p24f));
  CHECK_FALSE(isInside(Point(0.0f, -0x1p24f, 1.0f), 0x1p24f));
}

TEST_CASE("a vertex at a NaN distance is outside, and so are the crossings of its two edges") {
  const Point n(kNaN, 0.5f, 0.5f), p(0.5f, 0.5f, 0.5f), q(0.6f, 0.5f, 0.5f);
  CHECK_FALSE(triangleMeets(n, n, n, {Plane(1.0f, 0.0f, 0.0f, 5.0f)}));
  // The crossings toward it are NaN too, but the other two vertices stay.
  CHECK(triangleMeets(n, p, q, kUnitCube));
  CHECK(triangleMeets(n, p, Point(5.0f, 0.5f, 0.5f), kUnitCube));
  CHECK_FALSE(triangleMeets(n, Point(5.0f, 0.5f, 0.5f), Point(5.0f, 0.6f, 0.5f), kUnitCube));
}

TEST_CASE("a lane whose polygon is empty stays empty while other lanes are clipped") {
  // The first plane empties lanes 0 and 2, the second lane 1, the third lane 3; the fourth accepts all.
  HullQBVH hierarchy;
  hierarchy.allocateEmpty(0, 1);
  for (int lane = 0; lane < 4; ++lane) {
    const float x = lane % 2 == 0 ? -1.0f : 1.0f, y = lane == 1 ? -1.0f : 1.0f;
    hierarchy.setTriangle(0, lane, Point(x, y, -1.0f), Point(x + 0.5f, y, -1.0f), Point(x, y + 0.5f, -1.0f));
  }
  const Planes planes = {Plane(1, 0, 0, 0), Plane(0, 1, 0, 0), Plane(0, 0, 1, 0), Plane(0, 0, 0, 1)};
  CHECK_FALSE(meets(hierarchy, planes));
  CHECK(meets(hierarchy, {planes[0], planes[1], planes[3]}));
  CHECK_FALSE(meets(hierarchy, {planes[2], planes[3]}));
}

TEST_CASE("padding lanes are tested: a region around the origin intersects a leaf that is not full") {
  const Planes aroundOrigin = cubeAround(kOrigin, 0.1f), beside = cubeAround(Point(0.15f, 0.0f, 0.0f), 0.1f);
  for (int count = 1; count <= 8; ++count) {
    CAPTURE(count);
    HullQBVH hierarchy;
    hierarchy.build(besideOrigin(count), 1000);
    REQUIRE(hierarchy.getNoNodes() == 0);
    CHECK(meets(hierarchy, aroundOrigin) == (count % 4 != 0));
    CHECK_FALSE(meets(hierarchy, beside));
    // A plane through the origin leaves the padding lanes outside.
    Planes throughOrigin = aroundOrigin;
    throughOrigin.emplace_back(1.0f, 1.0f, -1.0f, 0.0f);
    CHECK_FALSE(meets(hierarchy, throughOrigin));
  }
}

TEST_CASE("padding lanes count only in a leaf whose box the region intersects") {
  // Two leaves of one triangle each: the box of the first is around the origin, the other far from it.
  const Point far(40.0f, 40.0f, 40.0f), farther(41.0f, 42.0f, 43.0f);
  HullQBVH hierarchy;
  hierarchy.allocateEmpty(1, 2);
  hierarchy.setLane(0, 0, qzBBox::Make(-1.0f, -1.0f, -1.0f, 3.0f, 3.0f, 3.0f), 0, 1);
  hierarchy.setLane(0, 2, qzBBox::RobustMake(far, farther), 1, 1);
  hierarchy.setTriangle(0, 0, Point(3.0f, -1.0f, -1.0f), Point(-1.0f, 3.0f, -1.0f), Point(-1.0f, -1.0f, 3.0f));
  hierarchy.setTriangle(1, 0, far, farther, farther);
  CHECK(meets(hierarchy, cubeAround(kOrigin, 0.1f)));

  for (int lane = 0; lane < 4; ++lane) hierarchy.setTriangle(0, lane, far, far, far);
  CHECK_FALSE(meets(hierarchy, cubeAround(kOrigin, 0.1f)));
}

TEST_CASE("hull queries do not depend on the caller's float mode, which is kept") {
  // p is inside by so little that flushing denormals to zero would put it outside.
  const float tiny = 0x1p-140f;
  const Point p(tiny, 0.0f, 0.0f), q(1.0f + 0x1p-23f, 0.0f, 0.0f);
  HullQBVH small, close;
  small.allocateEmpty(0, 1);
  close.allocateEmpty(0, 1);
  for (int lane = 0; lane < 4; ++lane) {
    small.setTriangle(0, lane, p, p, p);
    close.setTriangle(0, lane, q, q, q);
  }
  // q.x * (1 + 2^-23) is 1 + 2^-22 + 2^-46: the last term is lost, unless rounding goes upward.
  const Planes positive = {Plane(1.0f, 0.0f, 0.0f, 0.0f)};
  const Planes rounded = {Plane(1.0f + 0x1p-23f, 0.0f, 0.0f, -(1.0f + 0x1p-22f))};
  const PlaneSet positiveSet(positive), roundedSet(rounded);
  CHECK(positiveSet.meets(small));
  CHECK_FALSE(roundedSet.meets(close));

  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    bool smallAnswer, closeAnswer, isKept;
    {
      const CallersFloatMode callers(mode);
      smallAnswer = positiveSet.meets(small);
      closeAnswer = roundedSet.meets(close);
      isKept = callers.isKept();
    }
    INFO("mode ", static_cast<unsigned int>(mode));
    CHECK(smallAnswer);
    CHECK_FALSE(closeAnswer);
    CHECK(isKept);
  }
}
