#include <doctest/doctest.h>

#include <optional>
#include <type_traits>
#include <utility>

#include "support/access/qzOpenBVH.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"
#include "support/qzHeapWatch.h"

using namespace qzTest;

namespace {

bool sameContents(const qzGenericBVH& a, const qzGenericBVH& b) {
  return sameNodes(a, b) && a.getPrimitives() == b.getPrimitives();
}

}  // namespace

TEST_CASE("accessors read what was stored") {
  qzGenericBVH bvh = smallBVH();
  CHECK(bvh.getPrimitive(0) == 2);
  CHECK(bvh.getPrimitive(2) == 1);
  CHECK(bvh.getPrimitives() == std::vector<unsigned int>{2, 0, 1});
  CHECK(bvh.getNbNodes() == 3);
  CHECK(bvh.getNodes().size() == 1024);
  const qzGenericBVH& constant = bvh;
  CHECK(&constant.getNode(2) == &bvh.getNode(2));
  CHECK(&constant.getNode(2) == &bvh.getNodes()[2]);
  CHECK(std::is_same_v<decltype(constant.getNode(0)), const qzGNode&>);
  CHECK(std::is_same_v<decltype(bvh.getNode(0)), qzGNode&>);
}

TEST_CASE("edit accessors change the hierarchy in place") {
  qzGenericBVH bvh = smallBVH();
  CHECK(&bvh.editPrimitives() == &bvh.getPrimitives());
  CHECK(&bvh.editNodes() == &bvh.getNodes());
  bvh.editPrimitives()[0] = 77;
  CHECK(bvh.getPrimitive(0) == 77);
  bvh.editNodes()[1].setLeaf(5, 6);
  CHECK(bvh.getNode(1).getNoPrimitives() == 6);
  bvh.getNode(1).setLeaf(7, 8);
  CHECK(bvh.getNodes()[1].getNoPrimitives() == 8);
}

TEST_CASE("the node counter is not the length of the array") {
  qzGenericBVH bvh = smallBVH();
  bvh.editNodes().resize(2);
  CHECK(bvh.getNbNodes() == 3);
}

TEST_CASE("a hierarchy is not polymorphic") {
  CHECK_FALSE(std::is_polymorphic_v<qzGenericBVH>);
}

TEST_CASE("a copy is deep: changing one leaves the other alone") {
  qzGenericBVH source = smallBVH();
  const qzGenericBVH reference = smallBVH();
  qzGenericBVH copy = source;
  CHECK(sameContents(copy, source));
  CHECK((nbPrimitivesOf(copy) == 3 && nbNodesOf(copy) == 3));
  CHECK(copy.getNodes().data() != source.getNodes().data());
  CHECK(copy.getPrimitives().data() != source.getPrimitives().data());
  copy.editPrimitives()[0] = 9;
  copy.getNode(0).setLeaf(1, 1);
  CHECK(sameContents(source, reference));

  qzGenericBVH assigned;
  getOrCreateNode(assigned, 5000);
  nbNodesOf(assigned) = 99;
  assigned = source;
  CHECK(sameContents(assigned, reference));
  CHECK((nbPrimitivesOf(assigned) == 3 && nbNodesOf(assigned) == 3));
  source.clearBVH();
  CHECK(sameContents(assigned, reference));
}

TEST_CASE("assigning a hierarchy to itself changes nothing") {
  qzGenericBVH bvh = smallBVH();
  qzGenericBVH& same = bvh;
  bvh = same;
  CHECK(sameContents(bvh, smallBVH()));
  CHECK((nbPrimitivesOf(bvh) == 3 && nbNodesOf(bvh) == 3));
}

TEST_CASE("a move takes the arrays and leaves the source's counters unchanged") {
  qzGenericBVH source = smallBVH();
  const qzGNode* nodes = source.getNodes().data();
  const unsigned int* primitives = source.getPrimitives().data();
  qzGenericBVH moved = std::move(source);
  CHECK((moved.getNodes().data() == nodes && moved.getPrimitives().data() == primitives));
  CHECK((nbPrimitivesOf(moved) == 3 && nbNodesOf(moved) == 3));
  CHECK((source.getNodes().empty() && source.getPrimitives().empty()));  // NOLINT: the header promises it
  CHECK((nbPrimitivesOf(source) == 3 && source.getNbNodes() == 3));

  qzGenericBVH target;
  target.editPrimitives() = {5, 6, 7, 8};
  getOrCreateNode(target, 0);
  target = std::move(moved);
  CHECK((target.getNodes().data() == nodes && target.getPrimitives().data() == primitives));
  CHECK((nbPrimitivesOf(target) == 3 && nbNodesOf(target) == 3));
  CHECK((moved.getNodes().empty() && moved.getPrimitives().empty()));  // NOLINT: the header promises it
  CHECK((nbPrimitivesOf(moved) == 3 && moved.getNbNodes() == 3));
}

