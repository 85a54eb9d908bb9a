#include "large/qzTreeCheck.h"

#include <algorithm>
#include <cstring>

#include "support/qzHash.h"

namespace qzTest {

namespace {

bool sameBox(const qzBBox& a, const qzBBox& b) {
  for (int i = 0; i < 3; ++i) {
    if (a.getMinPoint()[i] != b.getMinPoint()[i] || a.getMaxPoint()[i] != b.getMaxPoint()[i]) return false;
  }
  return true;
}
bool sameBox(const qzBBox2D& a, const qzBBox2D& b) {
  for (int i = 0; i < 2; ++i) {
    if (a.getMinPoint()[i] != b.getMinPoint()[i] || a.getMaxPoint()[i] != b.getMaxPoint()[i]) return false;
  }
  return true;
}

template <class Node>
void addNode(Hash& hash, const Node& node) {
  std::uint32_t words[sizeof(Node) / sizeof(std::uint32_t)];
  std::memcpy(words, &node, sizeof words);
  for (const std::uint32_t word : words) hash.add(word);
}

template <class Box, class Tree>
TreeCheck check(const Tree& tree, const std::vector<Box>& boxes, Reach reach) {
  struct Visit {
    unsigned int node;
    std::size_t level;
  };
  TreeCheck result;
  const auto& nodes = tree.getNodes();
  std::vector<bool> isPlaced(boxes.size(), false);
  std::vector<Visit> toVisit = {{0, 0}};
  Hash hash;
  std::size_t nbPlaced = 0;
  const auto fail = [&](std::size_t node, const char* what) {
    result.fault = "node " + std::to_string(node) + ": " + what;
    return result;
  };
  while (!toVisit.empty()) {
    const Visit visit = toVisit.back();
    toVisit.pop_back();
    ++result.nbNodes;
    result.depth = std::max(result.depth, visit.level);
    const auto& node = nodes[visit.node];
    addNode(hash, node);
    Box box;
    if (node.isLeaf()) {
      const std::size_t start = node.getPrimStartIdx(), count = node.getNoPrimitives();
      ++result.nbLeaves;
      result.largestLeaf = std::max(result.largestLeaf, count);
      if (start + count > boxes.size()) return fail(visit.node, "a leaf beyond the primitives");
      for (std::size_t k = start; k < start + count; ++k) {
        const unsigned int primitive = tree.getPrimitive(static_cast<unsigned int>(k));
        hash.add(primitive);
        if (primitive >= boxes.size()) return fail(visit.node, "no such primitive");
        if (isPlaced[primitive]) return fail(visit.node, "a primitive for the second time");
        isPlaced[primitive] = true;
        ++nbPlaced;
        box.selfUnion(boxes[primitive]);
      }
    } else {
      const unsigned int left = node.getLeftChildIdx(), right = node.getRightChildIdx();
      if (left <= visit.node || right <= visit.node) return fail(visit.node, "a child before its parent");
      if (left >= nodes.size() || right >= nodes.size()) return fail(visit.node, "a child beyond the nodes");
      box = nodes[left].getBBox().bboxUnion(nodes[right].getBBox());
      toVisit.push_back({right, visit.level + 1});
      toVisit.push_back({left, visit.level + 1});
    }
    if (!sameBox(box, node.getBBox())) return fail(visit.node, "a box that is not the one around what is below");
  }
  if (nbPlaced != boxes.size()) return fail(0, "not all primitives are below");
  if (reach == eAllReached && result.nbNodes != nodes.size()) return fail(0, "not all nodes are below");
  result.fingerprint = hash.value();
  return result;
}

}  // namespace

TreeCheck checkTree(const qzGenericBVH& tree, const std::vector<qzBBox>& boxes, Reach reach) {
  return check(tree, boxes, reach);
}

TreeCheck checkTree(const qzGenericBVH2D& tree, const std::vector<qzBBox2D>& boxes, Reach reach) {
  return check(tree, boxes, reach);
}

}  // namespace qzTest
