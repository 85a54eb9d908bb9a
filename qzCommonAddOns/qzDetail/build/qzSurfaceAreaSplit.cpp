// Planes on both sides of an empty bin divide the items equally, so only occupied bins are considered. A sweep down
// stores the cost of the upper side for each occupied bin, a sweep up adds that of the lower side.

#include <qzCommonAddOns/qzDetail/build/qzSurfaceAreaSplit.h>

#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>

#include <algorithm>
#include <cstdint>

namespace qzDetail {

namespace {

// surfaceAreaCost of a box in registers.
float costOf(const tBoxLanes& box, unsigned int count) {
  const tFloat4 extent = box.maxInFront() - box.mMin;  // [ dx  dy  dz  . ]
  const float dx = firstOf(extent), dy = laneOf<1>(extent), dz = firstOf(upperPair(extent));
  return ((dz + dy) * dx + dz * dy) * static_cast<float>(count + 4);
}

// Computes the bins of an item on all three axes.
class tGrid {
 public:
  tGrid(const qzBBox& node, unsigned int nbBins) : mLastBin(nbBins - 1) {
    const Wm4::Vector3<float>&min = node.getMinPoint(), &max = node.getMaxPoint();
    for (int axis = 0; axis < 3; ++axis) {
      mAxes[axis] = {min[axis], static_cast<float>(nbBins) / (max[axis] - min[axis])};
    }
    mOrigin = float4(mAxes[0].mOrigin, mAxes[1].mOrigin, mAxes[2].mOrigin, 0.0f);
    mScale = float4(mAxes[0].mScale, mAxes[1].mScale, mAxes[2].mScale, 0.0f);
  }

  // Bins of x, y and z in the three low bytes, equal to tGridAxis::cellOf on every axis.
  std::uint32_t binsOf(const tBoxLanes& box) const {
    const tFloat4 centroid = box.center();
    const tInt4 bins = truncate((centroid - mOrigin) * mScale);
    // truncate gives the smallest integer for values that do not fit into 32 bits.
    const tInt4 isTooLarge = bins == int4(std::numeric_limits<int>::min());
    if ((bitsOf(maskOf(isTooLarge)) & kXyz) != 0) return binsOf(centroid);
    // Bins are compared as unsigned numbers, so negative ones go to the last bin.
    const tInt4 last = int4(static_cast<int>(mLastBin));
    return packBytes(select((bins < int4(0)) | (bins > last), last, bins));
  }

 private:
  std::uint32_t binsOf(tFloat4 centroid) const {
    alignas(16) float c[4];
    store(c, centroid);
    std::uint32_t bins = 0;
    for (int axis = 0; axis < 3; ++axis) bins |= mAxes[axis].cellOf(c[axis], mLastBin) << (8 * axis);
    return bins;
  }

  tFloat4 mOrigin, mScale;  // [ x  y  z  0 ]
  tGridAxis mAxes[3];
  unsigned int mLastBin;
};

unsigned int binOf(std::uint32_t bins, int axis) {
  return bins >> (8 * axis) & 0xFF;
}

// The bins of one axis; boxes of empty bins are unset.
struct tBins {
  struct tBox {
    tFloat4 mMin, mMax;  // as in tBoxLanes

    void operator=(const tBoxLanes& box) {
      mMin = box.mMin;
      mMax = box.mMax;
    }
    tBoxLanes lanes() const {
      tBoxLanes box;
      box.mMin = mMin;
      box.mMax = mMax;
      return box;
    }
  };
  tBox mBoxes[kMaxBinsOfSplit];
  std::uint16_t mCounts[kMaxBinsOfSplit];

  void improve(tSplit& best, int axis, unsigned int nbBins) const {
    unsigned int occupied[kMaxBinsOfSplit], nbOccupied = 0;
    for (unsigned int bin = 0; bin < nbBins; ++bin) {
      occupied[nbOccupied] = bin;
      nbOccupied += mCounts[bin] != 0;
    }

    // Cost of the k-th occupied bin and all above.
    float upperCosts[kMaxBinsOfSplit];
    tBoxLanes box;
    unsigned int count = 0;
    for (unsigned int k = nbOccupied - 1; k > 0; --k) {
      box.unite(mBoxes[occupied[k]].lanes());
      count += mCounts[occupied[k]];
      upperCosts[k] = costOf(box, count);
    }

    box = tBoxLanes();
    count = 0;
    for (unsigned int k = 0; k + 1 < nbOccupied; ++k) {
      box.unite(mBoxes[occupied[k]].lanes());
      count += mCounts[occupied[k]];
      const float cost = costOf(box, count) + upperCosts[k + 1];
      if (cost < best.mCost) best = {cost, axis, occupied[k]};
    }
  }
};

}  // namespace

tSplit cheapestSplit(const qzBBox& node, const qzBBox* bboxes, const unsigned int* items, unsigned int count,
                     unsigned int nbBins) {
  tBins axes[3];
  for (tBins& bins : axes) std::fill_n(bins.mCounts, nbBins, std::uint16_t(0));

  // Compute the bins of all items, and start each occupied bin with an empty box.
  std::uint32_t binsOfItems[kMaxItemsOfSplit];
  const tGrid grid(node, nbBins);
  for (unsigned int i = 0; i < count; ++i) {
    binsOfItems[i] = grid.binsOf(tBoxLanes(bboxes[items[i]]));
    for (int axis = 0; axis < 3; ++axis) axes[axis].mBoxes[binOf(binsOfItems[i], axis)] = tBoxLanes();
  }
  for (unsigned int i = 0; i < count; ++i) {
    const tBoxLanes item(bboxes[items[i]]);
    for (int axis = 0; axis < 3; ++axis) {
      const unsigned int bin = binOf(binsOfItems[i], axis);
      tBoxLanes box = axes[axis].mBoxes[bin].lanes();
      box.unite(item);
      axes[axis].mBoxes[bin] = box;
      ++axes[axis].mCounts[bin];
    }
  }

  tSplit best;
  for (int axis = 0; axis < 3; ++axis) axes[axis].improve(best, axis, nbBins);
  return best;
}

}  // namespace qzDetail
