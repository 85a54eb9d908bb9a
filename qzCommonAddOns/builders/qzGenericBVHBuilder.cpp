#include <qzCommonAddOns/builders/qzGenericBVHBuilder.h>

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzAxis.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/build/qzRadixSelect.h>
#include <qzCommonAddOns/qzDetail/build/qzSurfaceAreaCost.h>
#include <qzCommonAddOns/qzDetail/build/qzSurfaceAreaSplit.h>
#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

// The leak checker must ignore one object that is leaked on purpose.
#if defined(__has_feature)
#define QZ_HAS_FEATURE(feature) __has_feature(feature)
#else
#define QZ_HAS_FEATURE(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || QZ_HAS_FEATURE(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define QZ_NEVER_FREED(object) __lsan_ignore_object(object)
#else
#define QZ_NEVER_FREED(object) static_cast<void>(object)
#endif

using qzDetail::componentOf;
using qzDetail::tBoxLanes;
using qzDetail::tFloatMode;
using Point = Wm4::Vector3<float>;

namespace {

constexpr unsigned int kMaxItemsPerLeaf = 16;
constexpr unsigned int kMaxItemsToBin = 1024;
constexpr unsigned int kMaxItemsToSort = 1u << 13;
constexpr int kMaxDepth = 32;
constexpr qzBBox::tAxis kAxes[3] = {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ};

static_assert(kMaxItemsToBin <= qzDetail::kMaxItemsOfSplit);

// Ownership is ambiguous, because setSAH may replace the functor while copies of the builder share it. So it is leaked.
const qzSAHFunctionoid* makeDefaultSAH() {
  const auto* sah = new qzDefaultSAH;
  QZ_NEVER_FREED(sah);
  return sah;
}

// Whether sah is a qzDefaultSAH and of no derived class. A functor has no data, so its bytes are its pointer to virtual
// functions: equal bytes mean the same f. typeid is no alternative, because callers may be compiled without it.
bool isDefaultSAH(const qzSAHFunctionoid& sah) {
  static_assert(sizeof(qzSAHFunctionoid) == sizeof(void*) && sizeof(qzDefaultSAH) == sizeof(void*));
  const qzDefaultSAH reference;
  const qzSAHFunctionoid& base = reference;
  return std::memcmp(static_cast<const void*>(&sah), static_cast<const void*>(&base), sizeof(qzSAHFunctionoid)) == 0;
}

float centroidOf(const qzBBox& bbox, int component) {
  return (bbox.getMinPoint()[component] + bbox.getMaxPoint()[component]) * 0.5f;
}

// Sort key of an item: the bits of its centroid's distance from min. Of two NaN operands the first is kept; this is
// written out because a compiler may swap the operands of a sum.
std::uint32_t medianKey(const qzBBox& bbox, int component, float min) {
  const float low = bbox.getMinPoint()[component], high = bbox.getMaxPoint()[component];
  const float sum = low != low ? low : low + high;
  const float distance = sum * 0.5f - min;
  std::uint32_t key;
  std::memcpy(&key, &distance, sizeof key);
  return key;
}

// The plane along the upper boundary of a bin.
float planeAbove(unsigned int bin, unsigned int nbBins, const qzBBox& node, int component) {
  const float min = node.getMinPoint()[component], max = node.getMaxPoint()[component];
  return ((max - min) * static_cast<float>(bin + 1)) / static_cast<float>(nbBins) + min;
}

}  // namespace

qzGenericBVHBuilder::qzGenericBVHBuilder()
    : mBinCounts(3 * kNbBins), mBinLeftBBoxes(3 * kNbBins), mBinRightBBoxes(3 * kNbBins), mSAH(makeDefaultSAH()) {}

qzGenericBVHBuilder::~qzGenericBVHBuilder() = default;

void qzGenericBVHBuilder::resizeItems(int n) {
  const auto nbItems = static_cast<std::size_t>(n);
  mItemBBoxes.resize(nbItems);
  mItemIndices.resize(nbItems);
  mSortedPositions.resize(nbItems);
  mSortScratch.resize(nbItems);
  mSortKeys.resize(nbItems);
  mNbItems = static_cast<unsigned int>(n);
}

void qzGenericBVHBuilder::setSAH(const qzSAHFunctionoid* sah) {
  mSAH = sah;
}

