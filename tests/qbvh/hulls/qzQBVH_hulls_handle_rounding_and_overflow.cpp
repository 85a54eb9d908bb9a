// Hull queries whose answer depends on the rounding of one operation, on an overflow or an underflow. The library's
// fast paths (corners by sign, the region box) must give the plain form's answer there.

#include <doctest/doctest.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr float kU = 0x1p-24f;

/// A hierarchy of two triangles, each in a leaf and a box of its own.
class TwoTriangles : public HullQBVH {
 public:
  TwoTriangles(const Point& a0, const Point& a1, const Point& a2, const Point& b0, const Point& b1, const Point& b2) {
    const std::vector<Point> corners = {a0, a1, a2, b0, b1, b2};
    std::vector<qzGNode> nodes(3);
    nodes[0].setNode(qzBBox::eAxisX, 1, 2, 0.0f);
    for (unsigned int triangle = 0; triangle < 2; ++triangle) {
      qzBBox box;
      for (unsigned int i = 0; i < 3; ++i) box.selfExpand(corners[3 * triangle + i]);
      nodes[1 + triangle].setLeaf(triangle, 1);
      nodes[1 + triangle].setBBox(box);
    }
    nodes[0].setBBox(nodes[1].getBBox().bboxUnion(nodes[2].getBBox()));
    qzGenericBVH bvh;
    bvh.editNodes() = nodes;
    bvh.editPrimitives() = {0, 1};
    buildFromBVH(eTrianglesVertices, bvh, meshOfCorners(corners));
  }
  TwoTriangles(const Point& a, const Point& b) : TwoTriangles(a, a, a, b, b, b) {}
};

/// The answer, after checking that the plain form gives the same.
bool meetsAsPlain(const HullQBVH& hierarchy, const Planes& planes) {
  INFO(describe(planes));
  const bool answer = meets(hierarchy, planes);
  CHECK(answer == qzPlain::intersectConvexHull(hierarchy.plain(), planes));
  return answer;
}

}  // namespace

TEST_CASE("a box strictly inside by rounding alone intersects, though its triangle lies on the plane") {
  // Of x + y + z + 1/2 at this point a box sums (y + x) + (z + d), which leaves u, a triangle ((z + d) + y) + x: zero.
  const Point p(-1.0f, kU, 0.5f), far(-3.0f, -3.0f, -3.0f);
  const TwoTriangles hierarchy(p, far);
  const Planes around = {Plane(1, 0, 0, 1.1f), Plane(-1, 0, 0, -0.9f), Plane(0, 1, 0, 0.1f), Plane(0, -1, 0, 0.1f),
                         Plane(-1, -1, -1, -0.4f)};
  for (std::size_t place = 0; place <= around.size(); ++place) {
    CAPTURE(place);
    Planes planes = around;
    planes.insert(planes.begin() + static_cast<std::ptrdiff_t>(place), Plane(1, 1, 1, 0.5f));
    CHECK(meetsAsPlain(hierarchy, planes));
    planes.push_back(Plane(0, 0, 1, 1));  // a region of seven planes has no region box
    CHECK(meetsAsPlain(hierarchy, planes));
  }
}

TEST_CASE("the triangles of a box that touches a plane from outside are tested, as rounding may put one inside") {
  // The reverse: the triangle's distance is u, the box's is zero.
  const Point p(1.0f, kU, -0.5f), far(-3.0f, -3.0f, -3.0f);
  const TwoTriangles hierarchy(p, far);
  Planes planes = {Plane(-1, 0, 0, 1.1f), Plane(1, 0, 0, -0.9f), Plane(0, 1, 0, 0.1f),
                   Plane(0, -1, 0, 0.1f), Plane(1, 1, 1, -0.5f), Plane(-1, -1, -1, 0.6f)};
  CHECK(meetsAsPlain(hierarchy, planes));
  planes.push_back(Plane(0, 0, -1, 1));
  CHECK(meetsAsPlain(hierarchy, planes));
}

TEST_CASE("a corner that clipping moves out of the triangle's box is found by a region beside that box") {
  // The first plane goes through the corner at (m, 0, 0), and cutting there computes -1 + (m + 1), which is above m by
  // nearly u. The largest coordinate in magnitude is that of the first corner, which is negative: it counts too.
  const float m = 0x1p-12f + kU + 0x1p-30f, beyond = m + 0.5f * kU, half = 0x1p-11f;
  REQUIRE(-1.0f + (m + 1.0f) > beyond);
  const Point far(-1.0f, -1.0f, -1.0f);
  const TwoTriangles hierarchy(Point(-1, 0x1p-13f, 0), Point(m, 0, 0), Point(-1, -1, 0), far, far, far);
  const Plane cutting(-1, 0, 0, m), above(0, 0, 1, half), below(0, 0, -1, half), wide(-1, 0, 0, half);
  // A region whose side touches the box, and one whose edge, between two planes that pass the box, lies beside it.
  const Planes side = {cutting, Plane(1, 0, 0, -m), Plane(0, 1, 0, half), Plane(0, -1, 0, half), above, below};
  const Planes edge = {cutting, Plane(1, 1, 0, -beyond), wide, Plane(1, -1, 0, -beyond), above, below};
  for (Planes planes : {side, edge}) {
    CHECK(meetsAsPlain(hierarchy, planes));
    planes[0] = wide;
    CHECK_FALSE(meetsAsPlain(hierarchy, planes));
  }
}

