#pragma once
// Comparing binary hierarchies bit by bit.

#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/bvh/qzGNode2D.h>

#include <cstddef>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "support/qzBits.h"

namespace qzTest {

/// For messages: kind, words and box of a node.
inline std::string describe(const qzGNode& node) {
  std::ostringstream text;
  text << (node.isLeaf() ? "leaf" : "inner") << std::hexfloat;
  for (const unsigned int word : {node.getAxis() >> 30, node.getLeftChildIdx(), node.getNoPrimitives()}) {
    text << ' ' << word;
  }
  for (const Wm4::Vector3<float>& corner : {node.getBBox().getMinPoint(), node.getBBox().getMaxPoint()}) {
    for (int axis = 0; axis < 3; ++axis) text << ' ' << corner[axis];
  }
  return text.str();
}
inline std::string describe(const qzGNode2D& node) {
  std::ostringstream text;
  text << (node.isLeaf() ? "leaf" : "inner") << std::hexfloat << ' ' << node.getLeftChildIdx() << ' '
       << node.getRightChildIdx();
  for (const Wm4::Vector2<float>& corner : {node.getBBox().getMinPoint(), node.getBBox().getMaxPoint()}) {
    for (int axis = 0; axis < 2; ++axis) text << ' ' << corner[axis];
  }
  return text.str();
}

/// The first difference between two node arrays; empty when they are the same.
template <class Node>
std::string differenceOfNodes(const std::vector<Node>& nodes, const std::vector<Node>& expected) {
  if (nodes.size() != expected.size()) {
    return std::to_string(nodes.size()) + " nodes instead of " + std::to_string(expected.size());
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (sameBits(nodes[i], expected[i])) continue;
    return "node " + std::to_string(i) + ": " + describe(nodes[i]) + " instead of " + describe(expected[i]);
  }
  return "";
}

template <class Tree>
bool sameNodes(const Tree& a, const Tree& b) {
  return differenceOfNodes(a.getNodes(), b.getNodes()).empty();
}

template <class Tree>
bool sameTree(const Tree& a, const Tree& b) {
  return sameNodes(a, b) && a.getPrimitives() == b.getPrimitives() && a.getNbNodes() == b.getNbNodes();
}

}  // namespace qzTest