float qzGenericBVHBuilder::getCoord(qzBBox::tAxis axis, const Point& v) {
  return v[componentOf(axis)];
}

void qzGenericBVHBuilder::build(qzGenericBVH& bvh) {
  const tFloatMode mode;
  bvh.mNbNodes = 0;
  bvh.mNbPrimitives = mNbItems;

  // Room for a node per item, rounded up as in getOrCreateNode, in 32 bits: none for no items. resize and clear instead
  // of reserve: the resulting capacity is part of the contract.
  constexpr unsigned int kStep = qzGenericBVH::kNodeGrowthStep;
  if (!(mNbItems - 1 < bvh.mNodes.size())) bvh.mNodes.resize((mNbItems - 1 + kStep) & ~(kStep - 1));
  bvh.mNodes.clear();

  bvh.getOrCreateNode(0).setBBox(mSceneBBox);
  bvh.mNbNodes = 1;
  buildIter(0, bvh, 0, mNbItems, 0);
  bvh.mPrimitives = mItemIndices;
}

// The recursion below one node. It selects medians and skips the bins where later nodes overwrite the scratch arrays of
// a full sort or binning, and leaves the arrays of the last ones as those would.
struct qzGenericBVHBuilder::tRecursion {
  qzGenericBVHBuilder& mBuilder;
  qzGenericBVH& mBVH;

  // Items of the last binned node, in their order before the split, if its bins are not filled yet.
  unsigned int mBinnedNode = 0, mNbBinnedItems = 0;
  unsigned int mBinnedItems[kMaxItemsToBin];

  tRecursion(qzGenericBVHBuilder& builder, qzGenericBVH& bvh) : mBuilder(builder), mBVH(bvh) {}

  // nbSorted  items of the largest node that will certainly be split at its median later
  void buildNode(unsigned int node, unsigned int start, unsigned int count, int depth, unsigned int nbSorted) {
    qzBBox::tAxis axis;
    float plane;
    if (findSplit(node, start, count, depth, nbSorted, axis, plane)) {
      splitNode(node, start, count, axis, plane, depth, nbSorted);
    } else {
      mBVH.getNode(node).setLeaf(start, count);
    }
  }

  void splitNode(unsigned int node, unsigned int start, unsigned int count, qzBBox::tAxis axis, float plane, int depth,
                 unsigned int nbSorted) {
    // Swaps an item right of the plane with the last unexamined item, which is examined next.
    unsigned int* const items = mBuilder.mItemIndices.data();
    const qzBBox* const bboxes = mBuilder.mItemBBoxes.data();
    const int component = componentOf(axis);
    tBoxLanes left, right;
    unsigned int i = start, j = start + count - 1;
    for (unsigned int k = 0; k < count; ++k) {
      const unsigned int item = items[i];
      const qzBBox& bbox = bboxes[item];
      if (plane >= centroidOf(bbox, component)) {
        left.unite(tBoxLanes(bbox));
        ++i;
      } else {
        right.unite(tBoxLanes(bbox));
        items[i] = items[j];
        items[j] = item;
        --j;
      }
    }

    // The node array may be reallocated here, so the parent is accessed afterwards.
    const unsigned int leftChild = mBVH.mNbNodes, rightChild = leftChild + 1;
    mBVH.mNbNodes += 2;
    left.storeTo(mBVH.getOrCreateNode(leftChild));
    right.storeTo(mBVH.getOrCreateNode(rightChild));
    mBVH.getNode(node).setNode(axis, leftChild, rightChild, plane);

    const unsigned int nbLeft = i - start, nbRight = count - nbLeft;
    const bool isRightSorted = nbRight > kMaxItemsToBin && depth + 1 < kMaxDepth;
    buildNode(leftChild, start, nbLeft, depth + 1, isRightSorted ? std::max(nbSorted, nbRight) : nbSorted);
    buildNode(rightChild, i, nbRight, depth + 1, nbSorted);
  }

  // Fills the bins of the last binned node.
  void finish() {
    if (mNbBinnedItems > 0) fillBins(mBuilder, mBVH.getNode(mBinnedNode), mBinnedItems, mNbBinnedItems);
  }

