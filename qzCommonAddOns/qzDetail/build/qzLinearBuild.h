#pragma once
// The stages that every linear build goes through: from the centres of boxes to sorted primitives and the splits
// between them. A Source has nbPrimitives() and centerOf(i), the centre of the box of primitive i as [ x y z . ].
// boxOfAll also needs boxOf(i), that box as tBoxLanes.

#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/build/qzTreeWriter.h>
#include <qzCommonAddOns/qzDetail/morton/qzCodeGroups.h>
#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>
#include <qzCommonAddOns/qzDetail/morton/qzRadixSort.h>

#include <cstdint>
#include <memory>

namespace qzDetail {

constexpr unsigned int kMaxBitsPerAxis = 21;
constexpr unsigned int kMaxBitsPerAxisOf32BitCodes = 10;

/// The caller's cancel interface; null: never cancelled.
struct tCancel {
  const qz::qzCancelInterfaceReadOnly* mInterface = nullptr;
  bool poll() const { return mInterface != nullptr && isCanceled(*mInterface); }
};

// Log records of a linear build.
void logIndexAllocation(std::uint32_t nbPrimitives);
void logWorkingBuffer(std::uint64_t nbGroups);
void logNodeAllocation(std::uint64_t nbCodes);
void logFusion(std::uint64_t nbWhole, std::uint64_t nbFused);

/// The box around all primitives. Numbers them on the way: indices becomes 0 ... n - 1.
template <class Source>
tBoxLanes boxOfAll(const Source& source, std::uint32_t* indices) {
  tBoxLanes box;
  const std::uint32_t n = source.nbPrimitives();
  for (std::uint32_t i = 0; i < n; ++i) {
    box.unite(source.boxOf(i));
    indices[i] = i;
  }
  return box;
}

/// A cubic grid of 2^bits cells per axis around a scene.
class tGrid3 {
 public:
  tGrid3(const qzBBox& scene, unsigned int bits) : mLastCell((1u << bits) - 1) {
    const Wm4::Vector3<float>&min = scene.getMinPoint(), &max = scene.getMaxPoint();
    const float dx = max[0] - min[0], dy = max[1] - min[1], dz = max[2] - min[2];
    const float edgeYZ = dy > dz ? dy : dz;
    const float edge = dx > edgeYZ ? dx : edgeYZ;
    for (int axis = 0; axis < 3; ++axis) mAxes[axis] = gridAxis(min[axis], max[axis], edge, bits);
    mOrigin = float4(mAxes[0].mOrigin, mAxes[1].mOrigin, mAxes[2].mOrigin, 0.0f);
    mScale = float4(mAxes[0].mScale);  // the same on all axes
  }

  /// Morton code of the cell that a point [ x y z . ] lies in.
  std::uint64_t codeOf(tFloat4 center) const {
    const tInt4 cells = truncate((center - mOrigin) * mScale);
    alignas(16) std::int32_t cell[4];
    store(cell, cells);

    // From 0 to the last cell the 32-bit conversion equals the 64-bit one; tGridAxis handles everything else.
    const tInt4 isOutside = signs(cells) | (cells > int4(static_cast<int>(mLastCell)));
    if ((bitsOf(maskOf(isOutside)) & kXyz) != 0) {
      alignas(16) float centers[4];
      store(centers, center);
      for (int axis = 0; axis < 3; ++axis) {
        cell[axis] = static_cast<std::int32_t>(mAxes[axis].cellOf(centers[axis], mLastCell));
      }
    }
    return encodeMorton3(static_cast<std::uint32_t>(cell[0]), static_cast<std::uint32_t>(cell[1]),
                         static_cast<std::uint32_t>(cell[2]));
  }

 private:
  std::uint32_t mLastCell;
  tGridAxis mAxes[3];
  tFloat4 mOrigin, mScale;
};

/// Writes the primitive numbers to indices in the order of their Morton codes and returns the splits between the sorted
/// codes. Polls after every step; null if cancelled.
template <class Code, class Source>
std::unique_ptr<tSplits> sortAndSplit(const Source& source, const qzBBox& scene, unsigned int bitsPerAxis,
                                      std::uint32_t* indices, tCancel cancel) {
  const std::uint32_t n = source.nbPrimitives();
  const unsigned int codeBits = 3 * bitsPerAxis;
  const auto abandon = [&](std::uint64_t nbGroups) {
    logWorkingBuffer(nbGroups);
    cancel.poll();
    return nullptr;
  };

  tScratch<Code> codes(n);
  const tGrid3 grid(scene, bitsPerAxis);
  for (std::uint32_t i = 0; i < n; ++i) codes[i] = static_cast<Code>(grid.codeOf(source.centerOf(i)));
  if (cancel.poll()) return abandon(0);

  sortByCode(codes.data(), indices, n);
  if (cancel.poll()) return abandon(0);

  auto splits = std::make_unique<tSplits>(codes.data(), n, codeBits);
  codes.release();
  const std::uint64_t nbGroups = splits->nbGroupsOfAllLevels(codeBits);
  if (cancel.poll()) return abandon(nbGroups);

  logWorkingBuffer(nbGroups);
  if (cancel.poll()) return nullptr;
  return splits;
}

template <class Source>
std::unique_ptr<tSplits> sortAndSplit(const Source& source, const qzBBox& scene, unsigned int bitsPerAxis,
                                      std::uint32_t* indices, tCancel cancel) {
  return bitsPerAxis <= kMaxBitsPerAxisOf32BitCodes
             ? sortAndSplit<std::uint32_t>(source, scene, bitsPerAxis, indices, cancel)
             : sortAndSplit<std::uint64_t>(source, scene, bitsPerAxis, indices, cancel);
}

/// Makes an inner node of a split. Level 1 is the top code bit, a z bit; then follow y, x, z and so on.
struct tLink3 {
  void operator()(qzGNode& node, unsigned int level, std::uint32_t leftChild) const {
    const qzBBox::tAxis axis = level % 3 == 0 ? qzBBox::eAxisX : level % 3 == 1 ? qzBBox::eAxisZ : qzBBox::eAxisY;
    node.setNode(axis, leftChild, leftChild + 1, 0.0f);
  }
};

}  // namespace qzDetail
