#include "builders/surface_area/qzBothSAHBuilders.h"

#include <doctest/doctest.h>

#include "support/qzBits.h"
#include "support/qzPrivateAccess.h"

namespace qzTest {

struct TreeNbPrimitives {
  using Type = unsigned int qzGenericBVH::*;
  friend Type privateMember(TreeNbPrimitives);
};
template struct PrivateAccess<TreeNbPrimitives, &qzGenericBVH::mNbPrimitives>;

unsigned int nbPrimitivesOf(const qzGenericBVH& tree) {
  return tree.*privateMember(TreeNbPrimitives());
}

bool operator==(const CostCall& a, const CostCall& b) {
  return sameBits(a.box, b.box) && a.count == b.count;
}

namespace {

std::string describe(const qzGNode& node) {
  const qzBBox& box = node.getBBox();
  std::string text = node.isLeaf() ? "leaf " : "inner ";
  for (const unsigned int word : {node.getAxis() >> 30, node.getLeftChildIdx(), node.getNoPrimitives()}) {
    text += std::to_string(word) + ' ';
  }
  for (const Wm4::Vector3<float>& corner : {box.getMinPoint(), box.getMaxPoint()}) {
    for (int c = 0; c < 3; ++c) text += std::to_string(corner[c]) + ' ';
  }
  return text;
}

// Empty when all nodes are the same.
std::string difference(const std::vector<qzGNode>& nodes, const std::vector<qzGNode>& plainNodes) {
  if (nodes.size() != plainNodes.size()) {
    return std::to_string(nodes.size()) + " nodes instead of " + std::to_string(plainNodes.size());
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (sameBits(nodes[i], plainNodes[i])) continue;
    return "node " + std::to_string(i) + ": " + describe(nodes[i]) + "instead of " + describe(plainNodes[i]);
  }
  return "";
}

}  // namespace

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

void BothSAHBuilders::build() {
  mBuilder.build(mTree);
  mPlainBuilder.build(mPlainTree);
  compare();
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
  CHECK(difference(mTree.getNodes(), mPlainTree.nodes) == "");
  CHECK(mTree.getNbNodes() == mPlainTree.nbNodes);
  CHECK(nbPrimitivesOf(mTree) == mPlainTree.nbPrimitives);
  CHECK(bool(mTree.getPrimitives() == mPlainTree.primitives));
  CHECK(bool(mBuilder.mItemIndices == mPlainBuilder.itemIndices));
}

}  // namespace qzTest
