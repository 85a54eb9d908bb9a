#include <qzMeshQueries/tree/SurfaceAreaSplit.h>

#include <algorithm>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

constexpr int kBins = BinGrid::kBins;

// Half the area, of extents in units of 1 / scale, and a little for the length of boxes without area. Infinite for empty
// boxes.
float halfArea(const tBoxLanes& box, tFloat4 scale) {
  const tFloat4 extent = (box.maxInFront() - box.mMin) * scale;                        // [ x  y  z  . ]
  const tFloat4 products = extent * (shuffle<1, 2, 0, 3>(extent) + float4(0x1p-20f));  // [ xy  yz  zx  . ]
  return firstOf(products) + laneOf<1>(products) + firstOf(upperPair(products));
}

}  // namespace

BinGrid::BinGrid(const CentreBox& centres) : mOrigin(centres.min) {
  // The largest finite scale lets all centres of a tiny extent fall into bin 0.
  alignas(16) float extent[4], scale[4] = {};
  store(extent, centres.max - centres.min);
  for (int axis = 0; axis < 3; ++axis)
    if (extent[axis] > 0)
      scale[axis] = std::min(float(kBins) * 0.999999f / extent[axis], std::numeric_limits<float>::max());
  mScale = load(scale);
}

void Bins::add(const BinGrid& grid, const BinaryNode* items, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const tBoxLanes box = items[i].lanes();
    alignas(16) std::int32_t bins[4];
    store(bins, grid.binsOf(CentreBox::centreOf(box)));
    for (int axis = 0; axis < 3; ++axis) {
      mBoxes[axis][bins[axis]].box.unite(box);
      ++mCounts[axis][bins[axis]];
    }
  }
}

void Bins::add(const Bins& other) {
  for (int axis = 0; axis < 3; ++axis)
    for (int bin = 0; bin < kBins; ++bin) {
      mBoxes[axis][bin].box.unite(other.mBoxes[axis][bin].box);
      mCounts[axis][bin] += other.mCounts[axis][bin];
    }
}

BinSplit Bins::best() const {
  // In units of the node's extent, areas neither overflow nor vanish.
  tBoxLanes whole;
  for (const Bin& bin : mBoxes[0]) whole.unite(bin.box);
  alignas(16) float extent[4];
  store(extent, whole.maxInFront() - whole.mMin);
  const float longest = std::max({extent[0], extent[1], extent[2]});
  const tFloat4 scale = float4(longest > 0 ? std::min(1 / longest, std::numeric_limits<float>::max()) : 0.0f);

  BinSplit best;
  float bestCost = std::numeric_limits<float>::infinity();
  for (int axis = 0; axis < 3; ++axis) {
    float rightCosts[kBins];
    std::uint32_t count = 0;
    tBoxLanes box;
    for (int bin = kBins - 1; bin > 0; --bin) {
      box.unite(mBoxes[axis][bin].box);
      count += mCounts[axis][bin];
      rightCosts[bin] = halfArea(box, scale) * float(count);
    }
    // A side without triangles costs infinity times 0: NaN, which is less than nothing.
    count = 0;
    box = tBoxLanes();
    for (int bin = 0; bin + 1 < kBins; ++bin) {
      box.unite(mBoxes[axis][bin].box);
      count += mCounts[axis][bin];
      const float cost = halfArea(box, scale) * float(count) + rightCosts[bin + 1];
      if (cost < bestCost) {
        bestCost = cost;
        best = {axis, bin};
      }
    }
  }
  return best;
}

std::uint32_t Bins::countUpTo(const BinSplit& split) const {
  std::uint32_t count = 0;
  for (int bin = 0; bin <= split.last; ++bin) count += mCounts[split.axis][bin];
  return count;
}

Sides partition(const BinGrid& grid, const BinSplit& split, const BinaryNode* items, std::size_t count,
                BinaryNode* toLeft, BinaryNode* toRight) {
  Sides sides;
  const tFloat4 nothing = float4(std::numeric_limits<float>::infinity());
  const tInt4 last = int4(split.last);
  BinaryNode* left = toLeft;
  BinaryNode* right = toRight - 1;
  for (std::size_t i = 0; i < count; ++i) {
    const tFloat4 centre = CentreBox::centreOf(items[i].lanes());
    alignas(16) std::int32_t isAbove[4];  // -1 or 0
    store(isAbove, grid.binsOf(centre) > last);
    const std::int32_t isRight = isAbove[split.axis];
    *(isRight != 0 ? right : left) = items[i];
    left += 1 + isRight;
    right += isRight;
    const tMask4 mask = maskOf(int4(isRight));
    sides.left.min = smallerOf(select(mask, nothing, centre), sides.left.min);
    sides.left.max = largerOf(select(mask, -nothing, centre), sides.left.max);
    sides.right.min = smallerOf(select(mask, centre, nothing), sides.right.min);
    sides.right.max = largerOf(select(mask, centre, -nothing), sides.right.max);
  }
  sides.nbLeft = std::uint32_t(left - toLeft);
  return sides;
}

}  // namespace qzMeshQueries::detail
