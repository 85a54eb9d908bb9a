#include <doctest/doctest.h>
#include <qzCommonAddOns/bvh/qzGNode.h>

#include <type_traits>
#include <utility>

#include "support/qzBits.h"

using namespace qzTest;

namespace {

struct Words {
  std::uint32_t axisAndLeft, rightAndCount;
  bool operator==(const Words& o) const { return axisAndLeft == o.axisAndLeft && rightAndCount == o.rightAndCount; }
};

/// The two words in memory, after the box.
Words wordsOf(const qzGNode& node) {
  Words words;
  std::memcpy(&words, reinterpret_cast<const char*>(&node) + sizeof(qzBBox), sizeof words);
  return words;
}

}  // namespace

TEST_CASE("a node is its box, then two words: 32 bytes") {
  CHECK(sizeof(qzGNode) == 32);
  CHECK_FALSE(std::is_polymorphic_v<qzGNode>);
  qzGNode node;
  node.setBBox(qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f));
  float box[6];
  std::memcpy(box, &node, sizeof box);
  for (int i = 0; i < 6; ++i) CHECK(box[i] == static_cast<float>(i + 1));
  CHECK(static_cast<const void*>(&node.getBBox()) == static_cast<const void*>(&node));
}

TEST_CASE("a default node is an inner node on x with the empty box, both children node 0") {
  const qzGNode node;
  CHECK(wordsOf(node) == Words{0, 0});
  CHECK(sameBits(node.getBBox(), qzBBox()));
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getAxis() == 0);
  CHECK(node.getLeftChildIdx() == 0);
  CHECK(node.getRightChildIdx() == 0);
  CHECK(node.getPrimStartIdx() == 0);
  CHECK(node.getNoPrimitives() == 0);
}

TEST_CASE("setBBox copies the box") {
  qzBBox box = qzBBox::Make(1.0f, 2.0f, floatFromBits(0xFFC00001u), -0.0f, 5.0f, 6.0f);
  const qzBBox original = box;
  qzGNode node;
  node.setBBox(box);
  box = qzBBox();
  CHECK(sameBits(node.getBBox(), original));
}

TEST_CASE("a leaf stores the top bits 11, its first entry and its count") {
  qzGNode node;
  node.setLeaf(5, 3);
  CHECK(node.isLeaf());
  CHECK(node.getPrimStartIdx() == 5);
  CHECK(node.getLeftChildIdx() == 5);
  CHECK(node.getNoPrimitives() == 3);
  CHECK(node.getAxis() == 0xC0000000u);
  CHECK(wordsOf(node) == Words{0xC0000005u, 3});
}

TEST_CASE("a leaf's first entry is not masked and its count uses all 32 bits") {
  qzGNode node;
  node.setLeaf(0x3FFFFFFFu, 0xFFFFFFFFu);
  CHECK(wordsOf(node) == Words{0xFFFFFFFFu, 0xFFFFFFFFu});
  CHECK(node.getPrimStartIdx() == 0x3FFFFFFFu);
  CHECK(node.getNoPrimitives() == 0xFFFFFFFFu);
  node.setLeaf(0x40000001u, 0);  // bit 30 merges into the mark
  CHECK(wordsOf(node) == Words{0xC0000001u, 0});
  CHECK(node.isLeaf());
}

TEST_CASE("an inner node stores its axis and two children") {
  qzGNode node;
  node.setNode(qzBBox::eAxisY, 7, 8, 123.0f);
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getAxis() == 0x40000000u);
  CHECK(node.getLeftChildIdx() == 7);
  CHECK(node.getRightChildIdx() == 8);
  CHECK(wordsOf(node) == Words{0x40000007u, 8});
  node.setNode(qzBBox::eAxisX, 1, 2, 0.0f);
  CHECK(wordsOf(node) == Words{1, 2});
  node.setNode(qzBBox::eAxisZ, 1, 2, 0.0f);
  CHECK(wordsOf(node) == Words{0x80000001u, 2});
}

TEST_CASE("the split plane given to setNode is neither stored nor quantised") {
  qzGNode expected;
  expected.setBBox(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f));
  expected.setNode(qzBBox::eAxisZ, 3, 4, 0.0f);
  for (const float splitPlane : {1.0f, 0.5f, -7.0f, kInf, kNaN}) {
    qzGNode node = expected;
    node.setNode(qzBBox::eAxisZ, 3, 4, splitPlane);
    CHECK(sameBits(node, expected));
  }
}

TEST_CASE("setNode keeps the low 30 bits of the left child") {
  qzGNode node;
  node.setNode(qzBBox::eAxisX, 0xFFFFFFFFu, 0, 0.0f);
  CHECK(wordsOf(node) == Words{0x3FFFFFFFu, 0});
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getLeftChildIdx() == 0x3FFFFFFFu);
}

TEST_CASE("setNode does not mask the axis: other bits go into the left child, and 11 makes a leaf") {
  qzGNode node;
  node.setNode(static_cast<qzBBox::tAxis>(0x80000010u), 1, 2, 0.0f);
  CHECK(wordsOf(node) == Words{0x80000011u, 2});
  node.setNode(static_cast<qzBBox::tAxis>(0xC0000000u), 1, 2, 0.0f);
  CHECK(wordsOf(node) == Words{0xC0000001u, 2});
  CHECK(node.isLeaf());
}

TEST_CASE("setNode stores the right child whole: its top 4 bits become the split position") {
  qzGNode node;
  node.setBBox(qzBBox::Make(0.0f, 0.0f, 0.0f, 15.0f, 15.0f, 15.0f));
  node.setNode(qzBBox::eAxisX, 0, 0x10000003u, 0.0f);
  CHECK(wordsOf(node) == Words{0, 0x10000003u});
  CHECK(node.getRightChildIdx() == 3);
  CHECK(node.getSplitPlane() == 1.0f);  // k = 1 of 15
  CHECK(node.getNoPrimitives() == 0x10000003u);
  node.setNode(qzBBox::eAxisX, 0, 0xFFFFFFFFu, 0.0f);
  CHECK(node.getRightChildIdx() == 0x0FFFFFFFu);
}

TEST_CASE("the accessors decode any two words") {
  const std::uint32_t seed = 51;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 10000; ++i) {
    const Words words = {random.bits(), random.bits()};
    qzGNode node;
    std::memcpy(reinterpret_cast<char*>(&node) + sizeof(qzBBox), &words, sizeof words);
    const bool leaf = words.axisAndLeft >= 0xC0000000u;
    if (node.isLeaf() != leaf || node.getAxis() != (words.axisAndLeft >> 30) << 30 ||
        node.getLeftChildIdx() != words.axisAndLeft % (1u << 30) ||
        node.getPrimStartIdx() != words.axisAndLeft % (1u << 30) ||
        node.getRightChildIdx() != words.rightAndCount % (1u << 28) || node.getNoPrimitives() != words.rightAndCount) {
      FAIL("words ", words.axisAndLeft, " ", words.rightAndCount);
    }
  }
}

TEST_CASE("copying and moving a node copy box and words") {
  qzGNode node;
  node.setBBox(qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f));
  node.setNode(qzBBox::eAxisZ, 7, 0x50000008u, 0.0f);
  const qzGNode copy = node;
  CHECK(sameBits(copy, node));
  qzGNode assigned;
  assigned = node;
  CHECK(sameBits(assigned, node));
  const qzGNode moved = std::move(assigned);
  CHECK(sameBits(moved, node));
  qzGNode moveAssigned;
  moveAssigned = qzGNode(node);
  CHECK(sameBits(moveAssigned, node));
}
