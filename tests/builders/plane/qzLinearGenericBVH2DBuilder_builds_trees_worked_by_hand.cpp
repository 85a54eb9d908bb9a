// Small 2D trees worked out by hand, and the builder's guarantees on limits, counters and input.

#include <doctest/doctest.h>

#include <algorithm>
#include <type_traits>
#include <utility>

#include "builders/plane/qzBothBuilders2D.h"
#include "support/qzObservers.h"
#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;
using Builder = qzLinearGenericBVH2DBuilder;

static_assert(std::is_same_v<decltype(&Builder::build), void (Builder::*)(qzGenericBVH2D&, unsigned int)>);
static_assert(std::is_same_v<decltype(&Builder::setMaxPrimitivesPerLeaf), void (Builder::*)(unsigned int)>);
static_assert(!std::is_polymorphic_v<Builder>);

namespace {

void checkInner(const qzGNode2D& node, unsigned int left, const qzBBox2D& box) {
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getLeftChildIdx() == left);
  CHECK(node.getRightChildIdx() == left + 1);
  CHECK(sameBits(node.getBBox(), box));
}
void checkLeaf(const qzGNode2D& node, unsigned int start, unsigned int count, const qzBBox2D& box) {
  CHECK(node.isLeaf());
  CHECK(node.getPrimStartIdx() == start);
  CHECK(node.getNoPrimitives() == count);
  CHECK(sameBits(node.getBBox(), box));
}

// Checks that leaves of more than limit primitives hold one cell, and that inner nodes have more than limit primitives.
// Returns the number of primitives below the node.
unsigned int checkLimit(BothBuilders2D& both, unsigned int number, unsigned int limit,
                        const std::vector<std::uint32_t>& codes) {
  const qzGNode2D& node = both.nodes()[number];
  if (!node.isLeaf()) {
    const unsigned int below = checkLimit(both, node.getLeftChildIdx(), limit, codes) +
                               checkLimit(both, node.getRightChildIdx(), limit, codes);
    CHECK(below > limit);
    return below;
  }
  const unsigned int start = node.getPrimStartIdx(), count = node.getNoPrimitives();
  const std::uint32_t first = codes[both.primitives()[start]], last = codes[both.primitives()[start + count - 1]];
  CHECK((count <= limit || first == last));
  return count;
}

}  // namespace

TEST_CASE("four points in the quarters of a square: y is the top code bit, x the one below") {
  // Cells (0, 0), (1, 0), (0, 1), (1, 1) have the codes 0, 1, 2, 3; given in the order 3, 1, 2, 0.
  BothBuilders2D both(1);
  both.build(sceneInCells({{1, 1}, {1, 0}, {0, 1}, {0, 0}}, 1), 1);
  CHECK(both.primitives() == std::vector<unsigned int>{3, 1, 2, 0});
  REQUIRE(both.nodes().size() == 7);
  checkInner(both.nodes()[0], 1, qzBBox2D::Make(0.5f, 0.5f, 1.5f, 1.5f));
  checkInner(both.nodes()[1], 3, qzBBox2D::Make(0.5f, 0.5f, 1.5f, 0.5f));
  checkInner(both.nodes()[2], 5, qzBBox2D::Make(0.5f, 1.5f, 1.5f, 1.5f));
  checkLeaf(both.nodes()[3], 0, 1, qzBBox2D(Point(0.5f, 0.5f)));
  checkLeaf(both.nodes()[4], 1, 1, qzBBox2D(Point(1.5f, 0.5f)));
  checkLeaf(both.nodes()[5], 2, 1, qzBBox2D(Point(0.5f, 1.5f)));
  checkLeaf(both.nodes()[6], 3, 1, qzBBox2D(Point(1.5f, 1.5f)));
  CHECK(nbNodesOf(both.tree()) == 7);
}

TEST_CASE("with two primitives per leaf the same points make a root over two leaves, and the counter stays 7") {
  BothBuilders2D both(2);
  both.build(sceneInCells({{1, 1}, {1, 0}, {0, 1}, {0, 0}}, 1), 1);
  REQUIRE(both.nodes().size() == 3);
  checkInner(both.nodes()[0], 1, qzBBox2D::Make(0.5f, 0.5f, 1.5f, 1.5f));
  checkLeaf(both.nodes()[1], 0, 2, qzBBox2D::Make(0.5f, 0.5f, 1.5f, 0.5f));
  checkLeaf(both.nodes()[2], 2, 2, qzBBox2D::Make(0.5f, 1.5f, 1.5f, 1.5f));
  CHECK(nbNodesOf(both.tree()) == 7);
}

