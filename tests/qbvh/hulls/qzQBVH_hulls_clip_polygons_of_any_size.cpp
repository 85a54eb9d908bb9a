// Clipped polygons of many corners: more than exact clipping can give, and more than a query stores without allocating.

#include <doctest/doctest.h>

#include "support/qzHeapWatch.h"
#include "support/qzVectors.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

const Point kNowhere(kNaN, kNaN, kNaN);

/// One quadruplet with one triangle, the other lanes outside every region.
class OneTriangle : public HullQBVH {
 public:
  OneTriangle(const Point& a, const Point& b, const Point& c) {
    allocateEmpty(0, 1);
    setTriangle(0, 0, a, b, c);
    for (int lane = 1; lane < 4; ++lane) setTriangle(0, lane, kNowhere, kNowhere, kNowhere);
  }
  qzPlain::tClipping startClipping() const { return qzPlain::tClipping(plain().mVertices.data()); }
};

unsigned int mostCorners(const OneTriangle& triangle, const Planes& planes) {
  qzPlain::tClipping clipping = triangle.startClipping();
  unsigned int most = clipping.maxCount();
  for (const Plane& plane : planes) {
    clipping.clip(plane);
    if (clipping.maxCount() > most) most = clipping.maxCount();
  }
  return most;
}

}  // namespace

TEST_CASE("polygons with more than planes + 3 corners, an effect of rounding, equal the plain form") {
  int nbLonger = 0, nbYes = 0, nbNo = 0;
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    INFO("seed " << seed);
    Random random(seed);
    // A triangle whose corners are a few float steps apart, and planes near it whose distances are as coarse. Of
    // several candidates, the one that leaves most corners.
    const float step = 0.0625f;
    const Point center(1.0e6f, 1.1e6f, 0.9e6f);
    Point corners[3];
    for (Point& corner : corners) {
      const Point offset = random.point(-2.0f * step, 2.0f * step);
      for (int axis = 0; axis < 3; ++axis) corner[axis] = center[axis] + offset[axis];
    }
    const OneTriangle triangle(corners[0], corners[1], corners[2]);
    const qzPlain::tQBVH plain = triangle.plain();
    qzPlain::tClipping clipping = triangle.startClipping();
    Planes planes;
    while (planes.size() < 12) {
      Planes best;
      qzPlain::tClipping bestClipping = clipping;
      unsigned int most = 0;
      for (int i = 0; i < 60; ++i) {
        const Point normal = anyDirection(random);
        const Plane plane(normal[0], normal[1], normal[2],
                          -dot(normal, center) + random.between(-4.0f * step, 4.0f * step));
        Planes longer = planes;
        longer.push_back(plane);
        qzPlain::tClipping next = clipping;
        next.clip(plane);
        const bool expected = qzPlain::intersectConvexHull(plain, longer);
        CHECK(meets(triangle, longer) == expected);
        ++(expected ? nbYes : nbNo);
        if (next.maxCount() > most) {
          most = next.maxCount();
          best = longer;
          bestClipping = next;
        }
      }
      if (most == 0) break;
      planes = best;
      clipping = bestClipping;
      if (most > planes.size() + 3) ++nbLonger;
    }
  }
  CHECK(nbLonger > 10);
  CHECK(nbYes > 1000);
  CHECK(nbNo > 1000);
}

TEST_CASE("polygons of any number of corners are clipped as in the plain form") {
  const OneTriangle triangle(Point(-9.0f, -9.0f, 0.0f), Point(9.0f, -9.0f, 0.0f), Point(0.0f, 9.0f, 0.0f));
  const qzPlain::tQBVH plain = triangle.plain();
  for (const unsigned int count : {8u, 20u, 60u, 61u, 62u, 63u, 64u, 65u, 66u, 127u, 128u, 129u, 130u, 400u}) {
    CAPTURE(count);
    const Planes circle = aroundCircle(count);
    CHECK(mostCorners(triangle, circle) >= count);
    CHECK(meets(triangle, circle));
    CHECK(qzPlain::intersectConvexHull(plain, circle));
    // One more plane, which leaves a cap, a single corner or nothing.
    Random random(count);
    int nbYes = 0;
    for (int i = 0; i < 40; ++i) {
      const Point normal = anyDirection(random);
      Planes more = circle;
      more.emplace_back(normal[0], normal[1], normal[2], -random.between(0.0f, 1.2f));
      const bool answer = meets(triangle, more);
      CHECK(answer == qzPlain::intersectConvexHull(plain, more));
      nbYes += answer ? 1 : 0;
    }
    CHECK(nbYes > 5);
    CHECK(nbYes < 35);
  }
}

