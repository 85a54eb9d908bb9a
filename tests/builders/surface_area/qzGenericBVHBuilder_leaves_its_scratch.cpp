// A derived class can read the scratch arrays of a build, and anyone the capacity of its tree. Both are as the plain
// form leaves them.

#include <doctest/doctest.h>

#include "builders/surface_area/qzBothSAHBuilders.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

std::vector<qzBBox> onOnePoint(unsigned int count) {
  return std::vector<qzBBox>(count, qzBBox(Wm4::Vector3<float>(1.5f, -2.0f, 0.125f)));
}

}  // namespace

TEST_CASE("after a build the sort arrays are those of the last median split, the bins of the last binned node") {
  BothSAHBuilders both(randomBoxes(1500, 0.1f, 11));
  both.build();  // compares them
  const OpenSAHBuilder& builder = both.builder();
  CHECK(builder.mSortKeys[builder.mSortedPositions.front()] < builder.mSortKeys[builder.mSortedPositions.back()]);
  CHECK(builder.mBinCounts[builder.mNbBins - 1] >= 17);
}

TEST_CASE("with up to 8192 items every scratch entry is that of the plain form, also those of earlier splits") {
  for (const std::uint32_t count : {1026u, 2051u, 5000u, 8192u}) {
    INFO("count ", count);
    BothSAHBuilders(randomBoxes(count, 0.05f, 20 + count)).build();
  }
}

TEST_CASE("with more items the last median split leaves its entries, and the last binned node all bins") {
  for (const std::uint32_t count : {8193u, 40000u, 70000u}) {
    INFO("count ", count);
    BothSAHBuilders(randomBoxes(count, 0.02f, 30 + count)).build();
  }
}

TEST_CASE("items on one point are split at their median down to the deepest level, and leave all scratch entries") {
  BothSAHBuilders both(onOnePoint(40000));
  both.build();
  CHECK(bool(both.builder().mSortedPositions == both.plainBuilder().sortedPositions));
  CHECK(bool(both.builder().mSortScratch == both.plainBuilder().sortScratch));
}

TEST_CASE("operations that a derived class calls directly leave their scratch as the plain form does") {
  for (const std::uint32_t count : {17u, 900u, 1025u, 20000u}) {
    INFO("count ", count);
    BothSAHBuilders both(randomBoxes(count, 0.1f, 40 + count));
    both.findMedianSplitOfAll();
    both.buildIterOfAll();
  }
}

TEST_CASE("a tree that is rebuilt has the capacity of the plain form, whatever its node array was") {
  for (const std::size_t nbNodesBefore : {0u, 1u, 1023u, 1024u, 1025u, 1500u, 2048u, 3000u, 5000u}) {
    for (const std::uint32_t count : {0u, 1u, 1200u, 1500u, 1501u, 2047u, 2048u, 2049u, 2500u, 5001u}) {
      INFO(nbNodesBefore, " nodes before, ", count, " items");
      BothSAHBuilders both(randomBoxes(count, 0.1f, 50 + count));
      both.setNbNodes(nbNodesBefore);
      both.build();
    }
  }
}

TEST_CASE("the capacity of a rebuilt tree follows from resizing, not from reserving") {
  BothSAHBuilders smaller(randomBoxes(1200, 0.1f, 60));
  smaller.setNbNodes(1500);
  smaller.build();
  CHECK(smaller.nodes().capacity() == 1500);
}
