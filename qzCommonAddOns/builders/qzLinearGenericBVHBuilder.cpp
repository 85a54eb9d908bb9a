#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/build/qzCancelledBuild.h>
#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>

#include <memory>

using qzDetail::tBoxLanes;
using qzDetail::tCancel;
using qzDetail::tSplits;
using tContainer = qzLinearGenericBVHBuilder::tPrimitiveContainerInterface;

namespace {

// The primitives of a container, one call per box.
struct tContainerSource {
  const tContainer& mContainer;
  std::uint32_t mNbPrimitives;

  std::uint32_t nbPrimitives() const { return mNbPrimitives; }
  tBoxLanes boxOf(std::uint32_t i) const { return tBoxLanes(*mContainer.getBBox(i)); }
  qzDetail::tFloat4 centerOf(std::uint32_t i) const { return boxOf(i).center(); }
};

}  // namespace

qzLinearGenericBVHBuilder::tPrimitiveContainerInterface::~tPrimitiveContainerInterface() = default;

void qzLinearGenericBVHBuilder::setMaxPrimitivesPerLeaf(unsigned int max) {
  mMaxPrimitivesPerLeaf = max == 0 ? 1 : max;
}

// The stages after the splits are known.
struct qzLinearGenericBVHBuilder::tFinish {
  qzLinearGenericBVHBuilder& mBuilder;
  qzGenericBVH& mBVH;
  const tContainerSource& mSource;
  tSplits& mSplits;
  unsigned int mLastLevel;
  tCancel mCancel;

  // The counter is that of the unfused tree, which has a leaf for every code.
  void setCounter() { mBVH.mNbNodes = static_cast<unsigned int>(2 * mSplits.nbGroups() - 1); }

  void takeOverPrimitives() {
    mBuilder.mIndices.swap(mBVH.mPrimitives);
    mBVH.mNbPrimitives = mBuilder.mNbPrimitives;
  }

  template <class BoxAt>
  void writeFusedTree(BoxAt boxAt) {
    const qzDetail::tFusedTree tree(mSplits, mBuilder.mMaxPrimitivesPerLeaf);
    tree.write<tBoxLanes>(mBVH.mNodes, qzDetail::tLink3(), boxAt);
  }

  void run() {
    writeFusedTree([&](std::uint32_t k) { return mSource.boxOf(mBuilder.mIndices[k]); });
    setCounter();
    takeOverPrimitives();
  }

  // The same with a cancel interface: polls as the stages on the unfused tree do, and replays them when a poll returns
  // true. Returns false when cancelled, with the tree as the cancelled stage leaves it.
  bool runPolling() {
    // Linking, one poll per level.
    const std::uint64_t nbLevelPolls = qzDetail::pollTimes(mLastLevel, mCancel);
    if (nbLevelPolls != qzDetail::kNotCancelled) {
      qzDetail::linkUnfusedTree(mSplits, static_cast<unsigned int>(nbLevelPolls) + 1, mBVH.mNodes);
      return false;
    }
    setCounter();

    // Boxes, one poll per node and primitive, and one afterwards.
    qzDetail::tScratch<qzBBox> boxes(mSource.nbPrimitives());
    qzDetail::tCancelledBuild replay{mBVH.mNodes, mSplits, mLastLevel, boxes.data(), mCancel};
    const std::uint64_t nbBoxPolls =
        qzDetail::fetchBoxes(mSource, mBuilder.mIndices.data(), mSplits, mCancel, boxes.data());
    if (nbBoxPolls != qzDetail::kNotCancelled) {
      replay.cancelAtBox(nbBoxPolls);
      return false;
    }
    if (mCancel.poll()) {
      replay.cancelAfterBoxes();
      return false;
    }
    takeOverPrimitives();

    // Fusing: one poll per node, one before the nodes are compacted and one after.
    const unsigned int max = mBuilder.mMaxPrimitivesPerLeaf;
    const std::uint64_t nbNodePolls = qzDetail::pollTimes(2 * mSplits.nbGroups() - 1, mCancel);
    if (nbNodePolls != qzDetail::kNotCancelled) {
      replay.cancelAtFusion(nbNodePolls, max);
      return false;
    }
    if (mCancel.poll()) {
      replay.cancelAfterFusion(max);
      return false;
    }
    if (mCancel.poll()) {
      replay.cancelAfterCompaction(max);
      return false;
    }
    writeFusedTree([&](std::uint32_t k) { return tBoxLanes(boxes[k]); });
    return true;
  }
};

bool qzLinearGenericBVHBuilder::build(const tPrimitiveContainerInterface& container, qzGenericBVH& bvh,
                                      const qz::qzCancelInterfaceReadOnly* cancelInterface, unsigned int bitsPerAxis) {
  const qzDetail::tFloatMode mode;
  const tCancel cancel{cancelInterface};
  const unsigned int bits = bitsPerAxis < qzDetail::kMaxBitsPerAxis ? bitsPerAxis : qzDetail::kMaxBitsPerAxis;

  mNbPrimitives = container.getQuantity();
  mBBox = qzBBox();
  mIndices.resize(mNbPrimitives);
  qzDetail::logIndexAllocation(mNbPrimitives);
  const tContainerSource source{container, mNbPrimitives};
  mBBox = qzDetail::boxOfAll(source, mIndices.data()).toBBox();
  const std::unique_ptr<tSplits> splits = qzDetail::sortAndSplit(source, mBBox, bits, mIndices.data(), cancel);
  if (splits == nullptr) return false;

  // The log records also count the nodes of the unfused tree.
  const std::uint64_t nbCodes = splits->nbGroups(), nbUnfused = 2 * nbCodes;
  qzDetail::logNodeAllocation(nbCodes);
  tFinish finish{*this, bvh, source, *splits, 3 * bits, cancel};
  if (cancelInterface == nullptr) {
    finish.run();
  } else if (!finish.runPolling()) {
    return false;
  }
  qzDetail::logFusion(nbUnfused, bvh.mNodes.size());
  return !cancel.poll();
}
