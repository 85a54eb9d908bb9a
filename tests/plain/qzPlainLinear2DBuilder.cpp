#include "plain/qzPlainLinear2DBuilder.h"

#include "plain/qzPlainBBox2D.h"
#include "plain/qzPlainLinearBuilder.h"

#include <algorithm>
#include <numeric>

namespace qzPlain {

namespace {

unsigned int highestBit(std::uint32_t value) {
  unsigned int bit = 0;
  while (value >>= 1) ++bit;
  return bit;
}

// The boxes of a subtree, left before right.
void refitBBoxes(const std::vector<qzBBox2D>& bboxes, const std::vector<unsigned int>& indices, Tree2D& tree,
                 unsigned int node) {
  qzGNode2D& here = tree.nodes[node];
  if (!here.isLeaf()) {
    const unsigned int left = here.getLeftChildIdx(), right = here.getRightChildIdx();
    refitBBoxes(bboxes, indices, tree, left);
    refitBBoxes(bboxes, indices, tree, right);
    here.setBBox(bboxUnion(tree.nodes[left].getBBox(), tree.nodes[right].getBBox()));
    return;
  }
  qzBBox2D box;
  for (unsigned int k = 0; k < here.getNoPrimitives(); ++k) {
    box = bboxUnion(box, bboxes[indices[here.getPrimStartIdx() + k]]);
  }
  here.setBBox(box);
}

// Makes every subtree of at most max primitives a leaf. marks[i + 1] becomes 1 for each node i that stays. Returns the
// number of primitives below node.
std::uint32_t collapseSmallSubtrees(Tree2D& tree, unsigned int node, std::uint32_t max,
                                    std::vector<std::uint32_t>& marks) {
  marks[node + 1] = 1;
  qzGNode2D& here = tree.nodes[node];
  if (here.isLeaf()) return here.getNoPrimitives();
  const unsigned int left = here.getLeftChildIdx(), right = here.getRightChildIdx();
  const std::uint32_t nbLeft = collapseSmallSubtrees(tree, left, max, marks);
  const std::uint32_t nbRight = collapseSmallSubtrees(tree, right, max, marks);
  const std::uint32_t nbBelow = nbLeft + nbRight;
  if (nbBelow > max) return nbBelow;
  marks[left + 1] = 0;
  marks[right + 1] = 0;
  const unsigned int leftStart = tree.nodes[left].getPrimStartIdx(), rightStart = tree.nodes[right].getPrimStartIdx();
  here.setLeaf(rightStart < leftStart ? rightStart : leftStart, nbBelow);
  return nbBelow;
}

void fuseLeaves(Tree2D& tree, std::uint32_t max) {
  const std::size_t nbNodes = tree.nodes.size();
  std::vector<std::uint32_t> marks(nbNodes + 1, 0);
  collapseSmallSubtrees(tree, 0, max, marks);

  // Sums of the marks: node i stays when marks[i] and marks[i + 1] differ, as node marks[i].
  std::partial_sum(marks.begin(), marks.end(), marks.begin());
  for (std::size_t i = 0; i < nbNodes; ++i) {
    if (marks[i] == marks[i + 1]) continue;
    qzGNode2D& here = tree.nodes[i];
    if (!here.isLeaf()) here.setNode(marks[here.getLeftChildIdx()], marks[here.getRightChildIdx()]);
    tree.nodes[marks[i]] = here;
  }
  tree.nodes.resize(marks[nbNodes]);
}

}  // namespace

std::uint32_t mortonCode(std::uint32_t x, std::uint32_t y) {
  std::uint32_t code = 0;
  for (unsigned int k = 0; k < 16; ++k) {
    code |= (x >> k & 1) << 2 * k;
    code |= (y >> k & 1) << (2 * k + 1);
  }
  return code;
}

void Linear2DBuilder::build(Tree2D& tree, unsigned int bitsPerAxis) {
  const unsigned int bits = std::min(bitsPerAxis, 16u);
  const unsigned int nbCodeBits = 2 * bits;

  // The points on a square grid around the middle of the bounds.
  const float dx = extent(bounds, 0), dy = extent(bounds, 1);
  const float edge = dx > dy ? dx : dy;
  const float scale = static_cast<float>(1u << bits) / edge;
  std::vector<std::uint32_t> codes;
  for (unsigned int i = 0; i < nbPrimitives; ++i) {
    std::uint32_t cell[2];
    for (int c = 0; c < 2; ++c) {
      const float middle = (bounds.getMinPoint()[c] + bounds.getMaxPoint()[c]) * 0.5f;
      cell[c] = cellOf(points[i][c], middle - edge * 0.5f, scale, bits);
    }
    codes.push_back(mortonCode(cell[0], cell[1]));
  }

  // Sort by code; equal codes keep ascending primitive numbers. Entries beyond the primitives stay.
  const auto end = indices.begin() + static_cast<std::ptrdiff_t>(nbPrimitives);
  std::iota(indices.begin(), end, 0u);
  std::stable_sort(indices.begin(), end, [&](unsigned int a, unsigned int b) { return codes[a] < codes[b]; });
  std::sort(codes.begin(), codes.end());

  // A level per code bit and one for none: position i - 1 ends a group of level l when codes i - 1 and i differ in
  // their top l bits. The last position ends a group of every level.
  std::vector<std::vector<unsigned int>> groupEnds(nbCodeBits + 1);
  for (unsigned int i = 1; i < nbPrimitives; ++i) {
    if (codes[i] == codes[i - 1]) continue;
    const unsigned int bit = highestBit(codes[i - 1] ^ codes[i]);
    for (unsigned int k = 0; k <= bit; ++k) groupEnds[nbCodeBits - k].push_back(i - 1);
  }
  for (std::vector<unsigned int>& ends : groupEnds) ends.push_back(nbPrimitives - 1);

  // Nodes level by level: a group that its bit splits has two leaves for children, until they split in turn.
  const std::size_t nbLeaves = groupEnds[nbCodeBits].size();
  tree.nodes.assign(2 * nbLeaves, qzGNode2D());
  tree.nodes[0].setLeaf(0, nbPrimitives);
  std::vector<unsigned int> nodeIds = {0};  // of the groups of the level above
  unsigned int next = 1;
  for (unsigned int level = 1; level <= nbCodeBits; ++level) {
    const std::vector<unsigned int>& above = groupEnds[level - 1];
    const std::vector<unsigned int>& ends = groupEnds[level];
    std::vector<unsigned int> ids;
    unsigned int start = 0;
    for (std::size_t j = 0; j < above.size(); ++j) {
      const unsigned int split = ends[ids.size()];
      if (split < above[j]) {
        tree.nodes[next].setLeaf(start, split - start + 1);
        tree.nodes[next + 1].setLeaf(split + 1, above[j] - split);
        tree.nodes[nodeIds[j]].setNode(next, next + 1);
        ids.push_back(next);
        ids.push_back(next + 1);
        next += 2;
      } else {
        ids.push_back(nodeIds[j]);
      }
      start = above[j] + 1;
    }
    nodeIds = ids;
  }
  tree.nbNodes = next;

  refitBBoxes(bboxes, indices, tree, 0);
  std::swap(indices, tree.primitives);
  tree.nbPrimitives = nbPrimitives;
  fuseLeaves(tree, maxPrimitivesPerLeaf);
}

}  // namespace qzPlain