TEST_CASE("2D nodes are numbered by level: a deep left subtree comes after a shallow right one") {
  // Two bits: cells (0, 0) and (1, 0) have the codes 0 and 1 and split at level 4, (0, 3) has 10.
  BothBuilders2D both(1);
  both.build(sceneInCells({{0, 0}, {1, 0}, {0, 3}}, 2), 2);
  REQUIRE(both.nodes().size() == 5);
  checkInner(both.nodes()[0], 1, qzBBox2D::Make(0.5f, 0.5f, 1.5f, 3.5f));
  checkInner(both.nodes()[1], 3, qzBBox2D::Make(0.5f, 0.5f, 1.5f, 0.5f));
  checkLeaf(both.nodes()[2], 2, 1, qzBBox2D(Point(0.5f, 3.5f)));
}

TEST_CASE("one 2D primitive is one leaf with its box") {
  BothBuilders2D both;
  both.build(pointScene({Point(3.0f, -7.0f)}), 10);
  REQUIRE(both.nodes().size() == 1);
  checkLeaf(both.nodes()[0], 0, 1, qzBBox2D(Point(3.0f, -7.0f)));
  CHECK(nbNodesOf(both.tree()) == 1);
  CHECK(nbPrimitivesOf(both.tree()) == 1);
}

TEST_CASE("0 bits per axis give one leaf of all 2D primitives at any leaf limit") {
  for (const unsigned int limit : {1u, 4u, 1000u}) {
    BothBuilders2D both(limit);
    both.build(randomScene(100, 0.1f, 161), 0);
    REQUIRE(both.nodes().size() == 1);
    CHECK(both.nodes()[0].getNoPrimitives() == 100);
    CHECK(both.nodes()[0].getPrimStartIdx() == 0);
    CHECK(nbNodesOf(both.tree()) == 1);
    for (unsigned int i = 0; i < 100; ++i) CHECK(both.primitives()[i] == i);
  }
}

TEST_CASE("more than 16 bits per axis count as 16 in 2D, 15 do not") {
  const Scene2D scene = randomScene(20000, 0.1f, 162);
  BothBuilders2D sixteen(1);
  sixteen.build(scene, 16);
  for (const unsigned int bits : {17u, 32u, 100u, 0xFFFFFFFFu}) {
    BothBuilders2D both(1);
    both.build(scene, bits);
    CHECK(both.primitives() == sixteen.primitives());
    REQUIRE(both.nodes().size() == sixteen.nodes().size());
    for (std::size_t i = 0; i < both.nodes().size(); ++i) CHECK(sameBits(both.nodes()[i], sixteen.nodes()[i]));
  }
  // Two neighbouring points that 16 bits separate and 15 do not.
  const Scene2D neighbours = sceneInCells({{1, 0}, {0, 0}}, 16);
  BothBuilders2D both(1);
  both.build(neighbours, 16);
  CHECK(nbNodesOf(both.tree()) == 3);
  both.build(neighbours, 15);
  CHECK(nbNodesOf(both.tree()) == 1);
}

TEST_CASE("16 bits per axis use all 32 code bits") {
  BothBuilders2D both(1);
  both.build(sceneInCells({{0xFFFF, 0xFFFF}, {0xFFFE, 0xFFFF}, {0xFFFF, 0xFFFE}, {0, 0}, {0, 1}, {1, 0}}, 16), 16);
  CHECK(both.primitives() == std::vector<unsigned int>{3, 5, 4, 2, 1, 0});
  CHECK(both.nodes().size() == 11);
}

