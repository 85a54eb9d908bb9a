#include <doctest/doctest.h>

#include <ostream>
#include <type_traits>
#include <utility>

#include "support/access/qzHasMember.h"
#include "support/access/qzOpenBVH2D.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"

using namespace qzTest;
using Tree = qzGenericBVH2D;

static_assert(std::is_same_v<decltype(&Tree::getPrimitive), unsigned int (Tree::*)(unsigned int) const>);
static_assert(std::is_same_v<decltype(&Tree::getNode), const qzGNode2D& (Tree::*)(unsigned int) const>);
static_assert(std::is_same_v<decltype(&Tree::editNode), qzGNode2D& (Tree::*)(unsigned int)>);
static_assert(std::is_same_v<decltype(&Tree::getNodes), const std::vector<qzGNode2D>& (Tree::*)() const>);
static_assert(std::is_same_v<decltype(&Tree::editNodes), std::vector<qzGNode2D>& (Tree::*)()>);
static_assert(std::is_same_v<decltype(&Tree::getBVHInfo), void (Tree::*)(int&, int&, int&, int&, float&) const>);
static_assert(!std::is_polymorphic_v<Tree>);

QZ_TEST_HAS_MEMBER(getNode)
QZ_TEST_HAS_MEMBER(getOrCreateNode)
QZ_TEST_HAS_MEMBER(clearBVH)
QZ_TEST_HAS_MEMBER(swapBVH)
QZ_TEST_HAS_MEMBER(getMemoryUsed)
QZ_TEST_HAS_MEMBER(getNbNodes)
QZ_TEST_HAS_MEMBER(getPrimitives)
QZ_TEST_HAS_MEMBER(editPrimitives)
QZ_TEST_HAS_MEMBER(print)
QZ_TEST_HAS_MEMBER(setNode)
QZ_TEST_HAS_MEMBER(getBVHInfoIter)

template <class T, class = void>
constexpr bool isStreamed = false;
template <class T>
constexpr bool isStreamed<T, std::void_t<decltype(std::declval<std::ostream&>() << std::declval<const T&>())>> = true;

namespace {

Tree filledTree() {
  Tree tree;
  primitivesOf(tree) = {4, 2, 7};
  qzGNode2D node;
  node.setLeaf(1, 2);
  node.setBBox(qzBBox2D::Make(1.0f, 2.0f, 3.0f, 4.0f));
  nodesOf(tree) = {qzGNode2D(), node};
  nbPrimitivesOf(tree) = 3;
  nbNodesOf(tree) = 5;
  return tree;
}

bool sameContents(Tree& a, Tree& b) {
  return sameNodes(a, b) && primitivesOf(a) == primitivesOf(b) && nbPrimitivesOf(a) == nbPrimitivesOf(b) &&
         nbNodesOf(a) == nbNodesOf(b);
}

}  // namespace

TEST_CASE("a 2D hierarchy has no growth, clearing, swap, memory estimate, node count, primitive array or printing") {
  CHECK(has_getNode<Tree>);
  CHECK_FALSE(has_getOrCreateNode<Tree>);
  CHECK_FALSE(has_clearBVH<Tree>);
  CHECK_FALSE(has_swapBVH<Tree>);
  CHECK_FALSE(has_getMemoryUsed<Tree>);
  CHECK_FALSE(has_getNbNodes<Tree>);
  CHECK_FALSE(has_getPrimitives<Tree>);
  CHECK_FALSE(has_editPrimitives<Tree>);
  CHECK_FALSE(has_print<Tree>);
  CHECK(isStreamed<int>);
  CHECK_FALSE(isStreamed<Tree>);
}

TEST_CASE("setNode and getBVHInfoIter of a 2D hierarchy are not public") {
  CHECK_FALSE(has_setNode<Tree>);
  CHECK_FALSE(has_getBVHInfoIter<Tree>);
}

TEST_CASE("a default 2D hierarchy has empty arrays and counters of 0") {
  Tree tree;
  CHECK(tree.getNodes().empty());
  CHECK(primitivesOf(tree).empty());
  CHECK(nbPrimitivesOf(tree) == 0);
  CHECK(nbNodesOf(tree) == 0);
}

