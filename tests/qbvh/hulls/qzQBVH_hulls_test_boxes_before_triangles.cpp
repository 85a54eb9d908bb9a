// The node test of the hull query, on hierarchies written by hand whose boxes and triangles need not agree.

#include <doctest/doctest.h>

#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

const Point kOrigin(0.0f, 0.0f, 0.0f), kNowhere(kNaN, kNaN, kNaN);
const qzBBox kUnitBox = qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f);

/// One node whose given lane is a leaf of one quadruplet in this box; all of its triangles are the same point.
class OneLeaf : public HullQBVH {
 public:
  OneLeaf(const qzBBox& box, const Point& triangles, int lane = 0) {
    allocateEmpty(1, 1);
    setLane(0, lane, box, 0, 1);
    for (int j = 0; j < 4; ++j) setTriangle(0, j, triangles, triangles, triangles);
  }
};

Planes operator+(const Planes& a, const Planes& b) {
  Planes planes = a;
  planes.insert(planes.end(), b.begin(), b.end());
  return planes;
}

}  // namespace

TEST_CASE("a region around a whole child box intersects without a test of its triangles") {
  for (int lane = 0; lane < 4; ++lane) {
    CHECK(meets(OneLeaf(kUnitBox, kNowhere, lane), cubeAround(kOrigin, 1.5f)));
    CHECK(meets(OneLeaf(kUnitBox, Point(9.0f, 9.0f, 9.0f), lane), cubeAround(kOrigin, 1.5f)));
  }
  // The same for an inner child, whose index is never used.
  HullQBVH inner;
  inner.allocateEmpty(1, 0);
  inner.setLane(0, 2, kUnitBox, 12345, HullQBVH::kInner);
  CHECK(meets(inner, cubeAround(kOrigin, 1.5f)));
}

TEST_CASE("a box that touches a plane from inside is not strictly inside, so the triangles decide") {
  CHECK_FALSE(meets(OneLeaf(kUnitBox, kNowhere), cubeAround(kOrigin, 1.0f)));
  CHECK(meets(OneLeaf(kUnitBox, Point(0.5f, 0.5f, 0.5f)), cubeAround(kOrigin, 1.0f)));
  CHECK(meets(OneLeaf(kUnitBox, kNowhere), cubeAround(kOrigin, 0x1.000002p0f)));
}

TEST_CASE("a box wholly outside one plane skips its triangles, a box that touches the plane does not") {
  const Planes below = {Plane(-1.0f, 0.0f, 0.0f, -0x1p-24f)}, touching = {Plane(-1.0f, 0.0f, 0.0f, 0.0f)};
  const Point inside(-5.0f, 0.5f, 0.5f);
  CHECK_FALSE(meets(OneLeaf(kUnitBox, inside), below));
  CHECK(meets(OneLeaf(kUnitBox, inside), touching));
  CHECK_FALSE(meets(OneLeaf(kUnitBox, inside), touching + below));
  CHECK_FALSE(meets(OneLeaf(kUnitBox, inside), below + touching));
}

TEST_CASE("the triangles of a box that no plane rejects are tested, even if the box is beside the region") {
  // The region lies in x + y < 2 near the corner (1, 1). No face separates it from the box, which is around the line x
  // + y = 2.1.
  const Planes region = insideOf(qzBBox::Make(0.5f, 0.5f, 0.0f, 1.0f, 1.0f, 1.0f)) + Planes{Plane(-1, -1, 0, 2)};
  const qzBBox box = qzBBox::Make(0.6f, 0.6f, 0.2f, 1.5f, 1.5f, 0.8f);
  CHECK(meets(OneLeaf(box, Point(0.75f, 0.75f, 0.5f)), region));
  CHECK_FALSE(meets(OneLeaf(box, Point(1.05f, 1.05f, 0.5f)), region));
}

TEST_CASE("the distances of a box are summed (y + x) + (z + d)") {
  // 2^24 + 1 loses the 1; a box of one point is inside if the 1 is not lost.
  const auto isInside = [](const Point& p, float d) {
    return meets(OneLeaf(qzBBox(p), kNowhere), {Plane(1.0f, 1.0f, 1.0f, d)});
  };
  CHECK(isInside(Point(1.0f, 0.0f, 0x1p24f), -0x1p24f));
  CHECK(isInside(Point(0.0f, 1.0f, 0x1p24f), -0x1p24f));
  CHECK(isInside(Point(0x1p24f, -0x1p24f, 1.0f), 0.0f));
  CHECK_FALSE(isInside(Point(0x1p24f, 1.0f, 0.0f), -0x1p24f));
  CHECK_FALSE(isInside(Point(1.0f, 0x1p24f, 0.0f), -0x1p24f));
  CHECK_FALSE(isInside(Point(-0x1p24f, 0.0f, 1.0f), 0x1p24f));
  CHECK_FALSE(isInside(Point(-0x1p24f, 0.0f, 0x1p24f), 1.0f));

  // Likewise the largest distance: the box is outside, so its triangle is skipped, if the 1 is not lost.
  const auto isHidden = [](const Point& p, float d) {
    return !meets(OneLeaf(qzBBox(p), Point(0x1p25f, 0.0f, 0.0f)), {Plane(1.0f, 1.0f, 1.0f, d)});
  };
  CHECK(isHidden(Point(-1.0f, 0.0f, -0x1p24f), 0x1p24f));
  CHECK(isHidden(Point(0.0f, -1.0f, -0x1p24f), 0x1p24f));
  CHECK_FALSE(isHidden(Point(-0x1p24f, -1.0f, 0.0f), 0x1p24f));
  CHECK_FALSE(isHidden(Point(0x1p24f, 0.0f, -1.0f), -0x1p24f));
}

