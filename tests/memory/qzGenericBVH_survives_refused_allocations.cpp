// Copies, assignments, growth and texts of the binary hierarchies when an allocation fails.

#include <doctest/doctest.h>

#include <iostream>

#include "support/access/qzOpenBVH.h"
#include "support/access/qzOpenBVH2D.h"
#include "support/access/qzSameTrees.h"
#include "support/qzRefusals.h"
#include "support/qzStandardStream.h"

using namespace qzTest;

namespace {

qzGenericBVH2D smallBVH2D() {
  qzGenericBVH2D bvh;
  qzGNode2D root, leaf;
  root.setNode(1, 2);
  leaf.setLeaf(0, 2);
  bvh.editNodes() = {root, leaf, leaf};
  primitivesOf(bvh) = {1, 0};
  nbPrimitivesOf(bvh) = 2;
  nbNodesOf(bvh) = 3;
  return bvh;
}

bool sameTree2D(qzGenericBVH2D& a, qzGenericBVH2D& b) {
  return sameNodes(a, b) && primitivesOf(a) == primitivesOf(b);
}

/// Discards what is written, without an allocation.
class Nowhere : public std::streambuf {
 public:
  Nowhere() : mPrevious(std::cout.rdbuf(this)) {}
  ~Nowhere() override { std::cout.rdbuf(mPrevious); }
  Nowhere(const Nowhere&) = delete;
  Nowhere& operator=(const Nowhere&) = delete;

 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }

 private:
  std::streambuf* mPrevious;
};

}  // namespace

TEST_CASE("a failed copy of a hierarchy throws and leaves the source unchanged, and a later one succeeds") {
  const qzGenericBVH source = smallBVH();
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    const bool isRefused = refusal.strikes([&] { static_cast<void>(qzGenericBVH(source)); });
    const qzGenericBVH copy(source);
    CHECK(sameTree(copy, source));
    return isRefused;
  });
  CHECK(nbRefused == 2);  // nodes and primitives
  CHECK(sameTree(source, smallBVH()));
}

TEST_CASE("after a failed assignment a hierarchy can be assigned to again") {
  const qzGenericBVH source = smallBVH();
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    qzGenericBVH target;
    target.editPrimitives() = {7};
    target.editNodes().resize(1);
    const bool isRefused = refusal.strikes([&] { target = source; });
    CHECK(target.getMemoryUsed() >= 8 + 4 + 32);  // valid after the failure
    target = source;
    CHECK(sameTree(target, source));
    return isRefused;
  });
  CHECK(nbRefused == 2);
}

TEST_CASE("moves, swaps and clearing do not allocate") {
  qzGenericBVH source = smallBVH();
  const HeapWatch watch;
  qzGenericBVH moved(std::move(source)), other;
  other = std::move(moved);
  other.swapBVH(source);
  source.clearBVH();
  CHECK(watch.nbAllocations() == 0);
}

TEST_CASE("a node array whose growth fails keeps its nodes") {
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    qzGenericBVH bvh = smallBVH();
    const bool isRefused = refusal.strikes([&] { getOrCreateNode(bvh, 5000); });
    CHECK(bvh.getNodes().size() == (isRefused ? 1024 : 5120));
    CHECK(sameBits(bvh.getNode(2), smallBVH().getNode(2)));
    getOrCreateNode(bvh, 5000);
    CHECK(bvh.getNodes().size() == 5120);
    return isRefused;
  });
  CHECK(nbRefused == 1);
}

TEST_CASE("a 2D hierarchy whose copy or assignment fails throws and can be used again") {
  qzGenericBVH2D source = smallBVH2D();
  const std::uint64_t nbOfCopy = refuseEachInTurn([&](const Refusal& refusal) {
    const bool isRefused = refusal.strikes([&] { static_cast<void>(qzGenericBVH2D(source)); });
    qzGenericBVH2D copy(source);
    CHECK(sameTree2D(copy, source));
    return isRefused;
  });
  const std::uint64_t nbOfAssignment = refuseEachInTurn([&](const Refusal& refusal) {
    qzGenericBVH2D target;
    const bool isRefused = refusal.strikes([&] { target = source; });
    target = source;
    CHECK(sameTree2D(target, source));
    return isRefused;
  });
  CHECK(nbOfCopy == 2);
  CHECK(nbOfAssignment == 2);
}

TEST_CASE("statistics and texts do not allocate") {
  const qzGenericBVH bvh = smallBVH();
  qzGenericBVH2D bvh2D = smallBVH2D();
  const Nowhere nowhere;
  int nbNodes, nbLeaves, min, max;
  float average;
  std::size_t nbAllocations;
  {
    const HeapWatch watch;
    bvh.getBVHInfo(nbNodes, nbLeaves, min, max, average);
    bvh.print();
    std::cout << bvh;
    bvh2D.getBVHInfo(nbNodes, nbLeaves, min, max, average);
    nbAllocations = watch.nbAllocations();
  }
  CHECK(nbAllocations == 0);
}

TEST_CASE("a text into a stream without memory is lost, and the next one is complete") {
  const qzGenericBVH bvh = smallBVH();
  const auto write = [&] {
    bvh.print();
    std::cout << bvh;
  };
  std::string whole;
  {
    const StandardStream stream;
    write();
    whole = stream.text();
  }
  CHECK(whole.size() > 100);
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    bool isRefused;
    {
      const StandardStream stream;
      isRefused = refusal.isSwallowedBy(write);
      CHECK(std::cout.good() == !isRefused);
      std::cout.clear();
    }
    const StandardStream stream;
    write();
    CHECK(stream.text() == whole);
    return isRefused;
  });
  CHECK(nbRefused > 0);
}
