// Small scenes whose trees, records, calls and polls were worked out by hand.

#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

#include <doctest/doctest.h>

using namespace qzTest;

namespace {

const std::vector<Cell> kSixCorners = {{1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};

bool isLeaf(const qzGNode& node, unsigned int start, unsigned int count) {
  return node.isLeaf() && node.getPrimStartIdx() == start && node.getNoPrimitives() == count;
}

bool isInner(const qzGNode& node, qzBBox::tAxis axis, unsigned int left) {
  return !node.isLeaf() && node.getAxis() == axis && node.getLeftChildIdx() == left &&
         node.getNoPrimitives() == left + 1;  // the whole word, so the split position is 0
}

}  // namespace

TEST_CASE("the eight corners of a cube split on z, then y, then x") {
  BothBuilders both(1);
  CHECK(both.build(boxesInCells(kSixCorners, 1), 1));
  REQUIRE(both.nodes().size() == 15);
  CHECK(isInner(both.nodes()[0], qzBBox::eAxisZ, 1));
  CHECK(isInner(both.nodes()[1], qzBBox::eAxisY, 3));
  CHECK(isInner(both.nodes()[2], qzBBox::eAxisY, 5));
  for (unsigned int i = 0; i < 4; ++i) CHECK(isInner(both.nodes()[3 + i], qzBBox::eAxisX, 7 + 2 * i));
  for (unsigned int i = 0; i < 8; ++i) CHECK(isLeaf(both.nodes()[7 + i], i, 1));
  CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{0, 2, 3, 4, 5, 6, 7, 1});
  CHECK(both.tree().getNbNodes() == 15);
  CHECK(both.recordTexts() == std::vector<std::string>{
                                  "qzLinearGenericBVHBuilder : allocate 32B for 8 primitives indexes",
                                  "qzLinearGenericBVHBuilder : allocate 120B of working buffer",
                                  "qzLinearGenericBVHBuilder : allocate 512B for 16 result nodes",
                                  "fuse 16 into 15",
                              });
  CHECK(sameBits(both.nodes()[0].getBBox(), qzBBox::Make(0.0f, 0.0f, 0.0f, 2.0f, 2.0f, 2.0f)));
  CHECK(sameBits(both.nodes()[1].getBBox(), qzBBox::Make(0.0f, 0.0f, 0.0f, 1.5f, 1.5f, 1.0f)));
  CHECK(sameBits(both.nodes()[7].getBBox(), qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f)));
}

TEST_CASE("a leaf limit of 4 makes two leaves of the eight corners, a limit of 8 one") {
  BothBuilders both(4);
  CHECK(both.build(boxesInCells(kSixCorners, 1), 1));
  REQUIRE(both.nodes().size() == 3);
  CHECK(isInner(both.nodes()[0], qzBBox::eAxisZ, 1));
  CHECK(isLeaf(both.nodes()[1], 0, 4));
  CHECK(isLeaf(both.nodes()[2], 4, 4));
  CHECK(both.recordTexts().back() == "fuse 16 into 3");
  CHECK(both.tree().getNbNodes() == 15);

  both.setMaxPrimitivesPerLeaf(8);
  CHECK(both.build(boxesInCells(kSixCorners, 1), 1));
  REQUIRE(both.nodes().size() == 1);
  CHECK(isLeaf(both.nodes()[0], 0, 8));
  CHECK(both.recordTexts().back() == "fuse 16 into 1");
  CHECK(both.tree().getNbNodes() == 15);
}

TEST_CASE("nodes are numbered by level, then by position, not by subtree") {
  // Codes 0, 1, 32, 33 and 63 of 6 bits: the two pairs split at the last level, 63 at level 2, the pairs from
  // each other at level 1.
  const std::vector<qzBBox> boxes = boxesInCells({{1, 0, 0}, {0, 0, 2}, {1, 0, 2}}, 2);
  BothBuilders both(1);
  CHECK(both.build(boxes, 2));
  REQUIRE(both.nodes().size() == 9);
  CHECK(isInner(both.nodes()[0], qzBBox::eAxisZ, 1));
  CHECK(isInner(both.nodes()[1], qzBBox::eAxisX, 5));
  CHECK(isInner(both.nodes()[2], qzBBox::eAxisY, 3));
  CHECK(isInner(both.nodes()[3], qzBBox::eAxisX, 7));
  CHECK(isLeaf(both.nodes()[4], 4, 1));
  for (unsigned int i = 0; i < 4; ++i) CHECK(isLeaf(both.nodes()[5 + i], i, 1));
  CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{0, 2, 3, 4, 1});
  // Groups: 1, then 2 on level 1, 3 on levels 2 to 5 and 5 on level 6.
  CHECK(both.recordTexts()[1] == "qzLinearGenericBVHBuilder : allocate 160B of working buffer");
}