TEST_CASE("an inverted box acts like the box with its corners in order, and is never outside") {
  const qzBBox inverted = qzBBox::Make(1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f);
  CHECK(meets(OneLeaf(inverted, kNowhere), cubeAround(kOrigin, 1.5f)));
  CHECK_FALSE(meets(OneLeaf(inverted, kNowhere), cubeAround(kOrigin, 0.5f)));
  CHECK(meets(OneLeaf(inverted, kOrigin), cubeAround(kOrigin, 0.5f)));
}

TEST_CASE("allocate clears what the build recorded about nesting, so a derived class may write inverted boxes") {
  class Rewritten : public HullQBVH {
   public:
    Rewritten() {
      build(terrainMesh(4, 5), 1);
      // Inverted boxes around the origin, over triangles far from it.
      allocate(eTrianglesVertices, 1, 1);
      mNodes[0] = {};
      mTriangleVertices[0] = {};
      for (int lane = 0; lane < 4; ++lane) {
        for (int axis = 0; axis < 3; ++axis) mNodes[0].mMin[axis][lane] = 1.0f;
        mNodes[0].mChildQuadruplets[lane] = 1;
        for (auto& vertex : mTriangleVertices[0].mVertex) vertex[0][lane] = 9.0f;
      }
    }
  };
  const Rewritten inverted;
  CHECK(meets(inverted, cubeAround(kOrigin, 1.5f)));
  CHECK_FALSE(meets(inverted, cubeAround(kOrigin, 0.5f)));
}

TEST_CASE("empty lanes are outside every region, and their triangles are not tested") {
  HullQBVH empty;
  empty.allocateEmpty(1, 0);
  const Planes slanted = {Plane(1.0f, 2.0f, 3.0f, 1.0f), Plane(-1.0f, -2.0f, -3.0f, 1.0f)};
  CHECK_FALSE(meets(empty, slanted));
  CHECK_FALSE(meets(empty, cubeAround(kOrigin, 1e30f)));       // 0 * infinity in two of three terms
  CHECK_FALSE(meets(empty, {Plane(0.0f, 0.0f, 0.0f, 1.0f)}));  // in all three
  CHECK_FALSE(meets(empty, {Plane(1.0f, 1.0f, 1.0f, kInf)}));  // infinity minus infinity
  CHECK_FALSE(meets(empty, cubeAround(kOrigin, 1e30f) + slanted));
}

TEST_CASE("a plane with zero normal rejects or accepts everything by its last coefficient") {
  const OneLeaf leaf(kUnitBox, Point(0.5f, 0.5f, 0.5f));
  CHECK_FALSE(meets(leaf, {Plane(0.0f, 0.0f, 0.0f, 0.0f)}));
  CHECK_FALSE(meets(leaf, {Plane(-0.0f, 0.0f, -0.0f, -1.0f)}));
  CHECK(meets(leaf, {Plane(0.0f, -0.0f, 0.0f, 0x1p-149f)}));
}

TEST_CASE("a NaN distance rejects no box, and is dropped when another plane follows") {
  const Planes around = cubeAround(kOrigin, 1.5f), nan = {Plane(kNaN, 0.0f, 0.0f, 0.0f)};
  const Planes through = {Plane(1.0f, 0.0f, 0.0f, -0.5f)};
  // After a NaN the smallest distance starts over: the region cuts the box, but the box counts as inside.
  CHECK(meets(OneLeaf(kUnitBox, kNowhere), nan + around));
  CHECK(meets(OneLeaf(kUnitBox, kNowhere), through + nan + around));
  CHECK_FALSE(meets(OneLeaf(kUnitBox, kNowhere), nan + around + through));
  // In the last plane the NaN is the smallest distance, which is then not above zero; and no vertex is inside.
  CHECK_FALSE(meets(OneLeaf(kUnitBox, kNowhere), around + nan));
  CHECK_FALSE(meets(OneLeaf(kUnitBox, Point(0.5f, 0.5f, 0.5f)), around + nan));
}

