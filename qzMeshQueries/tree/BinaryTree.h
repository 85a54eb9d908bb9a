#pragma once
// The binary tree that a build makes first; Collapse.h makes the wide one of it.

#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>
#include <qzMeshQueries/tree/AlignedArray.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qzMeshQueries::detail {

/// The most triangles of a binary leaf. They always fit a block, as they have at most fifteen vertices.
inline constexpr std::uint32_t kMaxLeafTriangles = 5;

/// The most triangles of a part.
inline constexpr std::uint32_t kMaxPartTriangles = 8192;

/// The most levels of a binary tree, the root's included. The wide tree has no more: the children of a wide node are
/// made of binary nodes below the one that the wide node replaces.
inline constexpr int kMaxBinaryLevels = kMaxTreeLevels;

/// A box and what is in it: a node of the binary tree, or, during the build, a triangle, whose number is first.
struct BinaryNode {
  float box[6];  ///< min x, y, z, max x, y, z
  std::uint32_t
      first;  ///< inner node: kIsInner + number of the left child, which the right one follows. Leaf: the first
              ///< position in BinaryTree::order. Leaf of the top: number of a part
  std::uint32_t count;  ///< of the triangles in it

  static constexpr std::uint32_t kIsInner = 0x80000000u;
  bool isInner() const { return (first & kIsInner) != 0; }
  std::uint32_t leftChild() const { return first & ~kIsInner; }

  qzDetail::tBoxLanes lanes() const {
    qzDetail::tBoxLanes lanes;
    lanes.mMin = qzDetail::loadUnaligned(box);
    lanes.mMax = qzDetail::loadUnaligned(box + 2);
    return lanes;
  }
  void setBox(const qzDetail::tBoxLanes& lanes) {
    // The second store overwrites what the first one put beyond min z.
    using namespace qzDetail;
    storeUnaligned(box, lanes.mMin);
    storeUnaligned(box + 2, withFirst(lanes.mMax, shuffle<2, 2, 2, 2>(lanes.mMin)));
  }
};
static_assert(sizeof(BinaryNode) == 32, "a cache line holds two");

/// cost[i - 1] is the least cost of a subtree as a forest of at most i roots. More roots than size do not lower it.
struct Forest {
  int size;
  float cost[kNodeWidth];
};

/// A subtree that one task builds and collapses. Its nodes are numbered from its root, 0, on; children have higher
/// numbers than their parent. The numbering depends on the mesh alone.
struct BinaryPart {
  std::uint32_t begin = 0, end = 0;  ///< its positions in BinaryTree::order
  std::uint32_t size = 0;            ///< number of its nodes
  BinaryNode* nodes = nullptr;
  std::uint64_t* choices = nullptr;   ///< of the collapse, for each node
  Forest forest = {};                 ///< what the collapse chose among
  AlignedArray<BinaryNode> ownNodes;  ///< if the tree's memory has no room for them
  AlignedArray<std::uint64_t> ownChoices;
};

/// A tree over a mesh: a top, in whose leaves parts hang.
struct BinaryTree {
  std::vector<BinaryNode> top;  ///< children have higher numbers than their parent
  std::vector<BinaryPart> parts;
  AlignedArray<std::uint32_t> order;  ///< the triangles of leaf after leaf
  AlignedArray<BinaryNode> memory;    ///< one for each triangle: the build's items, then the nodes of the parts
  AlignedArray<std::uint64_t> choices;
};

}  // namespace qzMeshQueries::detail
