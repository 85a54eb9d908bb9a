#include <qzMeshQueries/tree/SurfaceAreaSplit.h>

#include <algorithm>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// The cost of testing so many triangles, for each axis: the number of fours, rounded up. Blocks hold more, but are
// seldom full.
tFloat4 costsOf(tInt4 counts) {
  return toFloats(truncate(toFloats(counts) * float4(0.25f) + float4(0.75f)));
}

}  // namespace

BinGrid::BinGrid(const CentreBox& centres, std::uint32_t nbItems)
    : mNbBins(int(std::min(std::uint32_t(kMaxBins), 4 + nbItems / 2))),
      mOrigin(centres.min),
      mLast(float4(float(mNbBins - 1))) {
  // The largest finite scale lets all centres of a tiny extent fall into bin 0.
  alignas(16) float extent[4], scale[4] = {};
  store(extent, centres.max - centres.min);
  for (int axis = 0; axis < 3; ++axis)
    if (extent[axis] > 0)
      scale[axis] = std::min(float(mNbBins) * 0.999999f / extent[axis], std::numeric_limits<float>::max());
  mScale = load(scale);
}

QZ_ALWAYS_INLINE void Bins::unite(Box& box, const Box& other) {
  box.min = smallerOf(other.min, box.min);
  box.max = largerOf(other.max, box.max);
}

QZ_ALWAYS_INLINE void Bins::unite(Boxes& boxes, const Boxes& others) {
  unite(boxes.x, others.x);
  unite(boxes.y, others.y);
  unite(boxes.z, others.z);
}

Bins::Bins(int nbBins) : mNbBins(nbBins) {
  const Box empty = {float4(kInfinity), float4(-kInfinity)};
  for (int bin = 0; bin < nbBins; ++bin) mBins[bin] = {{empty, empty, empty}, {0, 0, 0, 0}};
}

QZ_ALWAYS_INLINE void Bins::addItem(const BinGrid& grid, const BinaryNode& item) {
  const tBoxLanes lanes = item.lanes();
  const Box box = {lanes.mMin, lanes.mMax};
  alignas(16) std::int32_t bins[4];
  store(bins, grid.binsOf(CentreBox::centreOf(lanes)));
  Bin &x = mBins[bins[0]], &y = mBins[bins[1]], &z = mBins[bins[2]];
  unite(x.boxes.x, box);
  unite(y.boxes.y, box);
  unite(z.boxes.z, box);
  ++x.counts[0];
  ++y.counts[1];
  ++z.counts[2];
}

void Bins::add(const BinGrid& grid, const BinaryNode* items, std::size_t count) {
  std::size_t i = 0;
  if (count > 64) {
    // Neighbours often fall into the same bin, and would wait for each other's box.
    Bins other(mNbBins);
    for (; i + 1 < count; i += 2) {
      addItem(grid, items[i]);
      other.addItem(grid, items[i + 1]);
    }
    add(other);
  }
  for (; i < count; ++i) addItem(grid, items[i]);
}

void Bins::add(const Bins& other) {
  for (int bin = 0; bin < mNbBins; ++bin) {
    unite(mBins[bin].boxes, other.mBins[bin].boxes);
    for (int axis = 0; axis < 3; ++axis) mBins[bin].counts[axis] += other.mBins[bin].counts[axis];
  }
}

// Half the areas, of extents in units of 1 / scale, and a little for the lengths of boxes without area: one lane for
// the bins along each axis. Infinite or NaN for empty boxes.
QZ_ALWAYS_INLINE tFloat4 Bins::areasOf(const Boxes& boxes, tFloat4 scale) {
  tFloat4 x = (shuffle<1, 2, 3, 3>(boxes.x.max) - boxes.x.min) * scale;  // [ x  y  z  . ]
  tFloat4 y = (shuffle<1, 2, 3, 3>(boxes.y.max) - boxes.y.min) * scale;
  tFloat4 z = (shuffle<1, 2, 3, 3>(boxes.z.max) - boxes.z.min) * scale, unused = z;
  transpose(x, y, z, unused);
  const tFloat4 little = float4(0x1p-20f);
  return x * (y + little) + y * (z + little) + z * (x + little);
}

BinSplit Bins::best() const {
  // In units of the node's extent, areas neither overflow nor vanish.
  const Box empty = {float4(kInfinity), float4(-kInfinity)};
  Box whole = empty;
  for (int bin = 0; bin < mNbBins; ++bin) unite(whole, mBins[bin].boxes.x);
  alignas(16) float extent[4];
  store(extent, shuffle<1, 2, 3, 3>(whole.max) - whole.min);
  const float longest = std::max({extent[0], extent[1], extent[2]});
  const tFloat4 scale = float4(longest > 0 ? std::min(1 / longest, std::numeric_limits<float>::max()) : 0.0f);

  // All three axes at a time, one in each lane.
  tFloat4 rightCosts[BinGrid::kMaxBins];
  Boxes boxes = {empty, empty, empty};
  tInt4 counts = int4(0);
  for (int bin = mNbBins - 1; bin > 0; --bin) {
    unite(boxes, mBins[bin].boxes);
    counts = counts + load(mBins[bin].counts);
    rightCosts[bin] = areasOf(boxes, scale) * costsOf(counts);
  }
  // A side without triangles costs infinity times 0: NaN, which is less than nothing.
  boxes = {empty, empty, empty};
  counts = int4(0);
  tFloat4 bestCosts = float4(kInfinity);
  tFloat4 bestBins = float4(-1.0f);
  for (int bin = 0; bin + 1 < mNbBins; ++bin) {
    unite(boxes, mBins[bin].boxes);
    counts = counts + load(mBins[bin].counts);
    const tFloat4 costs = areasOf(boxes, scale) * costsOf(counts) + rightCosts[bin + 1];
    const tMask4 isBetter = costs < bestCosts;
    bestCosts = smallerOf(costs, bestCosts);
    bestBins = select(isBetter, float4(float(bin)), bestBins);
  }

  alignas(16) float cost[4], bin[4];
  store(cost, bestCosts);
  store(bin, bestBins);
  int axis = 0;
  for (int i = 1; i < 3; ++i)
    if (cost[i] < cost[axis]) axis = i;
  return bin[axis] >= 0 ? BinSplit{axis, int(bin[axis])} : BinSplit{};
}

std::uint32_t Bins::countUpTo(const BinSplit& split) const {
  std::uint32_t count = 0;
  for (int bin = 0; bin <= split.last; ++bin) count += mBins[bin].counts[split.axis];
  return count;
}

Sides partition(const BinGrid& grid, const BinSplit& split, const BinaryNode* items, std::size_t count,
                BinaryNode* toLeft, BinaryNode* toRight) {
  Sides sides;
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
    // NaN on the other side, which smallerOf and largerOf pass over.
    const tFloat4 toTheLeft = uniteBits(centre, asFloats(int4(isRight)));
    const tFloat4 toTheRight = uniteBits(centre, asFloats(int4(-1 - isRight)));
    sides.left.add(toTheLeft);
    sides.right.add(toTheRight);
  }
  sides.nbLeft = std::uint32_t(left - toLeft);
  return sides;
}

}  // namespace qzMeshQueries::detail