TEST_CASE("a polygon of many corners to which an almost coplanar plane adds more is clipped as in the plain form") {
  // First planes around the polygon, then planes along it: the distances of the corners from the triangle's plane are
  // rounding errors of either sign, in no order. The number of corners that a query stores without allocating lies in
  // the middle of these counts.
  const Point a(-9.1f, -9.3f, -4.1f), b(9.7f, -9.2f, 2.7f), c(0.3f, 9.6f, 1.3f);
  const OneTriangle triangle(a, b, c);
  const qzPlain::tQBVH plain = triangle.plain();
  const Point n = cross(minus(b, a), minus(c, a));
  const Plane coplanar(n[0], n[1], n[2], -dot(n, a));
  Random random(53);
  int nbLonger = 0, nbYes = 0, nbNo = 0;
  for (unsigned int count = 2 * 52; count <= 2 * 72; ++count) {
    CAPTURE(count);
    // Every other time one more plane comes first, which swaps the two scratch arrays once more.
    Planes planes(count % 2, Plane(-1.0f, 0.0f, 0.0f, 5.0f));
    for (const Plane& plane : aroundCircle(count / 2)) planes.push_back(plane);
    qzPlain::tClipping polygon = triangle.startClipping();
    for (const Plane& plane : planes) polygon.clip(plane);
    // Of many planes along the polygon, the one that leaves most corners.
    Plane best = coplanar;
    unsigned int most = 0;
    for (int i = 0; i < 2000; ++i) {
      const float sign = i % 2 == 0 ? 1.0f : -1.0f;
      const Plane plane(sign * coplanar[0], sign * coplanar[1], sign * coplanar[2],
                        sign * coplanar[3] + random.between(-2e-4f, 2e-4f));
      qzPlain::tClipping clipping = polygon;
      clipping.clip(plane);
      if (clipping.maxCount() <= most) continue;
      most = clipping.maxCount();
      best = plane;
    }
    if (most > polygon.maxCount() + 1) ++nbLonger;
    planes.push_back(best);
    for (int i = 0; i < 50; ++i) {
      const Point normal = anyDirection(random);
      Planes more = planes;
      more.emplace_back(normal[0], normal[1], normal[2], random.between(-1.2f, 0.3f));
      const bool answer = meets(triangle, more);
      CHECK(answer == qzPlain::intersectConvexHull(plain, more));
      ++(answer ? nbYes : nbNo);
    }
  }
  CHECK(nbLonger > 20);
  CHECK(nbYes > 200);
  CHECK(nbNo > 200);
}

TEST_CASE("hull queries allocate only for polygons of more than about 60 corners") {
  const OneTriangle triangle(Point(-9.0f, -9.0f, 0.0f), Point(9.0f, -9.0f, 0.0f), Point(0.0f, 9.0f, 0.0f));
  for (const unsigned int count : {6u, 32u, 60u, 100u, 300u}) {
    CAPTURE(count);
    const Planes circle = aroundCircle(count);
    const unsigned int corners = mostCorners(triangle, circle);
    const PlaneSet set(circle);
    bool answer;
    std::size_t nbAllocations;
    {
      const HeapWatch watch;
      answer = set.meets(triangle);
      nbAllocations = watch.nbAllocations();
    }
    CHECK(answer);
    CHECK((nbAllocations == 0) == (corners <= 64));
  }
  // Hundreds of planes without a polygon of many corners do not allocate either.
  const PlaneSet same(Planes(500, Plane(1.0f, 0.0f, 0.0f, 0.5f)));
  const HeapWatch watch;
  CHECK(same.meets(triangle));
  CHECK(watch.nbAllocations() == 0);
}

TEST_CASE("hull queries with ordinary regions do not allocate") {
  const qz::qzTriMesh mesh = terrainMesh(30, 51);
  HullQBVH hierarchy;
  hierarchy.build(mesh, 4);
  Random random(52);
  int nbYes = 0;
  std::size_t nbAllocations = 0;
  for (int i = 0; i < 1000; ++i) {
    const PlaneSet set(ordinaryPlanes(mesh, random));
    const HeapWatch watch;
    nbYes += set.meets(hierarchy) ? 1 : 0;
    nbAllocations += watch.nbAllocations();
  }
  CHECK(nbAllocations == 0);
  CHECK(nbYes > 250);
  CHECK(nbYes < 750);
}
