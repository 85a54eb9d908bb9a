#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

/// The point with coordinate v on one axis and 0.5 on the others.
Point middleBut(int axis, float v) {
  Point p(0.5f, 0.5f, 0.5f);
  p[axis] = v;
  return p;
}

/// The unit cube moved by v along one axis.
qzBBox cubeMoved(int axis, float v) {
  Point min(0.0f, 0.0f, 0.0f), max(1.0f, 1.0f, 1.0f);
  min[axis] += v;
  max[axis] += v;
  return qzBBox::Make(min, max);
}

}  // namespace

TEST_CASE("a point on a face is contained, but not strictly") {
  for (int axis = 0; axis < 3; ++axis) {
    for (const float face : {0.0f, 1.0f}) {
      INFO("axis ", axis, " at ", face);
      CHECK(unitCube().contains(middleBut(axis, face)));
      CHECK_FALSE(unitCube().strictlyContains(middleBut(axis, face)));
    }
  }
  CHECK(unitCube().contains(Point(0.0f, 0.0f, 0.0f)));
  CHECK(unitCube().contains(Point(1.0f, 1.0f, 1.0f)));
}

TEST_CASE("the next float inside a face is strictly contained, the next one outside is not contained") {
  const float belowOne = 0x1.fffffep-1f, aboveOne = 0x1.000002p0f, least = 0x1p-149f;
  for (int axis = 0; axis < 3; ++axis) {
    INFO("axis ", axis);
    CHECK(unitCube().strictlyContains(middleBut(axis, belowOne)));
    CHECK(unitCube().strictlyContains(middleBut(axis, least)));
    CHECK_FALSE(unitCube().contains(middleBut(axis, aboveOne)));
    CHECK_FALSE(unitCube().contains(middleBut(axis, -least)));
  }
}

TEST_CASE("a NaN coordinate is never contained") {
  for (int axis = 0; axis < 3; ++axis) {
    INFO("axis ", axis);
    CHECK_FALSE(unitCube().contains(middleBut(axis, kNaN)));
    CHECK_FALSE(unitCube().strictlyContains(middleBut(axis, kNaN)));
  }
}

TEST_CASE("0 and -0 lie on the same face") {
  CHECK(unitCube().contains(Point(-0.0f, -0.0f, -0.0f)));
  CHECK_FALSE(unitCube().strictlyContains(Point(-0.0f, 0.5f, 0.5f)));
}

TEST_CASE("a box contains itself and smaller ones, but none that reaches beyond a side") {
  CHECK(unitCube().contains(unitCube()));
  CHECK(unitCube().contains(unitCube().grow(-0.25f)));
  CHECK_FALSE(unitCube().contains(unitCube().grow(0.25f)));
  for (int axis = 0; axis < 3; ++axis) {
    for (const float step : {-0.25f, 0.25f}) {
      INFO("axis ", axis, " step ", step);
      CHECK_FALSE(unitCube().contains(cubeMoved(axis, step)));
    }
  }
}

TEST_CASE("whether a box contains an empty one depends on the corners alone") {
  CHECK(unitCube().contains(qzBBox::Make(0.75f, 0.75f, 0.75f, 0.25f, 0.25f, 0.25f)));
  CHECK(unitCube().contains(qzBBox()));
  CHECK_FALSE(qzBBox().contains(unitCube()));
}

TEST_CASE("a box with a NaN contains nothing, overlaps nothing and is not contained") {
  for (int corner = 0; corner < 6; ++corner) {
    float c[6] = {0.25f, 0.25f, 0.25f, 0.75f, 0.75f, 0.75f};
    c[corner] = kNaN;
    const qzBBox box = qzBBox::Make(c[0], c[1], c[2], c[3], c[4], c[5]);
    INFO("coordinate ", corner);
    CHECK_FALSE(unitCube().contains(box));
    CHECK_FALSE(box.contains(qzBBox(Point(0.5f, 0.5f, 0.5f))));
    CHECK_FALSE(unitCube().overlaps(box));
    CHECK_FALSE(box.overlaps(unitCube()));
    CHECK_FALSE(unitCube().strictlyOverlaps(box));
    CHECK_FALSE(box.strictlyOverlaps(unitCube()));
  }
}

TEST_CASE("boxes that share only a face overlap, but not strictly") {
  for (int axis = 0; axis < 3; ++axis) {
    for (const float step : {-1.0f, 1.0f}) {
      INFO("axis ", axis, " step ", step);
      CHECK(unitCube().overlaps(cubeMoved(axis, step)));
      CHECK_FALSE(unitCube().strictlyOverlaps(cubeMoved(axis, step)));
    }
  }
}

TEST_CASE("boxes that share an edge or a corner overlap, but not strictly") {
  const qzBBox edge = qzBBox::Make(1.0f, 1.0f, 0.0f, 2.0f, 2.0f, 1.0f);
  const qzBBox corner = qzBBox::Make(1.0f, 1.0f, 1.0f, 2.0f, 2.0f, 2.0f);
  CHECK((unitCube().overlaps(edge) && unitCube().overlaps(corner)));
  CHECK_FALSE(unitCube().strictlyOverlaps(edge));
  CHECK_FALSE(unitCube().strictlyOverlaps(corner));
}

TEST_CASE("boxes that share some volume overlap strictly, disjoint boxes do not overlap") {
  for (int axis = 0; axis < 3; ++axis) {
    for (const float sign : {-1.0f, 1.0f}) {
      INFO("axis ", axis, " sign ", sign);
      CHECK(unitCube().overlaps(cubeMoved(axis, sign * 0.5f)));
      CHECK(unitCube().strictlyOverlaps(cubeMoved(axis, sign * 0.5f)));
      CHECK_FALSE(unitCube().overlaps(cubeMoved(axis, sign * 1.5f)));
      CHECK_FALSE(unitCube().strictlyOverlaps(cubeMoved(axis, sign * 1.5f)));
    }
  }
}

TEST_CASE("the default box overlaps no box, itself included") {
  CHECK_FALSE(qzBBox().overlaps(qzBBox()));
  CHECK_FALSE(qzBBox().overlaps(unitCube()));
  CHECK_FALSE(unitCube().overlaps(qzBBox()));
}

TEST_CASE("a box is empty when min exceeds max on any one axis") {
  CHECK_FALSE(unitCube().isEmpty());
  CHECK(boxOfExtents(-1.0f, 1.0f, 1.0f).isEmpty());
  CHECK(boxOfExtents(1.0f, -1.0f, 1.0f).isEmpty());
  CHECK(boxOfExtents(1.0f, 1.0f, -1.0f).isEmpty());
  CHECK_FALSE(boxOfExtents(0.0f, 0.0f, 0.0f).isEmpty());
  CHECK_FALSE(boxOfExtents(-0.0f, -0.0f, -0.0f).isEmpty());
}

TEST_CASE("a box has extent when max exceeds min on every axis; a flat box does not") {
  CHECK(unitCube().hasExtent());
  CHECK_FALSE(boxOfExtents(0.0f, 1.0f, 1.0f).hasExtent());
  CHECK_FALSE(boxOfExtents(1.0f, 0.0f, 1.0f).hasExtent());
  CHECK_FALSE(boxOfExtents(1.0f, 1.0f, 0.0f).hasExtent());
  CHECK(boxOfExtents(0x1p-149f, 0x1p-149f, 0x1p-149f).hasExtent());
}

TEST_CASE("a NaN box is not empty and has no extent") {
  const qzBBox box(Point(kNaN, kNaN, kNaN));
  CHECK_FALSE(box.isEmpty());
  CHECK_FALSE(box.hasExtent());
}
