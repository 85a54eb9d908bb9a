#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>

#include <algorithm>
#include <memory>

using qzDetail::tBoxLanes;
using qzDetail::tCancel;
using qzDetail::tSplits;
using tContainer = qzLinearGenericBVHBuilder::tPrimitiveContainerInterface;

namespace {

// The primitives of a container, every box by a call of its own.
struct tContainerSource {
  const tContainer& mContainer;
  std::uint32_t mNbPrimitives;

  std::uint32_t nbPrimitives() const { return mNbPrimitives; }
  tBoxLanes boxOf(std::uint32_t i) const { return tBoxLanes(*mContainer.getBBox(i)); }
  __m128 centerOf(std::uint32_t i) const { return boxOf(i).center(); }
};

// A build that somebody may cancel works stage by stage on the whole tree, with a leaf for every code, and fuses it in
// the end; abandoned, it leaves what its last stage left. Mostly nobody cancels. So the build asks the questions of all
// stages in their order, on the way to the fused tree, and only a "yes" brings the whole tree about: it is written
// then, and the stage is gone through with the answers that were given.

constexpr std::uint64_t kNoYes = ~std::uint64_t(0);

// Answers as they were given before: "no" so many times, and "yes". From there on the caller is asked.
class tAnswers {
 public:
  /// nbNo may be kNoYes, when there was no "yes".
  tAnswers(std::uint64_t nbNo, tCancel cancel) : mNbNo(nbNo), mCancel(cancel) {}

  bool poll() {
    if (mNbNo == kNoYes) return false;
    if (mNbNo > 0) {
      --mNbNo;
      return false;
    }
    if (mIsYesGiven) return mCancel.poll();
    return mIsYesGiven = true;
  }

 private:
  std::uint64_t mNbNo;
  bool mIsYesGiven = false;
  tCancel mCancel;
};

// Asks up to count times. Returns how often the answer was "no" before it was "yes", kNoYes if it never was.
std::uint64_t askTimes(std::uint64_t count, tCancel cancel) {
  for (std::uint64_t i = 0; i < count; ++i) {
    if (cancel.poll()) return i;
  }
  return kNoYes;
}

// Asks what the box computation asks: at every node of the whole tree, parents first and left before right, and after
// every primitive. Fetches the boxes of the primitives in sorted order on the way. Returns as askTimes.
std::uint64_t fetchBoxes(const tContainerSource& source, const std::vector<unsigned int>& indices,
                         const tSplits& splits, tCancel cancel, qzBBox* boxes) {
  // Inner nodes by the position that their primitives begin at: they are visited just before the leaf there.
  const std::uint32_t n = source.nbPrimitives();
  qzDetail::tScratch<std::uint8_t> nbInner(n);
  std::fill_n(nbInner.data(), n, std::uint8_t(0));
  qzDetail::walkGroups<std::uint32_t>(
      splits, [](std::uint32_t first, std::uint32_t) { return first; },
      [&](unsigned int, std::uint32_t leftFirst, std::uint32_t) {
        ++nbInner[leftFirst];
        return leftFirst;
      });

  std::uint64_t nbAsked = 0;
  for (std::uint32_t k = 0; k < n; ++k) {
    const bool isLeafBegun = k == 0 || splits.mLevels[k - 1] != 0;
    for (unsigned int node = isLeafBegun ? nbInner[k] + 1u : 0u; node > 0; --node, ++nbAsked) {
      if (cancel.poll()) return nbAsked;
    }
    source.boxOf(indices[k]).store(boxes[k]);
    if (cancel.poll()) return nbAsked;
    ++nbAsked;
  }
  return kNoYes;
}

// The stages on the whole tree.
struct tWholeTree {
  std::vector<qzGNode>& mNodes;
  const qzBBox* mBoxes;  // of the primitives in sorted order

  /// Links the nodes of the levels 1 ... lastLevel; boxes stay as they are.
  void link(tSplits& splits, unsigned int lastLevel) {
    mNodes.resize(2 * splits.nbGroups());
    const auto keeps = [=](unsigned int level, std::uint32_t) { return level <= lastLevel; };
    const auto noBoxOf = [](std::uint32_t, std::uint32_t) { return qzDetail::tNoBox(); };
    const qzDetail::tNumbering numbering(splits, keeps);
    qzDetail::writeNodes<qzDetail::tNoBox>(splits, numbering, mNodes.data(), qzDetail::tLink3(), noBoxOf);
  }

  /// Boxes bottom-up, left before right. Cancelled, a node keeps its box, but those above still unite their children.
  void refit(unsigned int number, tAnswers& answers) {
    if (answers.poll()) return;
    qzGNode& node = mNodes[number];
    tBoxLanes box;
    if (node.isLeaf()) {
      const unsigned int start = node.getPrimStartIdx(), end = start + node.getNoPrimitives();
      for (unsigned int k = start; k < end; ++k) {
        box.unite(tBoxLanes(mBoxes[k]));
        if (answers.poll()) return;
      }
    } else {
      refit(node.getLeftChildIdx(), answers);
      refit(node.getRightChildIdx(), answers);
      box = tBoxLanes(mNodes[node.getLeftChildIdx()].getBBox());
      box.unite(tBoxLanes(mNodes[node.getRightChildIdx()].getBBox()));
    }
    node.setBBox(box.toBBox());
  }