TEST_CASE("the members of a 2D hierarchy are in the order primitives, nodes, number of primitives, number of nodes") {
  Tree tree;
  const auto placeOf = [&](const void* member) {
    return static_cast<const unsigned char*>(member) - reinterpret_cast<const unsigned char*>(&tree);
  };
  CHECK(placeOf(&primitivesOf(tree)) == 0);
  CHECK(placeOf(&primitivesOf(tree)) < placeOf(&nodesOf(tree)));
  CHECK(placeOf(&nodesOf(tree)) < placeOf(&nbPrimitivesOf(tree)));
  CHECK(placeOf(&nbPrimitivesOf(tree)) < placeOf(&nbNodesOf(tree)));
}

TEST_CASE("the accessors of a 2D hierarchy return references to what is stored") {
  Tree tree = filledTree();
  const Tree& constTree = tree;
  CHECK(constTree.getPrimitive(0) == 4);
  CHECK(constTree.getPrimitive(2) == 7);
  CHECK(&constTree.getNode(1) == &nodesOf(tree)[1]);
  CHECK(&tree.editNode(1) == &nodesOf(tree)[1]);
  CHECK(&constTree.getNodes() == &nodesOf(tree));
  CHECK(&tree.editNodes() == &nodesOf(tree));
  tree.editNode(0).setNode(7, 8);
  CHECK(constTree.getNode(0).getRightChildIdx() == 8);
  CHECK(constTree.getNode(1).getNoPrimitives() == 2);
}

TEST_CASE("a copy of a 2D hierarchy is deep and has the same counters") {
  Tree source = filledTree(), copy = source, assigned;
  assigned = source;
  CHECK(sameContents(copy, source));
  CHECK(sameContents(assigned, source));
  CHECK(nodesOf(copy).data() != nodesOf(source).data());
  copy.editNode(1).setLeaf(0, 1);
  primitivesOf(copy)[0] = 9;
  Tree expected = filledTree();
  CHECK(sameContents(source, expected));
}

TEST_CASE("moving a 2D hierarchy transfers the storage and leaves empty arrays and the old counters") {
  Tree source = filledTree(), expected = filledTree();
  const void* const nodes = nodesOf(source).data();
  const void* const primitives = primitivesOf(source).data();
  Tree moved(std::move(source));
  CHECK(sameContents(moved, expected));
  CHECK(nodesOf(moved).data() == nodes);
  CHECK(primitivesOf(moved).data() == primitives);
  CHECK(nodesOf(source).empty());  // NOLINT: what is left is part of the contract
  CHECK(primitivesOf(source).empty());
  CHECK(nbPrimitivesOf(source) == 3);
  CHECK(nbNodesOf(source) == 5);

  Tree assigned = filledTree();
  assigned.editNodes().resize(100);
  assigned = std::move(moved);
  CHECK(sameContents(assigned, expected));
  CHECK(nodesOf(assigned).data() == nodes);
  CHECK(nodesOf(moved).empty());  // NOLINT
  CHECK(primitivesOf(moved).empty());
  CHECK(nbNodesOf(moved) == 5);
}

TEST_CASE("setNode in 2D copies into the array without growing it or changing the counter") {
  Tree tree;
  tree.editNodes().resize(3);
  const void* const storage = tree.getNodes().data();
  const std::size_t capacity = tree.getNodes().capacity();
  qzGNode2D node;
  node.setNode(7, 8);
  node.setBBox(qzBBox2D::Make(1.0f, 2.0f, 3.0f, 4.0f));
  setNode(tree, 2, node);
  CHECK(sameBits(tree.getNode(2), node));
  CHECK(sameBits(tree.getNode(0), qzGNode2D()));
  CHECK(sameBits(tree.getNode(1), qzGNode2D()));
  CHECK(tree.getNodes().size() == 3);
  CHECK(tree.getNodes().capacity() == capacity);
  CHECK(tree.getNodes().data() == storage);
  CHECK(nbNodesOf(tree) == 0);
}
