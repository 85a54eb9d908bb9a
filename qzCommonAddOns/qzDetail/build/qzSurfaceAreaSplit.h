#pragma once
// The cheapest way to split a few items at the boundaries of bins, by the cost of qzDefaultSAH.

#include <qzCommonAddOns/geometry/qzBBox.h>

#include <limits>

namespace qzDetail {

constexpr unsigned int kMaxItemsOfSplit = 1024, kMaxBinsOfSplit = 128;

/// A plane along the upper boundary of a bin.
struct tSplit {
  float mCost = std::numeric_limits<float>::infinity();
  int mComponent = 0;
  unsigned int mBin = 0;
};

/// The result of trying all planes of x, y and z in ascending order and keeping the first of the cheapest; cost +inf if
/// no plane has a finite cost. nbBins bins per axis divide the node's box; items are put into them by their centroids,
/// as qzGenericBVHBuilder::computeBinning does.
/// count    at most kMaxItemsOfSplit items, whose boxes are bboxes[items[0]] ... bboxes[items[count - 1]]
/// nbBins   at most kMaxBinsOfSplit
tSplit cheapestSplit(const qzBBox& node, const qzBBox* bboxes, const unsigned int* items, unsigned int count,
                     unsigned int nbBins);

}  // namespace qzDetail
