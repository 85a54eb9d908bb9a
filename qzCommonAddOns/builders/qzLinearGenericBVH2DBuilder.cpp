#include <qzCommonAddOns/builders/qzLinearGenericBVH2DBuilder.h>

#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes2D.h>
#include <qzCommonAddOns/qzDetail/build/qzTreeWriter.h>
#include <qzCommonAddOns/qzDetail/morton/qzCodeGroups.h>
#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>
#include <qzCommonAddOns/qzDetail/morton/qzRadixSort.h>

#include <cstdint>

using qzDetail::tBoxLanes2D;
using qzDetail::tSplits;

namespace {

constexpr unsigned int kMaxBitsPerAxis = 16;
constexpr std::uint32_t kAhead = 32;  // boxes ahead; long enough for a prefetch to arrive

// Morton codes of the points on a square grid around the bounds.
void makeCodes(const Wm4::Vector2<float>* points, unsigned int n, const qzBBox2D& bounds, unsigned int bitsPerAxis,
               std::uint32_t* codes) {
  const Wm4::Vector2<float>&min = bounds.getMinPoint(), &max = bounds.getMaxPoint();
  const float dx = max[0] - min[0], dy = max[1] - min[1];
  const float edge = dx > dy ? dx : dy;
  const qzDetail::tGridAxis xAxis = qzDetail::gridAxis(min[0], max[0], edge, bitsPerAxis);
  const qzDetail::tGridAxis yAxis = qzDetail::gridAxis(min[1], max[1], edge, bitsPerAxis);

  const std::uint32_t lastCell = (1u << bitsPerAxis) - 1;
  for (unsigned int i = 0; i < n; ++i) {
    codes[i] = qzDetail::encodeMorton2(xAxis.cellOf(points[i][0], lastCell), yAxis.cellOf(points[i][1], lastCell));
  }
}

}  // namespace

void qzLinearGenericBVH2DBuilder::setMaxPrimitivesPerLeaf(unsigned int max) {
  mMaxPrimitivesPerLeaf = max == 0 ? 1 : max;
}

void qzLinearGenericBVH2DBuilder::build(qzGenericBVH2D& bvh, unsigned int bitsPerAxis) {
  const qzDetail::tFloatMode mode;
  const unsigned int bits = bitsPerAxis < kMaxBitsPerAxis ? bitsPerAxis : kMaxBitsPerAxis;

  // Sort by code, and find the splits between neighbouring codes.
  qzDetail::tScratch<std::uint32_t> codes(mNbPrimitives);
  makeCodes(mPoints.data(), mNbPrimitives, mBounds, bits, codes.data());
  qzDetail::sortByCode(codes.data(), mIndices.data(), mNbPrimitives);
  tSplits splits(codes.data(), mNbPrimitives, 2 * bits);
  codes.release();

  // The counter is that of the unfused tree, which has a leaf for every code. The nodes are those of the fused tree.
  qzDetail::tFusedTree(splits, mMaxPrimitivesPerLeaf)
      .write<tBoxLanes2D>(
          bvh.mNodes,
          [](qzGNode2D& node, unsigned int, std::uint32_t leftChild) { node.setNode(leftChild, leftChild + 1); },
          [&](std::uint32_t k) {
            // Sorted primitives are scattered in memory, so prefetch the next ones.
            if (k + kAhead < mNbPrimitives) {
              qzDetail::prefetchLine(&mBBoxes[mIndices[k + kAhead]]);
            }
            return tBoxLanes2D(mBBoxes[mIndices[k]]);
          });
  bvh.mNbNodes = static_cast<unsigned int>(2 * splits.nbGroups() - 1);
  mIndices.swap(bvh.mPrimitives);
  bvh.mNbPrimitives = mNbPrimitives;
}