TEST_CASE("a swap exchanges the storage and the counters, and copies no element") {
  qzGenericBVH a = smallBVH(), b;
  b.editPrimitives() = {4, 5};
  getOrCreateNode(b, 2000);
  nbPrimitivesOf(b) = 20;
  nbNodesOf(b) = 30;
  const qzGNode *aNodes = a.getNodes().data(), *bNodes = b.getNodes().data();
  const unsigned int *aPrimitives = a.getPrimitives().data(), *bPrimitives = b.getPrimitives().data();
  {
    const HeapWatch watch;
    a.swapBVH(b);
    CHECK((watch.nbAllocations() == 0 && watch.nbReleases() == 0));
  }
  CHECK((a.getNodes().data() == bNodes && b.getNodes().data() == aNodes));
  CHECK((a.getPrimitives().data() == bPrimitives && b.getPrimitives().data() == aPrimitives));
  CHECK((a.getNodes().size() == 2048 && b.getNodes().size() == 1024));
  CHECK((nbPrimitivesOf(a) == 20 && nbNodesOf(a) == 30));
  CHECK((nbPrimitivesOf(b) == 3 && nbNodesOf(b) == 3));
  CHECK(sameContents(b, smallBVH()));
}

TEST_CASE("swapping a hierarchy with itself changes nothing") {
  qzGenericBVH bvh = smallBVH();
  const qzGNode* nodes = bvh.getNodes().data();
  bvh.swapBVH(bvh);
  CHECK(bvh.getNodes().data() == nodes);
  CHECK(sameContents(bvh, smallBVH()));
  CHECK((nbPrimitivesOf(bvh) == 3 && nbNodesOf(bvh) == 3));
}

TEST_CASE("clearBVH frees the storage, primitives before nodes, and resets the counters") {
  qzGenericBVH bvh = smallBVH();
  const void* nodes = bvh.getNodes().data();
  const void* primitives = bvh.getPrimitives().data();
  {
    const HeapWatch watch;
    bvh.clearBVH();
    REQUIRE(watch.nbReleases() == 2);
    CHECK(watch.released(0) == primitives);
    CHECK(watch.released(1) == nodes);
  }
  CHECK((bvh.getPrimitives().capacity() == 0 && bvh.getNodes().capacity() == 0));
  CHECK((bvh.getNbNodes() == 0 && nbPrimitivesOf(bvh) == 0));
  CHECK(bvh.getMemoryUsed() == 8);
  bvh.clearBVH();
  CHECK(bvh.getMemoryUsed() == 8);
  getOrCreateNode(bvh, 0);
  CHECK(bvh.getNodes().size() == 1024);
}

TEST_CASE("destruction releases the node array, then the primitive array") {
  std::optional<qzGenericBVH> bvh(smallBVH());
  const void* nodes = bvh->getNodes().data();
  const void* primitives = bvh->getPrimitives().data();
  const HeapWatch watch;
  bvh.reset();
  REQUIRE(watch.nbReleases() == 2);
  CHECK(watch.released(0) == nodes);
  CHECK(watch.released(1) == primitives);
}

TEST_CASE("the memory figure counts capacities: 4 per primitive, 32 per node and 8") {
  qzGenericBVH bvh;
  CHECK(bvh.getMemoryUsed() == 8);
  bvh.editPrimitives().reserve(100);
  const std::uint64_t primitives = bvh.getPrimitives().capacity();
  CHECK(primitives >= 100);
  CHECK(bvh.getMemoryUsed() == 4 * primitives + 8);
  getOrCreateNode(bvh, 0);
  getOrCreateNode(bvh, 1500);
  nbNodesOf(bvh) = 1;
  CHECK(bvh.getMemoryUsed() == 4 * primitives + 32 * std::uint64_t(bvh.getNodes().capacity()) + 8);
  bvh.editNodes().resize(1);  // lengths do not count
  bvh.editPrimitives().resize(1);
  CHECK(bvh.getMemoryUsed() == 4 * primitives + 32 * std::uint64_t(bvh.getNodes().capacity()) + 8);
  CHECK(std::is_same_v<decltype(bvh.getMemoryUsed()), std::uint64_t>);
}
