#include <doctest/doctest.h>
#include <qzCommonAddOns/bvh/qzGNode2D.h>

#include <type_traits>
#include <utility>

#include "support/access/qzHasMember.h"
#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

static_assert(std::is_same_v<decltype(&qzGNode2D::setBBox), void (qzGNode2D::*)(const qzBBox2D&)>);
static_assert(std::is_same_v<decltype(&qzGNode2D::getBBox), const qzBBox2D& (qzGNode2D::*)() const>);
static_assert(std::is_same_v<decltype(&qzGNode2D::setLeaf), void (qzGNode2D::*)(unsigned int, unsigned int)>);
static_assert(std::is_same_v<decltype(&qzGNode2D::setNode), void (qzGNode2D::*)(unsigned int, unsigned int)>);
static_assert(std::is_same_v<decltype(&qzGNode2D::isLeaf), bool (qzGNode2D::*)() const>);
static_assert(std::is_same_v<decltype(&qzGNode2D::getLeftChildIdx), unsigned int (qzGNode2D::*)() const>);
static_assert(std::is_same_v<decltype(&qzGNode2D::getPrimStartIdx), unsigned int (qzGNode2D::*)() const>);
static_assert(std::is_same_v<decltype(&qzGNode2D::getRightChildIdx), unsigned int (qzGNode2D::*)() const>);
static_assert(std::is_same_v<decltype(&qzGNode2D::getNoPrimitives), unsigned int (qzGNode2D::*)() const>);

QZ_TEST_HAS_MEMBER(getAxis)
QZ_TEST_HAS_MEMBER(getSplitPlane)
QZ_TEST_HAS_MEMBER(isLeaf)

namespace {

struct Words {
  std::uint32_t axisAndLeft, rightAndCount;
};

Words wordsOf(const qzGNode2D& node) {
  Words words;
  std::memcpy(&words, reinterpret_cast<const unsigned char*>(&node) + sizeof(qzBBox2D), sizeof words);
  return words;
}

}  // namespace

TEST_CASE("a 2D node is a box and two words, 24 bytes, not polymorphic") {
  CHECK(sizeof(qzGNode2D) == 24);
  CHECK(std::is_standard_layout_v<qzGNode2D>);
  CHECK(std::is_trivially_copyable_v<qzGNode2D>);
  CHECK_FALSE(std::is_polymorphic_v<qzGNode2D>);
}

TEST_CASE("a 2D node has no axis and no split plane") {
  CHECK(has_isLeaf<qzGNode2D>);
  CHECK_FALSE(has_getAxis<qzGNode2D>);
  CHECK_FALSE(has_getSplitPlane<qzGNode2D>);
}

TEST_CASE("a default 2D node is an inner node with the empty box, both children node 0") {
  const qzGNode2D node;
  CHECK(sameBits(node.getBBox(), qzBBox2D()));
  CHECK(wordsOf(node).axisAndLeft == 0);
  CHECK(wordsOf(node).rightAndCount == 0);
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getLeftChildIdx() == 0);
  CHECK(node.getRightChildIdx() == 0);
  CHECK(node.getNoPrimitives() == 0);
}

TEST_CASE("an inner 2D node returns its children, and the right one as number of primitives too") {
  qzGNode2D node;
  node.setNode(7, 8);
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getLeftChildIdx() == 7);
  CHECK(node.getPrimStartIdx() == 7);
  CHECK(node.getRightChildIdx() == 8);
  CHECK(node.getNoPrimitives() == 8);
  CHECK(wordsOf(node).axisAndLeft == 7);
  CHECK(wordsOf(node).rightAndCount == 8);
}

TEST_CASE("a 2D leaf returns its start and count, and the count as right child too") {
  qzGNode2D node;
  node.setLeaf(3, 4);
  CHECK(node.isLeaf());
  CHECK(node.getPrimStartIdx() == 3);
  CHECK(node.getLeftChildIdx() == 3);
  CHECK(node.getNoPrimitives() == 4);
  CHECK(node.getRightChildIdx() == 4);
  CHECK(wordsOf(node).axisAndLeft == 0xC0000003u);
  CHECK(wordsOf(node).rightAndCount == 4);
}

TEST_CASE("a right child of 2^28 or more is stored whole in a 2D node") {
  qzGNode2D node;
  for (const unsigned int right : {0x10000000u, 0x10000003u, 0xF0000001u, 0xFFFFFFFFu}) {
    node.setNode(1, right);
    CHECK(node.getRightChildIdx() == right);
    CHECK(node.getNoPrimitives() == right);
    CHECK_FALSE(node.isLeaf());
  }
}

TEST_CASE("setNode in 2D keeps the low 30 bits of the left child, so the node is never a leaf") {
  qzGNode2D node;
  node.setNode(0xFFFFFFFFu, 2);
  CHECK_FALSE(node.isLeaf());
  CHECK(node.getLeftChildIdx() == 0x3FFFFFFFu);
  CHECK(wordsOf(node).axisAndLeft == 0x3FFFFFFFu);
  node.setNode(0x40000005u, 2);
  CHECK(wordsOf(node).axisAndLeft == 5);
}

TEST_CASE("the start of a 2D leaf is not masked and its count has 32 bits") {
  qzGNode2D node;
  node.setLeaf(0x40000005u, 0xFFFFFFFFu);
  CHECK(node.isLeaf());
  CHECK(wordsOf(node).axisAndLeft == 0xC0000005u);
  CHECK(node.getNoPrimitives() == 0xFFFFFFFFu);
}

TEST_CASE("a 2D node is a leaf only when both top bits are set") {
  qzGNode2D node;
  for (const std::uint32_t top : {0x00000000u, 0x40000000u, 0x80000000u, 0xC0000000u}) {
    const std::uint32_t word = top | 9u;
    std::memcpy(reinterpret_cast<unsigned char*>(&node) + sizeof(qzBBox2D), &word, sizeof word);
    CHECK(node.isLeaf() == (top == 0xC0000000u));
    CHECK(node.getLeftChildIdx() == 9);
  }
}

TEST_CASE("setting the words of a 2D node keeps its box, and setting the box keeps the words") {
  qzGNode2D node;
  const qzBBox2D box = qzBBox2D::Make(1.0f, kNaN, -0.0f, kInf);
  node.setBBox(box);
  node.setLeaf(5, 6);
  CHECK(sameBits(node.getBBox(), box));
  node.setNode(7, 8);
  CHECK(sameBits(node.getBBox(), box));
  node.setBBox(unitSquare());
  CHECK(node.getLeftChildIdx() == 7);
  CHECK(node.getRightChildIdx() == 8);
}

TEST_CASE("copying and moving a 2D node copy all of it") {
  qzGNode2D source;
  source.setBBox(qzBBox2D::Make(1.0f, 2.0f, 3.0f, 4.0f));
  source.setLeaf(11, 12);
  qzGNode2D copy = source, assigned;
  CHECK(sameBits(copy, source));
  assigned = std::move(copy);
  CHECK(sameBits(assigned, source));
}
