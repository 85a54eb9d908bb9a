#pragma once
// Hierarchies for the tests of statistics and printing, by hand and at random.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <vector>

#include "support/access/qzOpenBVH.h"
#include "support/qzBits.h"

namespace qzTest {

inline qzGNode inner(unsigned int left, unsigned int right, const qzBBox& box = qzBBox()) {
  qzGNode node;
  node.setBBox(box);
  node.setNode(qzBBox::eAxisY, left, right, 0.0f);
  return node;
}

inline qzGNode leaf(unsigned int count, unsigned int start = 0, const qzBBox& box = qzBBox()) {
  qzGNode node;
  node.setBBox(box);
  node.setLeaf(start, count);
  return node;
}

/// A hierarchy of these nodes, with the counter set to their number.
inline qzGenericBVH treeOf(const std::vector<qzGNode>& nodes) {
  qzGenericBVH tree;
  tree.editNodes() = nodes;
  nbNodesOf(tree) = static_cast<unsigned int>(nodes.size());
  return tree;
}

/// Nodes 1 and 2 below the root, leaves of 2, 3, 1 and 2 primitives, all two levels down.
inline qzGenericBVH sevenNodes() {
  return treeOf({inner(1, 2), inner(3, 4), inner(5, 6), leaf(2), leaf(3), leaf(1), leaf(2)});
}

/// A tree of random shape. Nodes are not numbered by depth, boxes are any floats, leaves have up to 9 primitives.
inline qzGenericBVH randomTree(unsigned int nbInner, Random& random) {
  const auto anyBox = [&] {
    const Wm4::Vector3<float> min{random.anyFloat(), random.anyFloat(), random.anyFloat()};
    const Wm4::Vector3<float> max{random.anyFloat(), random.anyFloat(), random.anyFloat()};
    return qzBBox::Make(min, max);
  };
  qzGenericBVH tree;
  std::vector<qzGNode>& nodes = tree.editNodes();
  const auto addLeaf = [&] {
    const unsigned int start = static_cast<unsigned int>(tree.getPrimitives().size()), count = random.below(10);
    for (unsigned int i = 0; i < count; ++i) tree.editPrimitives().push_back(random.below(1000000));
    nodes.push_back(leaf(count, start, anyBox()));
  };
  addLeaf();
  std::vector<unsigned int> leaves = {0};
  for (unsigned int i = 0; i < nbInner; ++i) {
    unsigned int& chosen = leaves[random.below(static_cast<std::uint32_t>(leaves.size()))];
    unsigned int left = static_cast<unsigned int>(nodes.size()), right = left + 1;
    addLeaf();
    addLeaf();
    if (random.below(2) == 0) std::swap(left, right);
    nodes[chosen] = inner(left, right, anyBox());
    chosen = left;
    leaves.push_back(right);
  }
  nbNodesOf(tree) = static_cast<unsigned int>(nodes.size());
  return tree;
}

}  // namespace qzTest
