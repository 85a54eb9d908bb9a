#pragma once
// Positions of the nodes and leaves of a four-wide hierarchy, computed from the splits of a linear build without making
// the binary hierarchy.
//
// A kept split is a binary inner node, a run between two kept splits is a leaf. Binary nodes are ordered by the level
// of the split above them, then by position (see qzTreeWriter.h). So the nodes below splits of one level, met from left
// to right, take consecutive places, which a counter per level numbers. The ancestors of a split are the splits to its
// left and right without a split of a smaller level in between. There is at most one per level on either side, so a bit
// mask of levels holds them, and their number is the depth of the node.

#include <qzCommonAddOns/qzDetail/base/qzBits.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>
#include <qzCommonAddOns/qzDetail/morton/qzCodeGroups.h>
#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace qzDetail {

/// The ancestors' splits on one side, as a bit mask of levels. Bit 0 is always set and stands for the end of the array.
class tSplitsAround {
 public:
  /// Drops those of this level and of larger ones.
  void hideBehind(unsigned int level) { mLevels &= (std::uint64_t(1) << level) - 1; }
  void add(unsigned int level) { mLevels |= std::uint64_t(1) << level; }

  unsigned int deepest() const { return highestBit(mLevels); }
  unsigned int parity() const {
    std::uint64_t bits = mLevels ^ mLevels >> 32;
    bits ^= bits >> 16;
    bits ^= bits >> 8;
    bits ^= bits >> 4;
    return 0x6996u >> (bits & 15) & 1u;
  }

 private:
  std::uint64_t mLevels = 1;
};

/// The leaves from left to right, the split after each, and their places.
struct tFourWidePlan {
  struct tPlaces {
    std::uint32_t mNextNode = 0;        // four-wide node for the next inner node of even depth
    std::uint32_t mNextQuadruplet = 0;  // for the next leaf
  };

  std::uint32_t mNbLeaves;
  tScratch<std::uint32_t> mLasts;    // last sorted position of every leaf
  tScratch<std::uint8_t> mLevels;    // of the split after every leaf; 0 after the last one
  tScratch<std::uint8_t> mIsEven;    // 1 where that split has even depth
  tPlaces mPlacesBelow[kMaxLevels];  // by the level of the split above; level 0: of the root
  std::uint32_t mNbNodes = 0, mNbQuadruplets = 0;

  /// Dropped splits have level 0; nbKept are left.
  tFourWidePlan(const tSplits& splits, std::uint32_t nbKept)
      : mNbLeaves(nbKept + 1), mLasts(mNbLeaves), mLevels(mNbLeaves), mIsEven(mNbLeaves) {
    takeKept(splits);

    // From right to left: the ancestors' splits on the right.
    tScratch<std::uint8_t> deepestOnRight(mNbLeaves);
    tSplitsAround right;
    for (std::uint32_t leaf = nbKept; leaf-- > 0;) {
      right.hideBehind(mLevels[leaf]);
      deepestOnRight[leaf] = static_cast<std::uint8_t>(right.deepest());
      mIsEven[leaf] = static_cast<std::uint8_t>(right.parity());
      right.add(mLevels[leaf]);
    }

    // From left to right: the ancestors' splits on the left, and the number of nodes and quadruplets below each level.
    tSplitsAround left;
    std::uint32_t first = 0;
    unsigned int levelBefore = 0;
    for (std::uint32_t leaf = 0; leaf < mNbLeaves; ++leaf) {
      const unsigned int level = mLevels[leaf];
      mPlacesBelow[std::max(levelBefore, level)].mNextQuadruplet += nbQuadruplets(mLasts[leaf] - first + 1);
      if (leaf < nbKept) {
        left.hideBehind(level);
        const unsigned int isEven = 1 ^ left.parity() ^ mIsEven[leaf];  // both masks count bit 0, so it cancels out
        mPlacesBelow[std::max<unsigned int>(left.deepest(), deepestOnRight[leaf])].mNextNode += isEven;
        mIsEven[leaf] = static_cast<std::uint8_t>(isEven);
        left.add(level);
      }
      first = mLasts[leaf] + 1;
      levelBefore = level;
    }
    for (tPlaces& places : mPlacesBelow) {
      mNbNodes += std::exchange(places.mNextNode, mNbNodes);
      mNbQuadruplets += std::exchange(places.mNextQuadruplet, mNbQuadruplets);
    }
  }

  static std::uint32_t nbQuadruplets(std::uint32_t nbPrimitives) { return (nbPrimitives + 3) / 4; }

 private:
  void takeKept(const tSplits& splits) {
    std::uint32_t nb = 0;
    for (std::uint32_t i = 0; i + 1 < splits.mNbPrimitives; ++i) {
      mLasts[nb] = i;  // overwritten by the next position if this is no split
      mLevels[nb] = splits.mLevels[i];
      nb += splits.mLevels[i] != 0 ? 1 : 0;
    }
    mLasts[nb] = splits.mNbPrimitives - 1;
    mLevels[nb] = 0;
  }
};

}  // namespace qzDetail
