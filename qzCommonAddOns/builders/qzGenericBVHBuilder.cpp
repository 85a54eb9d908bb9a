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
#include <typeinfo>

// The leak checker is told of the one object that is meant to stay.
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
constexpr int kMaxDepth = 32;
constexpr qzBBox::tAxis kAxes[3] = {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ};

static_assert(kMaxItemsToBin <= qzDetail::kMaxItemsOfSplit);

// Whose it is nobody can tell: setSAH may replace it, but copies of the builder share it.
const qzSAHFunctionoid* makeDefaultSAH() {
  const auto* sah = new qzDefaultSAH;
  QZ_NEVER_FREED(sah);
  return sah;
}

float centroidOf(const qzBBox& bbox, int component) {
  return (bbox.getMinPoint()[component] + bbox.getMaxPoint()[component]) * 0.5f;
}

// Sort key of an item: the bits of its centroid's distance from min. Of two NaN the first counts, which has to be said
// as a compiler may swap the operands of a sum.
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

  // Room for a node per item, by the growth rule in 32 bits: none for no items.
  constexpr unsigned int kStep = qzGenericBVH::kNodeGrowthStep;
  bvh.mNodes.clear();
  bvh.mNodes.reserve((mNbItems - 1 + kStep) & ~(kStep - 1));

  bvh.getOrCreateNode(0).setBBox(mSceneBBox);
  bvh.mNbNodes = 1;
  buildIter(0, bvh, 0, mNbItems, 0);
  bvh.mPrimitives = mItemIndices;
}

void qzGenericBVHBuilder::buildIter(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count,
                                    int depth) {
  qzGNode& here = bvh.getNode(node);
  qzBBox::tAxis axis;
  float plane;
  bool isSplit;
  if (count <= kMaxItemsPerLeaf || depth >= kMaxDepth) {
    isSplit = false;
  } else if (count > kMaxItemsToBin) {
    here.getBBox().getMaxExtent(axis);
    findMedianSplit(here, start, count, axis, plane);
    isSplit = true;
  } else if (mNbBins <= qzDetail::kMaxBinsOfSplit && typeid(*mSAH) == typeid(qzDefaultSAH)) {
    isSplit = findDefaultSplitPlane(here, start, count, axis, plane);
  } else {
    computeBinning(here, start, count);
    isSplit = findSplitPlane(here, count, axis, plane);
  }

  if (isSplit) {
    splitNode(node, bvh, start, count, axis, plane, depth);
  } else {
    here.setLeaf(start, count);
  }
}

void qzGenericBVHBuilder::computeBinning(const qzGNode& node, unsigned int start, unsigned int count) {
  const qzBBox& bbox = node.getBBox();
  const unsigned int lastBin = mNbBins - 1;
  const unsigned int offsets[3] = {0, mBinOffsetY, mBinOffsetZ};
  qzDetail::tGridAxis grid[3];
  for (int i = 0; i < 3; ++i) {
    const float min = bbox.getMinPoint()[i], max = bbox.getMaxPoint()[i];
    grid[i] = {min, static_cast<float>(mNbBins) / (max - min)};
    std::fill_n(&mBinCounts[offsets[i]], mNbBins, 0u);
    std::fill_n(&mBinLeftBBoxes[offsets[i]], mNbBins, qzBBox());
  }

  // Every item into a bin of each axis.
  for (unsigned int p = start; p < start + count; ++p) {
    const qzBBox& item = mItemBBoxes[mItemIndices[p]];
    for (int i = 0; i < 3; ++i) {
      const unsigned int bin = offsets[i] + grid[i].cellOf(centroidOf(item, i), lastBin);
      ++mBinCounts[bin];
      tBoxLanes box(mBinLeftBBoxes[bin]);
      box.unite(tBoxLanes(item));
      box.store(mBinLeftBBoxes[bin]);
    }
  }

  // Boxes of the bins from j on, while the left boxes are still those of single bins; then counts and boxes up to j.
  for (const unsigned int offset : offsets) {
    unsigned int* counts = &mBinCounts[offset];
    qzBBox *lefts = &mBinLeftBBoxes[offset], *rights = &mBinRightBBoxes[offset];
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

bool qzGenericBVHBuilder::findSplitPlane(const qzGNode& node, unsigned int count, qzBBox::tAxis& axis, float& plane) {
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
  const int component = componentOf(axis);
  const float min = node.getBBox().getMinPoint()[component];
  const unsigned int* items = &mItemIndices[start];
  for (unsigned int j = 0; j < count; ++j) mSortKeys[j] = medianKey(mItemBBoxes[items[j]], component, min);
  const unsigned int median =
      qzDetail::positionOfRank(mSortKeys.data(), count, count >> 1, mSortedPositions.data(), mSortScratch.data());
  plane = centroidOf(mItemBBoxes[items[median]], component);
}

void qzGenericBVHBuilder::splitNode(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count,
                                    qzBBox::tAxis axis, float plane, int depth) {
  // Items right of the plane change places with the last one not yet looked at, which is looked at next.
  const int component = componentOf(axis);
  tBoxLanes left, right;
  unsigned int i = start, j = start + count - 1;
  for (unsigned int k = 0; k < count; ++k) {
    const unsigned int item = mItemIndices[i];
    const qzBBox& bbox = mItemBBoxes[item];
    if (plane >= centroidOf(bbox, component)) {
      left.unite(tBoxLanes(bbox));
      ++i;
    } else {
      right.unite(tBoxLanes(bbox));
      mItemIndices[i] = mItemIndices[j];
      mItemIndices[j] = item;
      --j;
    }
  }

  // The node array may grow here, so the parent is looked up afterwards.
  const unsigned int leftChild = bvh.mNbNodes, rightChild = leftChild + 1;
  bvh.mNbNodes += 2;
  left.storeTo(bvh.getOrCreateNode(leftChild));
  right.storeTo(bvh.getOrCreateNode(rightChild));
  bvh.getNode(node).setNode(axis, leftChild, rightChild, plane);

  buildIter(leftChild, bvh, start, i - start, depth + 1);
  buildIter(rightChild, bvh, i, start + count - i, depth + 1);
}
