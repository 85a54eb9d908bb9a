#pragma once
// The traversal behind getBVHInfo, for hierarchies in 3D and 2D alike: a Node has isLeaf, getLeftChildIdx,
// getRightChildIdx and getNoPrimitives.

#include <cstdint>

namespace qzDetail {

/// The five numbers that a traversal of the leaves updates, in the caller's variables. Counts are compared as signed
/// numbers; sums wrap at 32 bits.
struct tLeafStatistics {
  int& mNbLeaves;
  int& mMinPrimitives;
  int& mMaxPrimitives;
  int& mSumPrimitives;
  int& mMaxLocation;  // (level << 24) | number of the first leaf with the most primitives; they may overlap

  void add(std::uint32_t leaf, std::uint32_t nbPrimitives, std::uint32_t level) {
    const auto count = static_cast<std::int32_t>(nbPrimitives);
    ++mNbLeaves;
    mSumPrimitives = static_cast<std::int32_t>(static_cast<std::uint32_t>(mSumPrimitives) + nbPrimitives);
    if (count < mMinPrimitives) mMinPrimitives = count;
    if (count > mMaxPrimitives) {
      mMaxPrimitives = count;
      mMaxLocation = static_cast<std::int32_t>(level << 24 | leaf);
    }
  }
};

/// Adds the leaves below a node of this level, the left ones first. The recursion is as deep as the most left branches
/// on the way to a leaf.
template <class Node>
void addLeaves(const Node* nodes, std::uint32_t number, std::uint32_t level, tLeafStatistics& statistics) {
  for (; !nodes[number].isLeaf(); number = nodes[number].getRightChildIdx()) {
    ++level;
    addLeaves(nodes, nodes[number].getLeftChildIdx(), level, statistics);
  }
  statistics.add(number, nodes[number].getNoPrimitives(), level);
}

/// Primitives per leaf.
inline float averagePrimitives(int sumPrimitives, int nbLeaves) {
  return static_cast<float>(sumPrimitives) / static_cast<float>(nbLeaves);
}

}  // namespace qzDetail