TEST_CASE("points of one cell share a 2D leaf beyond the leaf limit, in the order of their numbers") {
  BothBuilders2D both(2);
  both.build(sceneInCells({{5, 5}, {1, 1}, {5, 5}, {5, 5}, {7, 7}, {5, 5}, {5, 5}}, 3), 3);
  CHECK(both.primitives() == std::vector<unsigned int>{1, 0, 2, 3, 5, 6, 4});
  unsigned int nbLeavesOfFive = 0;
  for (const qzGNode2D& node : both.nodes()) {
    if (node.isLeaf() && node.getNoPrimitives() == 5) ++nbLeavesOfFive;
  }
  CHECK(nbLeavesOfFive == 1);
}

TEST_CASE("a 2D leaf beyond the limit holds one cell, and every inner node has more primitives than the limit") {
  Random random(163);
  std::vector<Cell2D> cells;
  std::vector<std::uint32_t> codes;
  for (int i = 0; i < 2000; ++i) {
    cells.push_back({random.below(16), random.below(16)});
    codes.push_back(qzPlain::mortonCode(cells.back().x, cells.back().y));
  }
  for (const unsigned int limit : {1u, 4u, 8u, 50u}) {
    BothBuilders2D both(limit);
    both.build(sceneInCells(cells, 4), 4);
    CHECK(checkLimit(both, 0, limit, codes) == 2000);
    for (std::size_t i = 1; i < both.primitives().size(); ++i) {
      CHECK(codes[both.primitives()[i - 1]] <= codes[both.primitives()[i]]);
    }
  }
}

