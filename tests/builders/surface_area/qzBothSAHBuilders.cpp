#include "builders/surface_area/qzBothSAHBuilders.h"

#include <doctest/doctest.h>

#include <algorithm>

#include "support/access/qzOpenBVH.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

namespace qzTest {

bool operator==(const CostCall& a, const CostCall& b) {
  return sameBits(a.box, b.box) && a.count == b.count;
}

BothSAHBuilders::BothSAHBuilders(const std::vector<qzBBox>& boxes) : mBuilder(boxes) {
  mPlainBuilder.resizeItems(static_cast<int>(boxes.size()));
  mPlainBuilder.itemBBoxes = boxes;
  mPlainBuilder.itemIndices = mBuilder.mItemIndices;
  mPlainBuilder.sceneBBox = mBuilder.mSceneBBox;
}

void BothSAHBuilders::setSceneBBox(const qzBBox& box) {
  mBuilder.mSceneBBox = box;
  mPlainBuilder.sceneBBox = box;
}

void BothSAHBuilders::setItemIndices(const std::vector<unsigned int>& indices) {
  mBuilder.mItemIndices = indices;
  mPlainBuilder.itemIndices = indices;
}

void BothSAHBuilders::setNbBins(unsigned int nbBins) {
  mBuilder.mNbBins = nbBins;
  mPlainBuilder.nbBins = nbBins;
}

void BothSAHBuilders::setNbNodes(std::size_t count) {
  mTree.editNodes() = std::vector<qzGNode>(count);
  mPlainTree.nodes = std::vector<qzGNode>(count);
}

void BothSAHBuilders::build() {
  mBuilder.build(mTree);
  mPlainBuilder.build(mPlainTree);
  compare();
  compareBins();
  // A median split has more than 1024 items. In large builds, earlier and larger splits may leave their entries
  // unsorted.
  const std::size_t nbItems = mPlainBuilder.itemBBoxes.size();
  compareSort(nbItems <= 8192 ? nbItems : 1025);
}

void BothSAHBuilders::findMedianSplitOfAll() {
  qzGNode all;
  all.setBBox(mBuilder.mSceneBBox);
  qzBBox::tAxis axis = qzBBox::eAxisX;
  float plane = 0.0f, plainPlane = 1.0f;
  mBuilder.findMedianSplit(all, 0, mBuilder.mNbItems, axis, plane);
  mPlainBuilder.findMedianSplit(all, 0, mPlainBuilder.nbItems, axis, plainPlane);
  CHECK(sameBits(plane, plainPlane));
  compareSort(mBuilder.mNbItems);
}

void BothSAHBuilders::buildIterOfAll() {
  qzGNode all;
  all.setBBox(mBuilder.mSceneBBox);
  setNbNodes(1024);
  mTree.getNode(0) = all;
  mPlainTree.nodes[0] = all;
  nbNodesOf(mTree) = mPlainTree.nbNodes = 1;
  mBuilder.buildIter(0, mTree, 0, mBuilder.mNbItems, 0);
  mPlainBuilder.buildIter(0, mPlainTree, 0, mPlainBuilder.nbItems, 0);
  CHECK(differenceOfNodes(mTree.getNodes(), mPlainTree.nodes) == "");
  compareBins();
}

std::vector<CostCall> BothSAHBuilders::build(NotingSAH::Formula formula) {
  const NotingSAH sah(formula), plainSAH(formula);
  const qzSAHFunctionoid* const previous = mBuilder.mSAH;
  mBuilder.setSAH(&sah);
  mPlainBuilder.sah = &plainSAH;
  build();
  mBuilder.setSAH(previous);
  mPlainBuilder.sah = &mPlainBuilder.defaultSAH;
  CHECK(sah.calls().size() == plainSAH.calls().size());
  CHECK(bool(sah.calls() == plainSAH.calls()));
  return sah.calls();
}

void BothSAHBuilders::compare() const {
  CHECK(differenceOfNodes(mTree.getNodes(), mPlainTree.nodes) == "");
  CHECK(mTree.getNbNodes() == mPlainTree.nbNodes);
  CHECK(nbPrimitivesOf(mTree) == mPlainTree.nbPrimitives);
  CHECK(bool(mTree.getPrimitives() == mPlainTree.primitives));
  CHECK(bool(mBuilder.mItemIndices == mPlainBuilder.itemIndices));
  CHECK(mTree.getNodes().capacity() == mPlainTree.nodes.capacity());
}

void BothSAHBuilders::compareSort(std::size_t nbEntries) const {
  const auto sameEntries = [=](const std::vector<unsigned int>& a, const std::vector<unsigned int>& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(nbEntries), b.begin());
  };
  CHECK(sameEntries(mBuilder.mSortKeys, mPlainBuilder.sortKeys));
  CHECK(sameEntries(mBuilder.mSortedPositions, mPlainBuilder.sortedPositions));
  CHECK(sameEntries(mBuilder.mSortScratch, mPlainBuilder.sortScratch));
}

void BothSAHBuilders::compareBins() const {
  CHECK(bool(mBuilder.mBinCounts == mPlainBuilder.binCounts));
  CHECK(sameBoxes(mBuilder.mBinLeftBBoxes, mPlainBuilder.binLeftBBoxes));
  CHECK(sameBoxes(mBuilder.mBinRightBBoxes, mPlainBuilder.binRightBBoxes));
}

}  // namespace qzTest