TEST_CASE("a build calls the container and polls in the order of its stages") {
  const Event q{Event::eQuantity, 0}, p{Event::ePoll, 0}, a{Event::eBox, 0}, b{Event::eBox, 1};
  // Primitive 0 has the larger code, so primitive 1 is the left leaf.
  const std::vector<qzBBox> boxes = pointBoxes({{1.0f, 1.0f, 1.0f}, {0.0f, 0.0f, 0.0f}});
  BothBuilders both;
  CHECK(both.build(boxes, 1, CancelAtPoll::kNever));
  const std::vector<Event> kExpected = {
      q, a, b, a, b,        // the scene's box, the codes
      p, p, p, p,           // codes made, sorted, counted, listed
      p, p, p,              // three levels
      p, p, b, p, p, a, p,  // root, left leaf and its primitive, right leaf and its primitive
      p,                    // boxes done
      p, p, p, p, p,        // root, left and right counted, all counted, nodes moved
      p,                    // the last one
  };
  CHECK(bool(both.journal().events == kExpected));
  CHECK(both.journal().eventsBeforeRecord == std::vector<std::size_t>{1, 8, 9, 25});
  CHECK(both.recordTexts() == std::vector<std::string>{
                                  "qzLinearGenericBVHBuilder : allocate 8B for 2 primitives indexes",
                                  "qzLinearGenericBVHBuilder : allocate 56B of working buffer",
                                  "qzLinearGenericBVHBuilder : allocate 128B for 4 result nodes",
                                  "fuse 4 into 1",
                              });

  CHECK(both.build(boxes, 1));
  CHECK(bool(both.journal().events == std::vector<Event>{q, a, b, a, b, b, a}));
  CHECK(both.journal().eventsBeforeRecord == std::vector<std::size_t>{1, 5, 5, 7});
}

TEST_CASE("one primitive gives a root leaf and the record \"fuse 2 into 1\"") {
  const qzBBox box = qzBBox::Make(-1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
  for (const unsigned int bits : {0u, 1u, 10u, 20u}) {
    BothBuilders both;
    CHECK(both.build({box}, bits));
    REQUIRE(both.nodes().size() == 1);
    CHECK(isLeaf(both.nodes()[0], 0, 1));
    CHECK(sameBits(both.nodes()[0].getBBox(), box));
    CHECK(both.tree().getNbNodes() == 1);
    CHECK(both.recordTexts()[2] == "qzLinearGenericBVHBuilder : allocate 64B for 2 result nodes");
    CHECK(both.recordTexts()[3] == "fuse 2 into 1");
  }
}

TEST_CASE("0 bits per axis give one leaf of all primitives at any leaf limit") {
  for (const unsigned int limit : {1u, 4u, 1000u}) {
    BothBuilders both(limit);
    CHECK(both.build(randomBoxes(50, 0.1f, 41), 0));
    REQUIRE(both.nodes().size() == 1);
    CHECK(isLeaf(both.nodes()[0], 0, 50));
    CHECK(both.tree().getNbNodes() == 1);
    CHECK(both.recordTexts()[1] == "qzLinearGenericBVHBuilder : allocate 8B of working buffer");
    for (unsigned int i = 0; i < 50; ++i) CHECK(both.tree().getPrimitive(i) == i);
  }
}

TEST_CASE("boxes at one point give one leaf in the order of their numbers") {
  BothBuilders both(1);
  CHECK(both.build(std::vector<qzBBox>(9, qzBBox(Wm4::Vector3<float>(7.0f, -3.0f, 0.1f))), 20));
  REQUIRE(both.nodes().size() == 1);
  CHECK(isLeaf(both.nodes()[0], 0, 9));
  for (unsigned int i = 0; i < 9; ++i) CHECK(both.tree().getPrimitive(i) == i);
}

TEST_CASE("primitives of one code share a leaf beyond the limit, in the order of their numbers") {
  BothBuilders both(2);
  CHECK(both.build(boxesInCells({{2, 1, 3}, {2, 1, 3}, {2, 1, 3}, {2, 1, 3}, {2, 1, 3}}, 2), 2));
  // Codes 0, five times the code of the cell, 63.
  REQUIRE(both.nodes().size() == 5);
  CHECK(isInner(both.nodes()[0], qzBBox::eAxisZ, 1));
  CHECK(isLeaf(both.nodes()[1], 0, 1));
  CHECK(isLeaf(both.nodes()[3], 1, 5));
  CHECK(isLeaf(both.nodes()[4], 6, 1));
  CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{0, 2, 3, 4, 5, 6, 1});
}