TEST_CASE("the 2D node counter is 2 L - 1 for L different cells, and the array has the nodes of the fused tree") {
  BothBuilders2D both(8);
  std::vector<Cell2D> cells;
  for (std::uint32_t y = 0; y < 8; ++y) {
    for (std::uint32_t x = 0; x < 8; ++x) cells.insert(cells.end(), 1 + (x ^ y) % 3, Cell2D{x, y});
  }
  both.build(sceneInCells(cells, 3), 3);
  CHECK(nbNodesOf(both.tree()) == 2 * 64 - 1);
  CHECK(both.nodes().size() < 64);
  CHECK(both.nodes().size() % 2 == 1);
  int nbNodes, nbLeaves, minPrimitives, maxPrimitives;
  float avgPrimitives;
  both.tree().getBVHInfo(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
  CHECK(nbNodes == 2 * 64 - 1);
  CHECK(static_cast<std::size_t>(2 * nbLeaves - 1) == both.nodes().size());
  CHECK(maxPrimitives <= 8);
  CHECK(avgPrimitives == static_cast<float>(cells.size()) / static_cast<float>(nbLeaves));
}

TEST_CASE("bounds without extent put all points into one leaf") {
  Scene2D scene = randomScene(50, 0.1f, 164);
  scene.bounds = qzBBox2D(Point(0.25f, 0.5f));
  BothBuilders2D both(1);
  both.build(scene, 16);
  REQUIRE(both.nodes().size() == 1);
  CHECK(both.nodes()[0].getNoPrimitives() == 50);
}

TEST_CASE("a NaN coordinate of a point lies in cell 0 of its axis") {
  Scene2D scene = sceneInCells({{3, 3}, {0, 0}, {3, 3}, {0, 3}}, 2);
  scene.points[0] = Point(kNaN, kNaN);
  scene.points[2] = Point(-kNaN, 3.5f);
  BothBuilders2D both(1);
  both.build(scene, 2);
  CHECK(both.primitives() == std::vector<unsigned int>{0, 1, 2, 3});
  CHECK(nbNodesOf(both.tree()) == 3);  // the cells (0, 0) and (0, 3)
}

TEST_CASE("the bounds decide the cells as given, and the boxes do not affect the order") {
  Scene2D scene = sceneInCells({{0, 0}, {1, 0}, {2, 0}, {3, 0}}, 2);
  BothBuilders2D both(1);
  both.build(scene, 2);
  CHECK(nbNodesOf(both.tree()) == 7);
  scene.bounds = qzBBox2D::Make(0.0f, 0.0f, 8.0f, 8.0f);  // cells twice as large
  both.build(scene, 2);
  CHECK(nbNodesOf(both.tree()) == 3);
  CHECK(sameBits(both.builder().mBounds, scene.bounds));

  std::reverse(scene.boxes.begin(), scene.boxes.end());
  const std::vector<unsigned int> before = both.primitives();
  both.build(scene, 2);
  CHECK(both.primitives() == before);
  CHECK(sameBits(both.nodes()[1].getBBox(), qzBBox2D::Make(2.5f, 0.5f, 3.5f, 0.5f)));  // of the primitives 0 and 1
}

TEST_CASE("the 2D grid is a square around the centre of the bounds, so the short axis uses its middle cells") {
  // 8 x 2 with 2 bits: cells of edge 2, rows from y = -3 to 5, so y = 0 ... 2 is in the rows 1 and 2.
  Scene2D scene = pointScene({Point(0.5f, 0.5f), Point(0.5f, 1.5f), Point(7.5f, 0.5f)});
  scene.bounds = qzBBox2D::Make(0.0f, 0.0f, 8.0f, 2.0f);
  BothBuilders2D both(1);
  both.build(scene, 2);
  // Cells (0, 1), (0, 2), (3, 1) have the codes 2, 8, 7.
  CHECK(both.primitives() == std::vector<unsigned int>{0, 2, 1});
}

TEST_CASE("the centre of the 2D grid is (min + max) * 0.5, not getCenter()") {
  // (min + max) * 0.5 overflows, so the origin is infinite and all points are in one cell.
  const float high = kMaxFloat, low = kMaxFloat * 0.5f;
  Scene2D scene = pointScene({Point(low, low), Point(high, high)});
  BothBuilders2D both(1);
  both.build(scene, 1);
  CHECK(both.nodes().size() == 1);
  const Point center = scene.bounds.getCenter();
  CHECK((center[0] < kInf && center[1] < kInf));
}

TEST_CASE("the 2D leaf limit is 4 by default; 0 is stored as 1, other values as given") {
  OpenBuilder2D builder;
  CHECK(builder.mMaxPrimitivesPerLeaf == 4);
  builder.setMaxPrimitivesPerLeaf(0);
  CHECK(builder.mMaxPrimitivesPerLeaf == 1);
  builder.setMaxPrimitivesPerLeaf(0xFFFFFFFFu);
  CHECK(builder.mMaxPrimitivesPerLeaf == 0xFFFFFFFFu);
}

TEST_CASE("a new 2D builder has empty arrays, empty bounds and no primitives") {
  const OpenBuilder2D builder;
  CHECK(builder.mBBoxes.empty());
  CHECK(builder.mIndices.empty());
  CHECK(builder.mPoints.empty());
  CHECK(sameBits(builder.mBounds, qzBBox2D()));
  CHECK(builder.mNbPrimitives == 0);
}

TEST_CASE("the members of a 2D builder are in the order boxes, indices, points, bounds, number, leaf limit") {
  const OpenBuilder2D builder;
  const void* const places[] = {&builder.mBBoxes, &builder.mIndices,      &builder.mPoints,
                                &builder.mBounds, &builder.mNbPrimitives, &builder.mMaxPrimitivesPerLeaf};
  CHECK(places[0] == static_cast<const void*>(&builder));
  CHECK(std::is_sorted(std::begin(places), std::end(places), std::less<const void*>()));
}

TEST_CASE("copying and moving a 2D builder copy or move all members") {
  BothBuilders2D both(7);
  both.fill(randomScene(20, 0.1f, 165));
  OpenBuilder2D source = both.builder();
  const auto checkSame = [&](const OpenBuilder2D& builder) {
    CHECK(builder.mBBoxes.size() == 20);
    CHECK(sameBits(builder.mBBoxes[19], both.builder().mBBoxes[19]));
    CHECK(builder.mIndices == both.builder().mIndices);
    CHECK(builder.mPoints.size() == 20);
    CHECK(sameBits(builder.mPoints[19], both.builder().mPoints[19]));
    CHECK(sameBits(builder.mBounds, both.builder().mBounds));
    CHECK(builder.mNbPrimitives == 20);
    CHECK(builder.mMaxPrimitivesPerLeaf == 7);
  };
  checkSame(source);
  OpenBuilder2D assigned;
  assigned = source;
  checkSame(assigned);
  CHECK(assigned.mPoints.data() != source.mPoints.data());
  const void* const storage = source.mPoints.data();
  OpenBuilder2D moved = std::move(source);
  checkSame(moved);
  CHECK(moved.mPoints.data() == storage);
  assigned = std::move(moved);
  checkSame(assigned);
  CHECK(assigned.mPoints.data() == storage);
}

TEST_CASE("a longer index array goes into the 2D tree whole, its spare entries unchanged") {
  BothBuilders2D both(2);
  both.fill(randomScene(10, 0.1f, 166), 5);
  both.build(8);
  REQUIRE(both.primitives().size() == 15);
  for (std::size_t i = 10; i < 15; ++i) CHECK(both.primitives()[i] == 77);
  CHECK(nbPrimitivesOf(both.tree()) == 10);
}

TEST_CASE("a 2D builder gets the tree's old primitives, and can build again once its indices are resized") {
  BothBuilders2D both(2);
  const Scene2D scene = randomScene(30, 0.1f, 167);
  both.fill(scene);
  both.build(8);
  CHECK(both.builder().mIndices.empty());
  const std::vector<unsigned int> first = both.primitives();

  // The builder keeps its input; only the indices need resizing.
  both.builder().mIndices.resize(30);
  both.plainBuilder().indices.resize(30);
  both.build(8);
  CHECK(both.primitives() == first);
  CHECK(both.builder().mIndices == first);
  // Now they have the right size; their contents do not matter.
  both.build(16);
  CHECK(both.builder().mIndices == first);
}

TEST_CASE("a 2D build leaves a node array of exactly its length as capacity, whatever the tree held") {
  BothBuilders2D both;
  both.build(randomScene(5000, 0.1f, 168), 16);
  both.build(randomScene(3, 0.1f, 169), 16);
  CHECK(both.nodes().size() == 1);
  CHECK(both.nodes().capacity() == 1);
  both.tree().editNodes().reserve(10000);
  both.build(randomScene(100, 0.1f, 170), 16);
  CHECK(both.nodes().capacity() == both.nodes().size());
}

TEST_CASE("a 2D build logs nothing") {
  const LogCapture log;
  BothBuilders2D both;
  both.build(randomScene(100, 0.1f, 171), 16);
  CHECK(log.records().empty());
}

TEST_CASE("of equal zeros a 2D node keeps that of its left child, a leaf that of its first primitive") {
  // A component stays unless the other is strictly smaller (larger); an inner node starts with its left child.
  Scene2D scene = sceneInCells({{0, 0}, {0, 1}, {1, 1}, {1, 1}}, 1);
  scene.boxes = {qzBBox2D::Make(0.0f, -0.0f, -0.0f, 0.0f), qzBBox2D::Make(-0.0f, 0.0f, 0.0f, -0.0f),
                 qzBBox2D::Make(-0.0f, -0.0f, -0.0f, -0.0f), qzBBox2D::Make(0.0f, 0.0f, 0.0f, 0.0f)};
  BothBuilders2D both(1);
  both.build(scene, 1);
  REQUIRE(both.nodes().size() == 5);
  CHECK(sameBits(both.nodes()[0].getBBox(), scene.boxes[0]));
  CHECK(sameBits(both.nodes()[2].getBBox(), scene.boxes[1]));
  CHECK(sameBits(both.nodes()[4].getBBox(), scene.boxes[2]));  // the leaf of the primitives 2 and 3
}

TEST_CASE("a 2D build skips NaN in boxes; a side with NaN alone stays infinite") {
  Scene2D scene = sceneInCells({{0, 0}, {0, 0}, {1, 1}}, 1);
  scene.boxes = {qzBBox2D::Make(kNaN, 0.0f, 1.0f, kNaN), qzBBox2D::Make(kNaN, -1.0f, 0.5f, 3.0f),
                 qzBBox2D::Make(2.0f, 2.0f, kNaN, 2.5f)};
  BothBuilders2D both(1);
  both.build(scene, 1);
  REQUIRE(both.nodes().size() == 3);
  CHECK(sameBits(both.nodes()[1].getBBox(), qzBBox2D::Make(kInf, -1.0f, 1.0f, 3.0f)));
  CHECK(sameBits(both.nodes()[2].getBBox(), qzBBox2D::Make(2.0f, 2.0f, -kInf, 2.5f)));
  CHECK(sameBits(both.nodes()[0].getBBox(), qzBBox2D::Make(2.0f, -1.0f, 1.0f, 3.0f)));
}
