#pragma once
// The binary radix tree of sorted Morton codes, found by comparing neighbouring codes.
//
// Position i is a split when codes i and i + 1 differ; its level l is the number of top bits up to and including the
// first one that differs, 1 ... B for codes of B bits. A group of level l is a run of codes that agree in their top l
// bits; a split of level l halves the group of level l - 1 around it. So the splits make a Cartesian tree over their
// levels, every split's group reaches to the nearest splits of a smaller level on either side, and one pass with a
// stack of at most B entries meets every group after its halves. Source: Lauterbach et al. 2009.

#include <qzCommonAddOns/qzDetail/base/qzBits.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>

#include <cstdint>

namespace qzDetail {

constexpr unsigned int kMaxLevels = 64;  // levels 0 ... 63

/// Levels of all positions, and how many splits each level has.
struct tSplits {
  tScratch<std::uint8_t> mLevels;  // level of position i, 0 where codes i and i + 1 are equal or the split is dropped
  std::uint32_t mNbPrimitives = 0;
  std::uint32_t mNbOfLevel[kMaxLevels] = {};  // splits of level 1 ... B, those dropped later included

  template <class Code>
  tSplits(const Code* codes, std::uint32_t n, unsigned int codeBits) : mLevels(n), mNbPrimitives(n) {
    std::uint32_t nbOfLevel[kMaxLevels + 1] = {};  // the extra entry is for equal codes
    for (std::uint32_t i = 0; i + 1 < n; ++i) {
      const std::uint64_t difference = codes[i] ^ codes[i + 1];
      const unsigned int level = difference == 0 ? 0 : codeBits - highestBit(difference);
      mLevels[i] = static_cast<std::uint8_t>(level);
      ++nbOfLevel[level];
    }
    for (unsigned int level = 1; level < kMaxLevels; ++level) mNbOfLevel[level] = nbOfLevel[level];
  }

  /// Number of groups on the last level, which is the number of different codes.
  std::uint64_t nbGroups() const {
    std::uint64_t sum = 1;
    for (const std::uint32_t nb : mNbOfLevel) sum += nb;
    return sum;
  }

  /// Number of groups on all levels 0 ... codeBits together.
  std::uint64_t nbGroupsOfAllLevels(unsigned int codeBits) const {
    std::uint64_t groups = 1, sum = 0;
    for (unsigned int level = 0; level <= codeBits; ++level) {
      groups += mNbOfLevel[level];
      sum += groups;
    }
    return sum;
  }
};

/// Traverses all groups of the splits, halves before the whole and left before right.
/// leaf(first, last) makes a Group of the positions of one code, join(level, left, right) makes one of two halves.
/// Returns the Group of all positions.
template <class Group, class Leaf, class Join>
Group traverseGroups(const tSplits& splits, Leaf leaf, Join join) {
  struct tOpenSplit {
    unsigned int mLevel;
    Group mLeft;
  };
  tOpenSplit open[kMaxLevels];  // levels ascend
  unsigned int nbOpen = 0;
  const std::uint32_t n = splits.mNbPrimitives;
  for (std::uint32_t first = 0;;) {
    std::uint32_t last = first;
    while (last + 1 < n && splits.mLevels[last] == 0) ++last;
    const unsigned int level = last + 1 < n ? splits.mLevels[last] : 0;

    // The split after this code closes every open split of a larger level. At most one split per level is open.
    Group group = leaf(first, last);
    while (nbOpen > 0 && open[nbOpen - 1].mLevel > level) {
      --nbOpen;
      group = join(open[nbOpen].mLevel, open[nbOpen].mLeft, group);
    }
    if (level == 0) return group;
    open[nbOpen++] = {level, group};
    first = last + 1;
  }
}

}  // namespace qzDetail