  // Fills the bins with the items of a node, as computeBinning does.
  static void fillBins(qzGenericBVHBuilder& builder, const qzGNode& node, const unsigned int* items,
                       unsigned int count) {
    const qzBBox& bbox = node.getBBox();
    const unsigned int lastBin = builder.mNbBins - 1;
    const unsigned int offsets[3] = {0, builder.mBinOffsetY, builder.mBinOffsetZ};
    qzDetail::tGridAxis grid[3];
    for (int i = 0; i < 3; ++i) {
      const float min = bbox.getMinPoint()[i], max = bbox.getMaxPoint()[i];
      grid[i] = {min, static_cast<float>(builder.mNbBins) / (max - min)};
      std::fill_n(&builder.mBinCounts[offsets[i]], builder.mNbBins, 0u);
      std::fill_n(&builder.mBinLeftBBoxes[offsets[i]], builder.mNbBins, qzBBox());
    }

    // Put every item into one bin per axis.
    for (unsigned int p = 0; p < count; ++p) {
      const qzBBox& item = builder.mItemBBoxes[items[p]];
      for (int i = 0; i < 3; ++i) {
        const unsigned int bin = offsets[i] + grid[i].cellOf(centroidOf(item, i), lastBin);
        ++builder.mBinCounts[bin];
        tBoxLanes box(builder.mBinLeftBBoxes[bin]);
        box.unite(tBoxLanes(item));
        box.store(builder.mBinLeftBBoxes[bin]);
      }
    }

    // Suffix boxes from the boxes of single bins, then prefix counts and prefix boxes in place.
    for (const unsigned int offset : offsets) {
      unsigned int* counts = &builder.mBinCounts[offset];
      qzBBox *lefts = &builder.mBinLeftBBoxes[offset], *rights = &builder.mBinRightBBoxes[offset];
      tBoxLanes right(lefts[lastBin]);
      rights[lastBin] = lefts[lastBin];
      for (unsigned int j = lastBin; j-- > 0;) {
        right.unite(tBoxLanes(lefts[j]));
        right.store(rights[j]);
      }
      tBoxLanes left(lefts[0]);
      for (unsigned int j = 1; j <= lastBin; ++j) {
        left.unite(tBoxLanes(lefts[j]));
        left.store(lefts[j]);
        counts[j] += counts[j - 1];
      }
    }
  }

  // The median centroid by sorting. Leaves the sort's arrays as findMedianSplit does.
  static float sortedMedian(qzGenericBVHBuilder& builder, const qzGNode& node, unsigned int start, unsigned int count,
                            qzBBox::tAxis axis) {
    const int component = componentOf(axis);
    computeMedianKeys(builder, node, start, count, component);
    unsigned int* positions = builder.mSortedPositions.data();
    qzDetail::sortPositions(builder.mSortKeys.data(), count, positions, builder.mSortScratch.data());
    return centroidOf(builder.mItemBBoxes[builder.mItemIndices[start + positions[count >> 1]]], component);
  }

 private:
  // The same median by selection. Leaves the first count entries of mSortedPositions and mSortScratch unspecified.
  static float selectedMedian(qzGenericBVHBuilder& builder, const qzGNode& node, unsigned int start, unsigned int count,
                              qzBBox::tAxis axis) {
    const int component = componentOf(axis);
    computeMedianKeys(builder, node, start, count, component);
    const unsigned int median = qzDetail::positionOfRank(builder.mSortKeys.data(), count, count >> 1,
                                                         builder.mSortedPositions.data(), builder.mSortScratch.data());
    return centroidOf(builder.mItemBBoxes[builder.mItemIndices[start + median]], component);
  }

  static void computeMedianKeys(qzGenericBVHBuilder& builder, const qzGNode& node, unsigned int start,
                                unsigned int count, int component) {
    const float min = node.getBBox().getMinPoint()[component];
    const unsigned int* const items = &builder.mItemIndices[start];
    const qzBBox* const bboxes = builder.mItemBBoxes.data();
    unsigned int* const keys = builder.mSortKeys.data();
    for (unsigned int j = 0; j < count; ++j) keys[j] = medianKey(bboxes[items[j]], component, min);
  }

