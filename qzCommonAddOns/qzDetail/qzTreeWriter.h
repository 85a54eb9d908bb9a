#pragma once
// Writes the nodes of a binary hierarchy from the splits of its sorted codes, in 3D and 2D alike.
//
// Nodes stand in the order of their parents by level and then position: the root is node 0, and the r-th split that
// stays an inner node has the nodes 1 + 2r and 2 + 2r as its children. Which splits stay is a predicate
// keeps(level, count), count being the primitives around the split; what is below the others is one leaf.

#include <qzCommonAddOns/qzDetail/qzCodeGroups.h>

#include <cstdint>
#include <vector>

namespace qzDetail {

/// Ranks of the splits that stay.
struct tNumbering {
  std::uint32_t mFirstOfLevel[kMaxLevels];  // rank of the first one of every level
  std::uint32_t mNbNodes;

  template <class Keeps>
  tNumbering(const tSplits& splits, Keeps keeps) {
    struct tGroup {
      std::uint32_t mFirst, mLast;
    };
    std::uint32_t nbKept[kMaxLevels] = {};
    walkGroups<tGroup>(
        splits,
        [](std::uint32_t first, std::uint32_t last) {
          return tGroup{first, last};
        },
        [&](unsigned int level, tGroup left, tGroup right) {
          if (keeps(level, right.mLast - left.mFirst + 1)) ++nbKept[level];
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

/// For nodes whose boxes are to stay as they are.
struct tNoBox {
  void unite(tNoBox) {}
  template <class Node>
  void storeTo(Node&) const {}
};

/// Writes all nodes. link(node, level, leftChild) makes an inner node of a split of that level, boxOf(first, last) the
/// Box of the primitives at these sorted positions; a Box has unite(other), the other being to its right, and
/// storeTo(node).
template <class Box, class Node, class Keeps, class Link, class BoxOf>
void writeNodes(const tSplits& splits, tNumbering numbering, Node* nodes, Keeps keeps, Link link, BoxOf boxOf) {
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
  const tGroup root = walkGroups<tGroup>(
      splits,
      [&](std::uint32_t first, std::uint32_t last) {
        return tGroup{first, last, 0, 0, boxOf(first, last)};
      },
      [&](unsigned int level, const tGroup& left, const tGroup& right) {
        tGroup whole{left.mFirst, right.mLast, 0, 0, left.mBox};
        whole.mBox.unite(right.mBox);
        if (keeps(level, whole.mLast - whole.mFirst + 1)) {
          // Within a level splits come in the order of their positions, so counting gives the rank.
          whole.mSplitLevel = level;
          whole.mLeftChild = 1 + 2 * numbering.mFirstOfLevel[level]++;
          write(whole.mLeftChild, left);
          write(whole.mLeftChild + 1, right);
        }
        return whole;
      });
  write(0, root);
}

/// The tree whose every subtree of at most mMaxPerLeaf primitives is one leaf.
struct tFusedTree {
  const tSplits& mSplits;
  std::uint32_t mMaxPerLeaf;
  tNumbering mNumbering;

  tFusedTree(const tSplits& splits, std::uint32_t maxPerLeaf)
      : mSplits(splits), mMaxPerLeaf(maxPerLeaf), mNumbering(splits, keeps()) {}

  std::uint32_t nbNodes() const { return mNumbering.mNbNodes; }

  /// Writes all nodes, boxes included. boxAt(k) is the Box of the primitive at sorted position k, asked for once each,
  /// in ascending order.
  template <class Box, class Node, class Link, class BoxAt>
  void write(Node* nodes, Link link, BoxAt boxAt) const {
    writeNodes<Box>(mSplits, mNumbering, nodes, keeps(), link, [&](std::uint32_t first, std::uint32_t last) {
      Box box;
      for (std::uint32_t k = first; k <= last; ++k) box.unite(boxAt(k));
      return box;
    });
  }

  /// The same into an array of exactly their number.
  template <class Box, class Node, class Link, class BoxAt>
  void write(std::vector<Node>& nodes, Link link, BoxAt boxAt) const {
    std::vector<Node>(nbNodes()).swap(nodes);
    write<Box>(nodes.data(), link, boxAt);
  }

 private:
  struct tKeeps {
    std::uint32_t mMaxPerLeaf;
    bool operator()(unsigned int, std::uint32_t count) const { return count > mMaxPerLeaf; }
  };
  tKeeps keeps() const { return {mMaxPerLeaf}; }
};

}  // namespace qzDetail