  /// Turns every subtree of at most max primitives into a leaf and marks the nodes that are left: marks[i + 1] for node
  /// i. Returns the number of primitives below the node; 0 when cancelled.
  unsigned int collapse(unsigned int number, unsigned int max, std::vector<unsigned int>& marks, tAnswers& answers) {
    if (answers.poll()) return 0;
    marks[number + 1] = 1;
    qzGNode& node = mNodes[number];
    if (node.isLeaf()) return node.getNoPrimitives();
    const unsigned int left = node.getLeftChildIdx(), right = node.getRightChildIdx();
    const unsigned int nbLeft = collapse(left, max, marks, answers);
    const unsigned int total = nbLeft + collapse(right, max, marks, answers);
    if (total > max) return total;
    marks[left + 1] = 0;
    marks[right + 1] = 0;
    const unsigned int leftStart = mNodes[left].getPrimStartIdx(), rightStart = mNodes[right].getPrimStartIdx();
    node.setLeaf(rightStart < leftStart ? rightStart : leftStart, total);
    return total;
  }

  /// Moves the marked nodes together; the array keeps its length. New numbers are a running sum of the marks, and node
  /// i is kept when its mark differs from the next.
  void compact(std::vector<unsigned int>& marks) {
    for (std::size_t i = 1; i < marks.size(); ++i) marks[i] += marks[i - 1];
    for (std::size_t i = 0; i < mNodes.size(); ++i) {
      if (marks[i] == marks[i + 1]) continue;
      qzGNode& node = mNodes[i];
      if (!node.isLeaf()) {
        node.setNode(qzBBox::tAxis(node.getAxis()), marks[node.getLeftChildIdx()], marks[node.getRightChildIdx()],
                     0.0f);
      }
      mNodes[marks[i]] = node;
    }
  }
};

}  // namespace

qzLinearGenericBVHBuilder::tPrimitiveContainerInterface::~tPrimitiveContainerInterface() = default;

void qzLinearGenericBVHBuilder::setMaxPrimitivesPerLeaf(unsigned int max) {
  mMaxPrimitivesPerLeaf = max == 0 ? 1 : max;
}

// What is left to do when the splits are known.
struct qzLinearGenericBVHBuilder::tFinish {
  qzLinearGenericBVHBuilder& mBuilder;
  qzGenericBVH& mBVH;
  const tContainerSource& mSource;
  tSplits& mSplits;
  unsigned int mLastLevel;
  tCancel mCancel;

  // The counter is that of the whole tree, which has a leaf for every code; a node is to spare.
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

  // The same for somebody who may cancel. Returns false when cancelled, with the tree as the stage leaves it.
  bool runAsking() {
    // Nodes, level by level.
    tWholeTree whole{mBVH.mNodes, nullptr};
    const std::uint64_t nbLevelsLinked = askTimes(mLastLevel, mCancel);
    if (nbLevelsLinked != kNoYes) {
      whole.link(mSplits, static_cast<unsigned int>(nbLevelsLinked) + 1);
      return false;
    }
    setCounter();

    // Boxes.
    qzDetail::tScratch<qzBBox> boxes(mSource.nbPrimitives());
    whole.mBoxes = boxes.data();
    const auto bringAbout = [&](std::uint64_t nbNo) {
      whole.link(mSplits, mLastLevel);
      tAnswers answers(nbNo, mCancel);
      whole.refit(0, answers);
    };
    const std::uint64_t nbBoxAnswers = fetchBoxes(mSource, mBuilder.mIndices, mSplits, mCancel, boxes.data());
    if (nbBoxAnswers != kNoYes) {
      bringAbout(nbBoxAnswers);
      mCancel.poll();
      return false;
    }
    if (mCancel.poll()) {
      bringAbout(kNoYes);
      return false;
    }
    takeOverPrimitives();

    // Leaves fused: a question at every node, one before the nodes move together and one after.
    const std::uint64_t nbNodeAnswers = askTimes(2 * mSplits.nbGroups() - 1, mCancel);
    bool isMoved = false;
    if (nbNodeAnswers == kNoYes && !mCancel.poll()) {
      isMoved = true;
      if (!mCancel.poll()) {
        writeFusedTree([&](std::uint32_t k) { return tBoxLanes(boxes[k]); });
        return true;
      }
    }
    bringAbout(kNoYes);
    std::vector<unsigned int> marks(whole.mNodes.size() + 1);
    tAnswers answers(nbNodeAnswers, mCancel);
    whole.collapse(0, mBuilder.mMaxPrimitivesPerLeaf, marks, answers);
    if (isMoved) whole.compact(marks);
    if (nbNodeAnswers != kNoYes) mCancel.poll();
    return false;
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
  mBBox = qzDetail::boxOfAll(source).toBBox();
  const std::unique_ptr<tSplits> splits = qzDetail::sortAndSplit(source, mBBox, bits, mIndices.data(), cancel);
  if (splits == nullptr) return false;

  // The records, too, speak of the whole tree.
  const std::uint64_t nbCodes = splits->nbGroups(), nbWhole = 2 * nbCodes;
  qzDetail::logNodeAllocation(nbCodes);
  tFinish finish{*this, bvh, source, *splits, 3 * bits, cancel};
  if (cancelInterface == nullptr) {
    finish.run();
  } else if (!finish.runAsking()) {
    return false;
  }
  qzDetail::logFusion(nbWhole, bvh.mNodes.size());
  return !cancel.poll();
}
