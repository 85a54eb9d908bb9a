#include <qzCommonAddOns/qzDetail/build/qzCancelledBuild.h>

#include <cstddef>

namespace qzDetail {

namespace {

// Repeats the answers of the polls: false nbFalse times, then true. After that it polls the caller again.
class tAnswers {
 public:
  /// nbFalse may be kNotCancelled: then every answer is false.
  tAnswers(std::uint64_t nbFalse, tCancel cancel) : mNbFalse(nbFalse), mCancel(cancel) {}

  bool poll() {
    if (mNbFalse == kNotCancelled) return false;
    if (mNbFalse > 0) {
      --mNbFalse;
      return false;
    }
    if (mIsCancelled) return mCancel.poll();
    return mIsCancelled = true;
  }

 private:
  std::uint64_t mNbFalse;
  bool mIsCancelled = false;
  tCancel mCancel;
};

// The stages on the unfused tree.
struct tStages {
  std::vector<qzGNode>& mNodes;
  const qzBBox* mBoxes;
  tAnswers mAnswers;

  // Boxes bottom-up, left before right. A cancelled node keeps its box; its ancestors still unite their children.
  void refit(unsigned int number) {
    if (mAnswers.poll()) return;
    qzGNode& node = mNodes[number];
    tBoxLanes box;
    if (node.isLeaf()) {
      const unsigned int start = node.getPrimStartIdx(), end = start + node.getNoPrimitives();
      for (unsigned int k = start; k < end; ++k) {
        box.unite(tBoxLanes(mBoxes[k]));
        if (mAnswers.poll()) return;
      }
    } else {
      refit(node.getLeftChildIdx());
      refit(node.getRightChildIdx());
      box = tBoxLanes(mNodes[node.getLeftChildIdx()].getBBox());
      box.unite(tBoxLanes(mNodes[node.getRightChildIdx()].getBBox()));
    }
    node.setBBox(box.toBBox());
  }

  // Turns every subtree of at most max primitives into a leaf and marks the nodes that remain: marks[i + 1] for node i.
  // Returns the number of primitives below the node; 0 when cancelled.
  unsigned int collapse(unsigned int number, unsigned int max, std::vector<unsigned int>& marks) {
    if (mAnswers.poll()) return 0;
    marks[number + 1] = 1;
    qzGNode& node = mNodes[number];
    if (node.isLeaf()) return node.getNoPrimitives();
    const unsigned int left = node.getLeftChildIdx(), right = node.getRightChildIdx();
    const unsigned int nbLeft = collapse(left, max, marks);
    const unsigned int total = nbLeft + collapse(right, max, marks);
    if (total > max) return total;
    marks[left + 1] = 0;
    marks[right + 1] = 0;
    const unsigned int leftStart = mNodes[left].getPrimStartIdx(), rightStart = mNodes[right].getPrimStartIdx();
    node.setLeaf(rightStart < leftStart ? rightStart : leftStart, total);
    return total;
  }

  // Moves the marked nodes together; the array keeps its length. New numbers are a running sum of the marks, and node i
  // is kept when its mark differs from the next.
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

// Links the unfused tree and computes its boxes. nbPolls: see tAnswers.
void refitUnfusedTree(const tCancelledBuild& build, std::uint64_t nbPolls) {
  linkUnfusedTree(build.mSplits, build.mLastLevel, build.mNodes);
  tStages{build.mNodes, build.mBoxes, tAnswers(nbPolls, build.mCancel)}.refit(0);
}

// The same, then fuses leaves. Returns the marks of the nodes that remain.
std::vector<unsigned int> fuse(const tCancelledBuild& build, std::uint64_t nbPolls, unsigned int max) {
  refitUnfusedTree(build, kNotCancelled);
  std::vector<unsigned int> marks(build.mNodes.size() + 1);
  tStages{build.mNodes, build.mBoxes, tAnswers(nbPolls, build.mCancel)}.collapse(0, max, marks);
  return marks;
}

}  // namespace

std::uint64_t pollTimes(std::uint64_t count, tCancel cancel) {
  for (std::uint64_t i = 0; i < count; ++i) {
    if (cancel.poll()) return i;
  }
  return kNotCancelled;
}

void linkUnfusedTree(tSplits& splits, unsigned int lastLevel, std::vector<qzGNode>& nodes) {
  nodes.resize(2 * splits.nbGroups());
  const auto keeps = [=](unsigned int level, std::uint32_t) { return level <= lastLevel; };
  const auto noBoxOf = [](std::uint32_t, std::uint32_t) { return tNoBox(); };
  const tNumbering numbering(splits, keeps);
  writeNodes<tNoBox>(splits, numbering, nodes.data(), tLink3(), noBoxOf);
}

void tCancelledBuild::cancelAtBox(std::uint64_t nbPolls) {
  refitUnfusedTree(*this, nbPolls);
  mCancel.poll();
}

void tCancelledBuild::cancelAfterBoxes() {
  refitUnfusedTree(*this, kNotCancelled);
}

void tCancelledBuild::cancelAtFusion(std::uint64_t nbPolls, unsigned int max) {
  fuse(*this, nbPolls, max);
  mCancel.poll();
}

void tCancelledBuild::cancelAfterFusion(unsigned int max) {
  fuse(*this, kNotCancelled, max);
}

void tCancelledBuild::cancelAfterCompaction(unsigned int max) {
  std::vector<unsigned int> marks = fuse(*this, kNotCancelled, max);
  tStages{mNodes, mBoxes, tAnswers(kNotCancelled, mCancel)}.compact(marks);
}

}  // namespace qzDetail