TEST_CASE("more than 21 bits per axis count as 21, which separate neighbouring cells of the finest grid") {
  const std::uint32_t last = (1u << 21) - 1;
  const std::vector<qzBBox> boxes = boxesInCells({{1, 0, 0}, {last - 1, last, last}}, 21);
  for (const unsigned int bits : {21u, 22u, 64u, 0xFFFFFFFFu}) {
    BothBuilders both(1);
    CHECK(both.build(boxes, bits));
    CHECK(both.nodes().size() == 7);
    // 64 levels: one group on level 0, two on 1 to 62, four on 63.
    CHECK(both.recordTexts()[1] == "qzLinearGenericBVHBuilder : allocate 1kB of working buffer");
    CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{0, 2, 3, 1});
  }
  BothBuilders coarser(1);
  CHECK(coarser.build(boxes, 20));
  CHECK(coarser.nodes().size() == 3);
}

TEST_CASE("10 bits per axis have 31 levels, 11 have 34") {
  BothBuilders both;
  const std::vector<qzBBox> box = randomBoxes(1, 1.0f, 42);
  CHECK(both.build(box, 10));
  CHECK(both.recordTexts()[1] == "qzLinearGenericBVHBuilder : allocate 248B of working buffer");
  CHECK(both.build(box, 11));
  CHECK(both.recordTexts()[1] == "qzLinearGenericBVHBuilder : allocate 272B of working buffer");
}

TEST_CASE("a leaf limit of 0 counts as 1") {
  BothBuilders none(0), one(1);
  CHECK(maxPrimitivesPerLeafOf(none.builder()) == 1);
  const std::vector<qzBBox> boxes = randomBoxes(30, 0.1f, 43);
  CHECK(none.build(boxes, 20));
  CHECK(one.build(boxes, 20));
  CHECK(none.nodes().size() == one.nodes().size());
  CHECK(none.nodes().size() == 59);
}

TEST_CASE("the grid is a cube around the centre of the scene, so flat axes use its middle cells") {
  // Points along x from 0 to 4. On y and z all lie in cell 2 of 4, so only x splits.
  std::vector<qzBBox> boxes;
  for (const float x : {0.0f, 1.0f, 2.0f, 3.0f, 4.0f}) boxes.emplace_back(Wm4::Vector3<float>(x, 9.0f, -9.0f));
  BothBuilders both(1);
  CHECK(both.build(boxes, 2));
  // Cells 0, 1, 2, 3 and 3 again, as the point at 4 lies on the far border of the grid.
  REQUIRE(both.nodes().size() == 7);
  CHECK(isInner(both.nodes()[0], qzBBox::eAxisX, 1));
  CHECK(isInner(both.nodes()[1], qzBBox::eAxisX, 3));
  CHECK(isInner(both.nodes()[2], qzBBox::eAxisX, 5));
  CHECK(isLeaf(both.nodes()[6], 3, 2));
}

TEST_CASE("boxes of leaf and scene skip a NaN coordinate, which puts its primitive in cell 0 of that axis") {
  std::vector<qzBBox> boxes = boxesInCells({{3, 3, 0}}, 2);
  boxes.push_back(qzBBox::Make(kNaN, 3.25f, 3.25f, 3.75f, 3.75f, kNaN));
  BothBuilders both(1);
  CHECK(both.build(boxes, 2));
  CHECK(sameBits(both.nodes()[0].getBBox(), qzBBox::Make(0.0f, 0.0f, 0.0f, 4.0f, 4.0f, 4.0f)));
  // Codes 0; 27 for (3, 3, 0); 18 for (0, 3, 0); 63.
  CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{0, 3, 2, 1});
  bool found = false;
  for (const qzGNode& node : both.nodes()) {
    if (!isLeaf(node, 1, 1)) continue;
    found = true;
    CHECK(sameBits(node.getBBox(), qzBBox::Make(kInf, 3.25f, 3.25f, 3.75f, 3.75f, -kInf)));
  }
  CHECK(found);
}

