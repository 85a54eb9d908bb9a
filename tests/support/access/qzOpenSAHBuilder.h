#pragma once
// qzGenericBVHBuilder with its protected members open.

#include <qzCommonAddOns/builders/qzGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <vector>

namespace qzTest {

class OpenSAHBuilder : public qzGenericBVHBuilder {
 public:
  using qzGenericBVHBuilder::buildIter;
  using qzGenericBVHBuilder::computeBinning;
  using qzGenericBVHBuilder::findMedianSplit;
  using qzGenericBVHBuilder::findSplitPlane;
  using qzGenericBVHBuilder::getCoord;
  using qzGenericBVHBuilder::resizeItems;
  using qzGenericBVHBuilder::setSAH;
  using qzGenericBVHBuilder::splitNode;

  using qzGenericBVHBuilder::mBinCounts;
  using qzGenericBVHBuilder::mBinLeftBBoxes;
  using qzGenericBVHBuilder::mBinOffsetY;
  using qzGenericBVHBuilder::mBinOffsetZ;
  using qzGenericBVHBuilder::mBinRightBBoxes;
  using qzGenericBVHBuilder::mItemBBoxes;
  using qzGenericBVHBuilder::mItemIndices;
  using qzGenericBVHBuilder::mNbBins;
  using qzGenericBVHBuilder::mNbItems;
  using qzGenericBVHBuilder::mSAH;
  using qzGenericBVHBuilder::mSceneBBox;
  using qzGenericBVHBuilder::mSortedPositions;
  using qzGenericBVHBuilder::mSortKeys;
  using qzGenericBVHBuilder::mSortScratch;

  OpenSAHBuilder() = default;
  /// Items in order, the union of their boxes for the scene.
  explicit OpenSAHBuilder(const std::vector<qzBBox>& boxes) { fill(boxes); }

  void fill(const std::vector<qzBBox>& boxes) {
    resizeItems(static_cast<int>(boxes.size()));
    mItemBBoxes = boxes;
    mSceneBBox = qzBBox();
    for (unsigned int i = 0; i < boxes.size(); ++i) {
      mItemIndices[i] = i;
      mSceneBBox.selfUnion(boxes[i]);
    }
  }
};

}  // namespace qzTest
