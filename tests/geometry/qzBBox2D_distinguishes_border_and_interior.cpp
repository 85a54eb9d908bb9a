#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

TEST_CASE("points on a side or corner of a 2D box are contained, but not strictly") {
  for (const Point& p : {Point(0.0f, 0.5f), Point(1.0f, 0.5f), Point(0.5f, 0.0f), Point(0.5f, 1.0f), Point(0.0f, 0.0f),
                         Point(1.0f, 1.0f), Point(-0.0f, 0.5f)}) {
    INFO(describe(p));
    CHECK(unitSquare().contains(p));
    CHECK_FALSE(unitSquare().strictlyContains(p));
  }
  CHECK(unitSquare().contains(Point(0.5f, 0.5f)));
  CHECK(unitSquare().strictlyContains(Point(0.5f, 0.5f)));
}

TEST_CASE("a point outside any one side of a 2D box is not contained") {
  for (const Point& p : {Point(-0x1p-149f, 0.5f), Point(1.0000001f, 0.5f), Point(0.5f, -0x1p-149f),
                         Point(0.5f, 1.0000001f), Point(kInf, 0.5f), Point(0.5f, -kInf)}) {
    INFO(describe(p));
    CHECK_FALSE(unitSquare().contains(p));
    CHECK_FALSE(unitSquare().strictlyContains(p));
  }
}

TEST_CASE("a NaN point is never contained; a 2D box with a NaN contains nothing and overlaps nothing") {
  CHECK_FALSE(unitSquare().contains(Point(kNaN, 0.5f)));
  CHECK_FALSE(unitSquare().contains(Point(0.5f, kNaN)));
  for (int i = 0; i < 4; ++i) {
    float c[4] = {0.0f, 0.0f, 1.0f, 1.0f};
    c[i] = kNaN;
    const qzBBox2D box = qzBBox2D::Make(c[0], c[1], c[2], c[3]);
    CHECK_FALSE(box.contains(Point(0.5f, 0.5f)));
    CHECK_FALSE(box.strictlyContains(Point(0.5f, 0.5f)));
    CHECK_FALSE(box.overlaps(unitSquare()));
    CHECK_FALSE(unitSquare().overlaps(box));
    CHECK_FALSE(box.strictlyOverlaps(unitSquare()));
    CHECK_FALSE(unitSquare().strictlyOverlaps(box));
    CHECK_FALSE(box.isEmpty());
    CHECK_FALSE(box.hasExtent());
  }
}

TEST_CASE("2D boxes that share only a side or corner overlap, but not strictly") {
  for (const qzBBox2D& o : {qzBBox2D::Make(1.0f, 0.0f, 2.0f, 1.0f), qzBBox2D::Make(-1.0f, 0.0f, 0.0f, 1.0f),
                            qzBBox2D::Make(0.0f, 1.0f, 1.0f, 2.0f), qzBBox2D::Make(0.0f, -1.0f, 1.0f, 0.0f),
                            qzBBox2D::Make(1.0f, 1.0f, 2.0f, 2.0f)}) {
    INFO(describe(o));
    CHECK(unitSquare().overlaps(o));
    CHECK(o.overlaps(unitSquare()));
    CHECK_FALSE(unitSquare().strictlyOverlaps(o));
    CHECK_FALSE(o.strictlyOverlaps(unitSquare()));
  }
  const qzBBox2D crossing = qzBBox2D::Make(0.5f, -1.0f, 0.75f, 2.0f);
  CHECK(unitSquare().overlaps(crossing));
  CHECK(unitSquare().strictlyOverlaps(crossing));
  CHECK(unitSquare().strictlyOverlaps(unitSquare()));
}

TEST_CASE("2D boxes that are disjoint on one axis do not overlap") {
  for (const qzBBox2D& o : {qzBBox2D::Make(1.5f, 0.0f, 2.0f, 1.0f), qzBBox2D::Make(-2.0f, 0.0f, -0.5f, 1.0f),
                            qzBBox2D::Make(0.0f, 1.5f, 1.0f, 2.0f), qzBBox2D::Make(0.0f, -2.0f, 1.0f, -0.5f)}) {
    INFO(describe(o));
    CHECK_FALSE(unitSquare().overlaps(o));
    CHECK_FALSE(unitSquare().strictlyOverlaps(o));
  }
}

TEST_CASE("a flat 2D box has no extent, but is not empty") {
  const qzBBox2D flat = qzBBox2D::Make(0.0f, 0.5f, 1.0f, 0.5f);
  CHECK_FALSE(flat.hasExtent());
  CHECK_FALSE(flat.isEmpty());
  CHECK(unitSquare().hasExtent());
  CHECK_FALSE(qzBBox2D::Make(0.0f, 0.0f, 0.0f, 1.0f).hasExtent());
}