TEST_CASE("of equal zeros a node keeps that of its left child, a leaf that of its first primitive") {
  const auto zeroBox = [](float x, float zero) { return qzBBox::Make(x, zero, 0.0f, x, zero, 0.0f); };
  BothBuilders leaf(4), inner(1);
  CHECK(leaf.build({zeroBox(1.0f, -0.0f), zeroBox(1.0f, 0.0f)}, 1));
  CHECK(sameBits(leaf.nodes()[0].getBBox(), zeroBox(1.0f, -0.0f)));
  CHECK(inner.build({zeroBox(2.0f, 0.0f), zeroBox(1.0f, -0.0f)}, 1));
  REQUIRE(inner.nodes().size() == 3);
  CHECK(sameBits(inner.nodes()[0].getBBox(), qzBBox::Make(1.0f, -0.0f, 0.0f, 2.0f, -0.0f, 0.0f)));
}

TEST_CASE("a build swaps its index array with the primitive array of the tree") {
  qzLinearGenericBVHBuilder builder;
  qzGenericBVH tree;
  const LogCapture quiet(false);
  tree.editPrimitives() = {7, 8, 9};
  const unsigned int* const storage = tree.getPrimitives().data();
  CHECK(builder.build(BoxContainer(randomBoxes(5, 0.1f, 44)), tree, nullptr, 20));
  CHECK(tree.getPrimitives().size() == 5);
  CHECK(indicesOf(builder) == std::vector<unsigned int>{7, 8, 9});
  CHECK(indicesOf(builder).data() == storage);
}

TEST_CASE("a completed build leaves a node array without spare capacity, and the counter of the unfused tree") {
  for (const std::uint64_t cancelAt : {kNoInterface, CancelAtPoll::kNever}) {
    BothBuilders both(4);
    CHECK(both.build(randomBoxes(300, 0.01f, 45), 20, cancelAt));
    CHECK(both.tree().getNbNodes() == 599);
    CHECK(both.nodes().size() < 599);
    CHECK(both.nodes().capacity() == both.nodes().size());
    CHECK(both.recordTexts().back() == "fuse 600 into " + std::to_string(both.nodes().size()));
    CHECK(both.tree().getMemoryUsed() == 4 * both.tree().getPrimitives().capacity() + 32 * both.nodes().size() + 8);
  }
}

TEST_CASE("copies of a builder have all its members; a move empties only the source's index array") {
  const std::vector<qzBBox> boxes = randomBoxes(40, 0.1f, 46);
  const LogCapture quiet(false);
  const BoxContainer container(boxes);
  qzGenericBVH tree;
  tree.editPrimitives() = {1, 2, 3};
  qzLinearGenericBVHBuilder builder;
  CHECK(maxPrimitivesPerLeafOf(builder) == 4);
  CHECK(nbPrimitivesOf(builder) == 0);
  CHECK(indicesOf(builder).empty());
  CHECK(sameBits(bboxOf(builder), qzBBox()));
  builder.setMaxPrimitivesPerLeaf(9);
  CHECK(builder.build(container, tree, nullptr, 20));

  const auto isLikeBuilder = [&](const qzLinearGenericBVHBuilder& other) {
    return maxPrimitivesPerLeafOf(other) == 9 && nbPrimitivesOf(other) == 40 &&
           sameBits(bboxOf(other), bboxOf(builder)) && indicesOf(other) == std::vector<unsigned int>{1, 2, 3};
  };
  qzLinearGenericBVHBuilder copy(builder), assigned;
  assigned = builder;
  CHECK(isLikeBuilder(copy));
  CHECK(isLikeBuilder(assigned));
  CHECK(isLikeBuilder(builder));
  const unsigned int* const storage = indicesOf(copy).data();
  qzLinearGenericBVHBuilder moved(std::move(copy)), moveAssigned;
  CHECK(isLikeBuilder(moved));
  CHECK(indicesOf(moved).data() == storage);
  CHECK(indicesOf(copy).empty());  // NOLINT(bugprone-use-after-move): that is the point
  CHECK(nbPrimitivesOf(copy) == 40);
  CHECK(maxPrimitivesPerLeafOf(copy) == 9);
  moveAssigned = std::move(moved);
  CHECK(isLikeBuilder(moveAssigned));
}