  // Axis and plane of a split, or false for a leaf.
  bool findSplit(unsigned int node, unsigned int start, unsigned int count, int depth, unsigned int nbSorted,
                 qzBBox::tAxis& axis, float& plane) {
    if (count <= kMaxItemsPerLeaf || depth >= kMaxDepth) return false;
    const qzGNode& here = mBVH.getNode(node);
    if (count > kMaxItemsToBin) {
      here.getBBox().getMaxExtent(axis);
      // Later splits overwrite the first nbSorted entries of the sort's arrays. A large node whose children are split
      // at their median leaves about half of its entries unsorted: sorting them could take a tenth of a build.
      const bool isSeen = count > nbSorted && (count <= kMaxItemsToSort || depth + 1 == kMaxDepth);
      plane = isSeen ? sortedMedian(mBuilder, here, start, count, axis)
                     : selectedMedian(mBuilder, here, start, count, axis);
      return true;
    }
    if (mBuilder.mNbBins <= qzDetail::kMaxBinsOfSplit && isDefaultSAH(*mBuilder.mSAH)) {
      mBinnedNode = node;
      mNbBinnedItems = count;
      std::copy_n(&mBuilder.mItemIndices[start], count, mBinnedItems);
      return mBuilder.findDefaultSplitPlane(here, start, count, axis, plane);
    }
    mNbBinnedItems = 0;
    mBuilder.computeBinning(here, start, count);
    return mBuilder.findSplitPlane(here, count, axis, plane);
  }
};

void qzGenericBVHBuilder::buildIter(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count,
                                    int depth) {
  const tFloatMode mode;
  tRecursion recursion(*this, bvh);
  recursion.buildNode(node, start, count, depth, 0);
  recursion.finish();
}

void qzGenericBVHBuilder::splitNode(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count,
                                    qzBBox::tAxis axis, float plane, int depth) {
  const tFloatMode mode;
  tRecursion recursion(*this, bvh);
  recursion.splitNode(node, start, count, axis, plane, depth, 0);
  recursion.finish();
}

void qzGenericBVHBuilder::computeBinning(const qzGNode& node, unsigned int start, unsigned int count) {
  const tFloatMode mode;
  tRecursion::fillBins(*this, node, mItemIndices.data() + start, count);
}

bool qzGenericBVHBuilder::findSplitPlane(const qzGNode& node, unsigned int count, qzBBox::tAxis& axis, float& plane) {
  const tFloatMode mode;
  const unsigned int offsets[3] = {0, mBinOffsetY, mBinOffsetZ};
  float best = std::numeric_limits<float>::infinity();
  int bestComponent = 0;
  unsigned int bestBin = 0;
  for (int i = 0; i < 3; ++i) {
    for (unsigned int j = 0; j + 1 < mNbBins; ++j) {
      const unsigned int bin = offsets[i] + j;
      const float left = mSAH->f(mBinLeftBBoxes[bin], mBinCounts[bin]);
      const float right = mSAH->f(mBinRightBBoxes[bin + 1], count - mBinCounts[bin]);
      const float cost = left + right;
      if (cost < best) {
        best = cost;
        bestComponent = i;
        bestBin = j;
      }
    }
  }
  if (!(best < mSAH->f(node.getBBox(), count))) return false;
  axis = kAxes[bestComponent];
  plane = planeAbove(bestBin, mNbBins, node.getBBox(), bestComponent);
  return true;
}

bool qzGenericBVHBuilder::findDefaultSplitPlane(const qzGNode& node, unsigned int start, unsigned int count,
                                                qzBBox::tAxis& axis, float& plane) const {
  const qzBBox& bbox = node.getBBox();
  const qzDetail::tSplit best = qzDetail::cheapestSplit(bbox, mItemBBoxes.data(), &mItemIndices[start], count, mNbBins);
  if (!(best.mCost < qzDetail::surfaceAreaCost(bbox, count))) return false;
  axis = kAxes[best.mComponent];
  plane = planeAbove(best.mBin, mNbBins, bbox, best.mComponent);
  return true;
}

void qzGenericBVHBuilder::findMedianSplit(const qzGNode& node, unsigned int start, unsigned int count,
                                          qzBBox::tAxis& axis, float& plane) {
  const tFloatMode mode;
  plane = tRecursion::sortedMedian(*this, node, start, count, axis);
}