TEST_CASE("a NaN corner is dropped from minimum and maximum only as the first operand") {
  const Planes around = cubeAround(kOrigin, 1.5f);
  // min(NaN, q) is q and min(p, NaN) is NaN: a NaN minimum leaves the maximum, a NaN maximum stays.
  CHECK(meets(OneLeaf(qzBBox::Make(kNaN, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f), kNowhere), around));
  CHECK_FALSE(meets(OneLeaf(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, kNaN), kNowhere), around));
  // It stays in every plane, as 0 times NaN is NaN, so it never puts the box outside either.
  const OneLeaf beside(qzBBox::Make(0.0f, 0.0f, 0.0f, kNaN, 1.0f, 1.0f), Point(-5.0f, 0.0f, 0.0f));
  CHECK(meets(beside, cubeAround(Point(-5.0f, 0.0f, 0.0f), 1.0f)));
}

TEST_CASE("infinite coefficients give the results of IEEE arithmetic") {
  const OneLeaf leaf(kUnitBox, Point(0.5f, 0.5f, 0.5f)), ahead(qzBBox::Make(1, 1, 1, 2, 2, 2), kNowhere);
  CHECK(meets(leaf, {Plane(0.0f, 0.0f, 0.0f, kInf)}));
  CHECK_FALSE(meets(leaf, {Plane(0.0f, 0.0f, 0.0f, -kInf)}));
  CHECK(meets(ahead, {Plane(kInf, 0.0f, 0.0f, -5.0f)}));
  CHECK_FALSE(meets(ahead, {Plane(-kInf, 0.0f, 0.0f, 5.0f)}));
  CHECK_FALSE(meets(ahead, {Plane(kInf, -kInf, 0.0f, 0.0f)}));
}

TEST_CASE("without planes every hierarchy with a node or a quadruplet intersects") {
  HullQBVH nothing, rootLeaf, node;
  nothing.allocateEmpty(0, 0);
  rootLeaf.allocateEmpty(0, 1);
  node.allocateEmpty(1, 0);
  CHECK_FALSE(nothing.intersectConvexHull(nullptr, 0));
  CHECK(rootLeaf.intersectConvexHull(nullptr, 0));
  CHECK(node.intersectConvexHull(nullptr, 0));
  for (unsigned int maxLeafSize : {1u, 4u, 1000u}) {
    HullQBVH hierarchy;
    hierarchy.build(terrainMesh(4, 3), maxLeafSize);
    CHECK(hierarchy.intersectConvexHull(nullptr, 0));
  }
}

TEST_CASE("a leaf whose count exceeds the quadruplets left is read to the last one") {
  OneLeaf leaf(kUnitBox, kNowhere);
  leaf.setLane(0, 0, kUnitBox, 0, 1000000);
  CHECK_FALSE(meets(leaf, cubeAround(kOrigin, 0.5f)));
  leaf.setLane(0, 0, kUnitBox, 1, 5);
  CHECK_FALSE(meets(leaf, cubeAround(kOrigin, 0.5f)));
  leaf.setLane(0, 0, kUnitBox, 0, 0);
  leaf.setTriangle(0, 0, kOrigin, kOrigin, kOrigin);
  CHECK_FALSE(meets(leaf, cubeAround(kOrigin, 0.5f)));
}

TEST_CASE("every lane of every node is visited at any depth") {
  // A chain of nodes with three leaves each; only the triangle in one leaf is inside. The box of the next node is the
  // deepest or the least deep, which decides whether the leaves wait on the stack until the end of the chain.
  constexpr unsigned int kDepth = 500;
  const qzBBox large = qzBBox::Make(-2.0f, -2.0f, -2.0f, 2.0f, 2.0f, 2.0f);
  const qzBBox beside = qzBBox::Make(0.0f, 0.0f, 0.0f, 2.0f, 2.0f, 2.0f);
  for (const bool chainFirst : {true, false}) {
    HullQBVH chain;
    chain.allocateEmpty(kDepth, 3 * kDepth);
    for (unsigned int node = 0; node < kDepth; ++node) {
      const int inner = static_cast<int>(node % 4);
      for (int lane = 0, leaf = 0; lane < 4; ++lane) {
        if (lane == inner && node + 1 < kDepth) {
          chain.setLane(node, lane, chainFirst ? large : beside, node + 1, HullQBVH::kInner);
        } else if (leaf < 3) {
          chain.setLane(node, lane, chainFirst ? beside : large, 3 * node + static_cast<unsigned int>(leaf++), 1);
        }
      }
    }
    for (unsigned int quadruplet = 0; quadruplet < 3 * kDepth; ++quadruplet) {
      for (int lane = 0; lane < 4; ++lane) chain.setTriangle(quadruplet, lane, kNowhere, kNowhere, kNowhere);
    }
    const Planes region = cubeAround(kOrigin, 1.0f);
    CHECK_FALSE(meets(chain, region));
    unsigned int nbFound = 0;
    for (unsigned int quadruplet = 0; quadruplet < 3 * kDepth; ++quadruplet) {
      const int lane = static_cast<int>(quadruplet % 4);
      chain.setTriangle(quadruplet, lane, kOrigin, kOrigin, kOrigin);
      nbFound += meets(chain, region) ? 1 : 0;
      chain.setTriangle(quadruplet, lane, kNowhere, kNowhere, kNowhere);
    }
    CHECK(nbFound == 3 * kDepth);
  }
}