TEST_CASE("hull queries ignore the root box: the clipping margin comes from the boxes of the first node") {
  // As before, smaller.
  const float m = 0x1p-16f + kU + 0x1p-30f, beyond = m + 0.5f * kU, half = 0x1p-14f;
  REQUIRE(-1.0f + (m + 1.0f) > beyond);
  const Point far(-1.0f, -1.0f, -1.0f);
  TwoTriangles hierarchy(Point(-1, 0x1p-13f, 0), Point(m, 0, 0), Point(-1, -1, 0), far, far, far);
  const Planes planes = {Plane(-1, 0, 0, m),       Plane(1, 1, 0, -beyond), Plane(-1, 0, 0, half),
                         Plane(1, -1, 0, -beyond), Plane(0, 0, 1, half),    Plane(0, 0, -1, half)};
  const float r = 0x1p-11f;
  for (const qzBBox& box : {hierarchy.mRootBBox, qzBBox(), qzBBox::Make(-r, -r, -r, r, r, r),
                            qzBBox::Make(kNaN, kNaN, kNaN, kNaN, kNaN, kNaN)}) {
    hierarchy.mRootBBox = box;
    CHECK(meetsAsPlain(hierarchy, planes));
  }
}

TEST_CASE("a clipped corner that overflows to infinity is found by a region with no corner of the triangle inside") {
  const Point a(-2e38f, 0.0f, 0.0f), b(2e38f, 0.0f, 0.0f), c(-2e38f, 1.0f, 0.0f);
  HullQBVH hierarchy;
  hierarchy.build(meshOfCorners({a, b, c}), 4);
  const Plane cutting(0.1f, 0, 0, 0), beyond(1e-21f, 0, 0, -3e17f);
  CHECK(meetsAsPlain(hierarchy, {cutting, beyond}));
  CHECK_FALSE(meetsAsPlain(hierarchy, {beyond, cutting}));
}

TEST_CASE("a box outside one plane stays outside when the sums of the next one overflow") {
  // Padding at the origin lies inside both regions, so testing the leaf would give true.
  for (const float size : {1.0f, 1e20f}) {
    for (const float coefficient : {1.0f, 1e17f, 1e19f, 3e38f}) {
      CAPTURE(size);
      CAPTURE(coefficient);
      const Point a(size, 2.0f * size, size), b(2.0f * size, 3.0f * size, 2.0f * size);
      const TwoTriangles hierarchy(a, b);
      const Planes planes = {Plane(-1, 0, 0, 0.5f * size), Plane(coefficient, -coefficient, 0, 1)};
      CHECK_FALSE(meetsAsPlain(hierarchy, planes));
      CHECK(meetsAsPlain(hierarchy, {Plane(0, 0, 1, 1)}));
    }
  }
  // Here the boxes are large instead of the planes.
  const Point a(1e30f, 2e30f, 1e30f), b(2e30f, 3e30f, 2e30f);
  CHECK_FALSE(meetsAsPlain(TwoTriangles(a, b), {Plane(-1e-12f, 0, 0, 1e17f), Plane(1e17f, -1e17f, 0, 1)}));
}

TEST_CASE("a denormal point is found when its distances are rounded to the inside, though it is outside") {
  // 0.51 times the smallest number rounds up to it, so three such products sum to 3, above 2, where the exact sum is
  // 1.53. The exact region begins near (2, 1, 1).
  const float one = 0x1p-149f;
  const Point p(one, one, one), far(-40 * one, -40 * one, -40 * one);
  const TwoTriangles hierarchy(p, far);
  const Planes planes = {Plane(0.51f, 0.51f, 0.51f, -2 * one), Plane(-0.51f, -0.51f, -0.51f, 4 * one),
                         Plane(0, -1000, 0, 1001 * one),       Plane(0, 1000, 0, -999 * one),
                         Plane(0, 0, -1000, 1001 * one),       Plane(0, 0, 1000, -999 * one)};
  CHECK(meetsAsPlain(hierarchy, planes));
  for (std::size_t i = 0; i < planes.size(); ++i) {
    Planes tighter = planes;
    tighter[i][3] -= i == 1 ? 2 * one : one;
    CAPTURE(i);
    CHECK_FALSE(meetsAsPlain(hierarchy, tighter));
  }
}

TEST_CASE("almost coplanar normals do not displace the region by an overflow") {
  // In x and y the first planes of the three pairs leave a few steps around (large, 0); how far up they meet is beyond
  // all numbers, of which one term overflows and the others do not.
  const float large = 0x1p59f, step = 0x1p36f, width = 0x1p50f, up = 0x1p-71f, half = 0.5f, h = 0.875f;
  const Planes planes = {Plane(1, 0, up, -(large - 4.0f * step)),          Plane(-1, 0, -up, large + width),
                         Plane(-half, h, up, half * large + 4.0f * step),  Plane(half, -h, -up, -half * large + width),
                         Plane(-half, -h, up, half * large + 4.0f * step), Plane(half, h, -up, -half * large + width)};
  const Point inside(large, 0.0f, 0.0f), far(-large, -large, -large);
  for (const int sign : {1, -1}) {
    Planes turned = planes;
    for (Plane& plane : turned) plane[2] *= static_cast<float>(sign);
    CHECK(meetsAsPlain(TwoTriangles(inside, far), turned));
    CHECK_FALSE(meetsAsPlain(TwoTriangles(far, far), turned));
  }
}
