#pragma once
// What a cancelled linear build leaves behind.
//
// By contract a build works stage by stage on the unfused tree, with a leaf for every code: it links the nodes level by
// level, computes boxes bottom-up and fuses small subtrees, and polls throughout. Fast path: poll as the stages would,
// then write the fused tree directly. If a poll returns true, build the unfused tree and replay the stages up to that
// poll. docs/cancelling.md lists the stages.

#include <qzCommonAddOns/qzDetail/base/qzScratch.h>
#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace qzDetail {

constexpr std::uint64_t kNotCancelled = ~std::uint64_t(0);

/// Polls up to count times. Returns how many polls returned false before one returned true, or kNotCancelled.
std::uint64_t pollTimes(std::uint64_t count, tCancel cancel);

/// Polls as the computation of boxes does: at every node of the unfused tree, parents first and left before right, and
/// after every primitive. Writes the boxes of the primitives in sorted order. Returns as pollTimes.
template <class Source>
std::uint64_t fetchBoxes(const Source& source, const std::uint32_t* indices, const tSplits& splits, tCancel cancel,
                         qzBBox* boxes) {
  // Number of inner nodes by the position of their first primitive: they are visited just before the leaf there.
  const std::uint32_t n = source.nbPrimitives();
  tScratch<std::uint8_t> nbInner(n);
  std::fill_n(nbInner.data(), n, std::uint8_t(0));
  traverseGroups<std::uint32_t>(
      splits, [](std::uint32_t first, std::uint32_t) { return first; },
      [&](unsigned int, std::uint32_t leftFirst, std::uint32_t) {
        ++nbInner[leftFirst];
        return leftFirst;
      });

  std::uint64_t nbPolls = 0;
  for (std::uint32_t k = 0; k < n; ++k) {
    const bool isLeafStart = k == 0 || splits.mLevels[k - 1] != 0;
    for (unsigned int node = isLeafStart ? nbInner[k] + 1u : 0u; node > 0; --node, ++nbPolls) {
      if (cancel.poll()) return nbPolls;
    }
    source.boxOf(indices[k]).store(boxes[k]);
    if (cancel.poll()) return nbPolls;
    ++nbPolls;
  }
  return kNotCancelled;
}

/// Resizes nodes for the unfused tree and links those of the levels 1 ... lastLevel. Boxes stay as they are. Drops the
/// splits of deeper levels.
void linkUnfusedTree(tSplits& splits, unsigned int lastLevel, std::vector<qzGNode>& nodes);

/// Replays the stages of a build that was cancelled after linking.
struct tCancelledBuild {
  std::vector<qzGNode>& mNodes;
  tSplits& mSplits;
  unsigned int mLastLevel;
  const qzBBox* mBoxes;  ///< of the primitives in sorted order; for cancelAtBox only those already fetched
  tCancel mCancel;       ///< the stages continue to poll it after the poll that returned true

  /// Cancelled while computing boxes: nbPolls polls returned false, the next one true.
  void cancelAtBox(std::uint64_t nbPolls);
  /// Cancelled at the poll after the boxes.
  void cancelAfterBoxes();
  /// Cancelled while fusing leaves of at most max primitives: nbPolls polls returned false, the next one true.
  void cancelAtFusion(std::uint64_t nbPolls, unsigned int max);
  /// Cancelled at the poll between fusion and compaction.
  void cancelAfterFusion(unsigned int max);
  /// Cancelled at the poll after compaction.
  void cancelAfterCompaction(unsigned int max);
};

}  // namespace qzDetail
