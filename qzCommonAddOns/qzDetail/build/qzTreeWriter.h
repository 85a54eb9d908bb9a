#pragma once
// Writes the nodes of a binary hierarchy from the splits of its sorted codes, in 3D and 2D alike.
//
// Splits are ranked by level, then position. The root is node 0, and the split of rank r has the nodes 1 + 2r and 2 +
// 2r as children. Splits that are not to be inner nodes are dropped first; everything below one becomes a leaf.

#include <qzCommonAddOns/qzDetail/morton/qzCodeGroups.h>

#include <cstdint>
#include <vector>

namespace qzDetail {

/// Ranks of the splits of a tree.
struct tNumbering {
  std::uint32_t mFirstOfLevel[kMaxLevels];  // rank of the first one of every level
  std::uint32_t mNbNodes;

  /// Drops the splits for which keeps(level, count) is false, where count is the number of primitives in the split's
  /// group, and ranks the others. A split may only be dropped if all splits within its halves are.
  template <class Keeps>
  tNumbering(tSplits& splits, Keeps keeps) {
    struct tGroup {
      std::uint32_t mFirst, mLast;
    };
    std::uint32_t nbKept[kMaxLevels] = {};
    traverseGroups<tGroup>(
        splits,
        [](std::uint32_t first, std::uint32_t last) {
          return tGroup{first, last};
        },
        [&](unsigned int level, tGroup left, tGroup right) {
          if (keeps(level, right.mLast - left.mFirst + 1)) {
            ++nbKept[level];
          } else {
            splits.mLevels[left.mLast] = 0;
          }
          return tGroup{left.mFirst, right.mLast};
        });
    std::uint32_t rank = 0;
    for (unsigned int level = 0; level < kMaxLevels; ++level) {
      mFirstOfLevel[level] = rank;
      rank += nbKept[level];
    }
    mNbNodes = 1 + 2 * rank;
  }
};

/// Leaves the boxes of nodes as they are.
struct tNoBox {
  void unite(tNoBox) {}
  template <class Node>
  void storeTo(Node&) const {}
};

/// Writes all nodes. link(node, level, leftChild) makes an inner node of a split of that level, boxOf(first, last)
/// returns the Box of the primitives at these sorted positions. A Box has unite(other), where other is to its right,
/// and storeTo(node).
template <class Box, class Node, class Link, class BoxOf>
void writeNodes(const tSplits& splits, tNumbering numbering, Node* nodes, Link link, BoxOf boxOf) {
  struct tGroup {
    std::uint32_t mFirst, mLast;
    unsigned int mSplitLevel;  // 0: a leaf
    std::uint32_t mLeftChild;
    Box mBox;
  };
  const auto write = [&](std::uint32_t number, const tGroup& group) {
    Node& node = nodes[number];
    if (group.mSplitLevel == 0) {
      node.setLeaf(group.mFirst, group.mLast - group.mFirst + 1);
    } else {
      link(node, group.mSplitLevel, group.mLeftChild);
    }
    group.mBox.storeTo(node);
  };
  const tGroup root = traverseGroups<tGroup>(
      splits,
      [&](std::uint32_t first, std::uint32_t last) {
        return tGroup{first, last, 0, 0, boxOf(first, last)};
      },
      [&](unsigned int level, const tGroup& left, const tGroup& right) {
        tGroup whole{left.mFirst, right.mLast, 0, 0, left.mBox};
        whole.mBox.unite(right.mBox);
        // Splits of a level are met in the order of their positions, so counting gives the rank.
        whole.mSplitLevel = level;
        whole.mLeftChild = 1 + 2 * numbering.mFirstOfLevel[level]++;
        write(whole.mLeftChild, left);
        write(whole.mLeftChild + 1, right);
        return whole;
      });
  write(0, root);
}

/// The tree in which every subtree of at most maxPerLeaf primitives is a leaf: drops the splits within leaves.
struct tFusedTree {
  const tSplits& mSplits;
  tNumbering mNumbering;

  tFusedTree(tSplits& splits, std::uint32_t maxPerLeaf)
      : mSplits(splits), mNumbering(splits, [=](unsigned int, std::uint32_t count) { return count > maxPerLeaf; }) {}

  std::uint32_t nbNodes() const { return mNumbering.mNbNodes; }

  /// Writes all nodes, boxes included. boxAt(k) returns the Box of the primitive at sorted position k; called once for
  /// each k, in ascending order.
  template <class Box, class Node, class Link, class BoxAt>
  void write(Node* nodes, Link link, BoxAt boxAt) const {
    writeNodes<Box>(mSplits, mNumbering, nodes, link, [&](std::uint32_t first, std::uint32_t last) {
      Box box;
      for (std::uint32_t k = first; k <= last; ++k) box.unite(boxAt(k));
      return box;
    });
  }

  /// The same; nodes gets exactly the length of the tree.
  template <class Box, class Node, class Link, class BoxAt>
  void write(std::vector<Node>& nodes, Link link, BoxAt boxAt) const {
    std::vector<Node>(nbNodes()).swap(nodes);
    write<Box>(nodes.data(), link, boxAt);
  }
};

}  // namespace qzDetail
