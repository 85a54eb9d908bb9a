#include "plain/qzPlainSAHBuilder.h"

#include <emmintrin.h>

#include <cstring>
#include <limits>

#include "plain/qzPlainBBox.h"

namespace qzPlain {

namespace {

// Node i of a node array that grows to the next multiple of 1024.
qzGNode& getOrCreateNode(Tree& tree, unsigned int i) {
  if (i >= tree.nodes.size()) tree.nodes.resize((i + 1024u) & 0xFFFFFC00u);
  return tree.nodes[i];
}

float centroid(const qzBBox& box, int c) {
  return (box.getMinPoint()[c] + box.getMaxPoint()[c]) * 0.5f;
}

// The bin of a coordinate: the low half of a 64-bit integer, at most the last bin. What is no such integer is
// 0x8000000000000000, whose low half is 0.
unsigned int binOf(float coordinate, float min, float scale, unsigned int nbBins) {
  const long long truncated = _mm_cvttss_si64(_mm_set_ss((coordinate - min) * scale));
  const unsigned int bin = static_cast<unsigned int>(static_cast<unsigned long long>(truncated));
  return bin < nbBins - 1 ? bin : nbBins - 1;
}

// The bits of a centroid's distance from min. A sum of two NaN is the first one.
unsigned int medianKey(const qzBBox& box, int c, float min) {
  const float low = box.getMinPoint()[c], high = box.getMaxPoint()[c];
  float sum = low + high;
  if (low != low) sum = low;
  const float distance = sum * 0.5f - min;
  unsigned int key;
  std::memcpy(&key, &distance, sizeof key);
  return key;
}

}  // namespace

float DefaultSAH::f(const qzBBox& b, unsigned int n) const {
  const float dx = b.xMax() - b.xMin(), dy = b.yMax() - b.yMin(), dz = b.zMax() - b.zMin();
  const float a = dx * (dz + dy);
  const float area = a + dz * dy;
  return area * static_cast<float>(n + 4u);
}

DefaultSAH::~DefaultSAH() = default;

void SAHBuilder::resizeItems(int n) {
  const std::size_t size = static_cast<std::size_t>(n);
  itemBBoxes.resize(size);
  itemIndices.resize(size);
  sortedPositions.resize(size);
  sortScratch.resize(size);
  sortKeys.resize(size);
  nbItems = static_cast<unsigned int>(n);
}

void SAHBuilder::build(Tree& tree) {
  tree.nbNodes = 0;
  tree.nbPrimitives = nbItems;
  if (nbItems - 1 >= tree.nodes.size()) tree.nodes.resize((nbItems - 1u + 1024u) & 0xFFFFFC00u);
  tree.nodes.clear();
  getOrCreateNode(tree, 0).setBBox(sceneBBox);
  tree.nbNodes = 1;
  buildIter(0, tree, 0, nbItems, 0);
  tree.primitives = itemIndices;
}

void SAHBuilder::buildIter(unsigned int node, Tree& tree, unsigned int start, unsigned int count, int depth) {
  if (count <= 16 || depth >= 32) {
    tree.nodes[node].setLeaf(start, count);
    return;
  }
  qzBBox::tAxis axis;
  float plane;
  if (count > 1024) {
    maxExtent(tree.nodes[node].getBBox(), axis);
    findMedianSplit(tree.nodes[node], start, count, axis, plane);
  } else {
    computeBinning(tree.nodes[node], start, count);
    if (!findSplitPlane(tree.nodes[node], count, axis, plane)) {
      tree.nodes[node].setLeaf(start, count);
      return;
    }
  }
  splitNode(node, tree, start, count, axis, plane, depth);
}

void SAHBuilder::computeBinning(const qzGNode& node, unsigned int start, unsigned int count) {
  const unsigned int offsets[3] = {0, binOffsetY, binOffsetZ};
  const qzBBox b = node.getBBox();
  const float kx = static_cast<float>(nbBins) / (b.xMax() - b.xMin());
  const float ky = static_cast<float>(nbBins) / (b.yMax() - b.yMin());
  const float kz = static_cast<float>(nbBins) / (b.zMax() - b.zMin());
  for (const unsigned int offset : offsets) {
    for (unsigned int j = 0; j < nbBins; ++j) {
      binCounts[offset + j] = 0;
      binLeftBBoxes[offset + j] = qzBBox();
      binRightBBoxes[offset + j] = qzBBox();
    }
  }
  for (unsigned int p = start; p < start + count; ++p) {
    const qzBBox q = itemBBoxes[itemIndices[p]];
    const unsigned int bins[3] = {binOf(centroid(q, 0), b.xMin(), kx, nbBins),
                                  binOf(centroid(q, 1), b.yMin(), ky, nbBins),
                                  binOf(centroid(q, 2), b.zMin(), kz, nbBins)};
    for (int c = 0; c < 3; ++c) {
      const unsigned int g = offsets[c] + bins[c];
      binCounts[g] += 1;
      binLeftBBoxes[g] = bboxUnion(binLeftBBoxes[g], q);
      binRightBBoxes[g] = bboxUnion(binRightBBoxes[g], q);
    }
  }
  for (unsigned int j = 1; j < nbBins; ++j) {
    for (const unsigned int o : offsets) {
      binCounts[o + j] += binCounts[o + j - 1];
      binLeftBBoxes[o + j] = bboxUnion(binLeftBBoxes[o + j - 1], binLeftBBoxes[o + j]);
      const unsigned int r = o + nbBins - 1 - j;
      binRightBBoxes[r] = bboxUnion(binRightBBoxes[r + 1], binRightBBoxes[r]);
    }
  }
}

bool SAHBuilder::findSplitPlane(const qzGNode& node, unsigned int count, qzBBox::tAxis& axis, float& plane) {
  float best = std::numeric_limits<float>::infinity();
  unsigned int bestBin = 0;
  for (const unsigned int offset : {0u, binOffsetY, binOffsetZ}) {
    for (unsigned int j = 0; j + 1 < nbBins; ++j) {
      const unsigned int g = offset + j;
      const float left = sah->f(binLeftBBoxes[g], binCounts[g]);
      const float right = sah->f(binRightBBoxes[g + 1], count - binCounts[g]);
      const float cost = left + right;
      if (cost < best) {
        best = cost;
        bestBin = g;
      }
    }
  }
  const float leafCost = sah->f(node.getBBox(), count);
  if (!(best < leafCost)) return false;
  unsigned int j = bestBin;
  axis = qzBBox::eAxisX;
  if (bestBin >= binOffsetZ) {
    axis = qzBBox::eAxisZ;
    j = bestBin - binOffsetZ;
  } else if (bestBin >= binOffsetY) {
    axis = qzBBox::eAxisY;
    j = bestBin - binOffsetY;
  }
  const int c = axisNumber(axis);
  const float min = node.getBBox().getMinPoint()[c], max = node.getBBox().getMaxPoint()[c];
  const float product = (max - min) * static_cast<float>(j + 1);
  const float quotient = product / static_cast<float>(nbBins);
  plane = quotient + min;
  return true;
}

void SAHBuilder::findMedianSplit(const qzGNode& node, unsigned int start, unsigned int count, qzBBox::tAxis axis,
                                 float& plane) {
  const int a = axisNumber(axis);
  unsigned int histograms[4][256] = {};
  for (unsigned int j = 0; j < count; ++j) {
    sortedPositions[j] = j;
    sortKeys[j] = medianKey(itemBBoxes[itemIndices[start + j]], a, node.getBBox().getMinPoint()[a]);
    for (int digit = 0; digit < 4; ++digit) ++histograms[digit][sortKeys[j] >> (8 * digit) & 0xFF];
  }
  std::vector<unsigned int>*from = &sortedPositions, *to = &sortScratch;
  for (int digit = 0; digit < 4; ++digit) {
    unsigned int offset = 0;
    for (unsigned int& entry : histograms[digit]) {
      const unsigned int nb = entry;
      entry = offset;
      offset += nb;
    }
    for (unsigned int j = 0; j < count; ++j) {
      const unsigned int position = (*from)[j];
      (*to)[histograms[digit][sortKeys[position] >> (8 * digit) & 0xFF]++] = position;
    }
    std::swap(from, to);
  }
  const unsigned int m = sortedPositions[count >> 1];
  const qzBBox q = itemBBoxes[itemIndices[start + m]];
  plane = (q.getMaxPoint()[a] + q.getMinPoint()[a]) * 0.5f;
}

void SAHBuilder::splitNode(unsigned int node, Tree& tree, unsigned int start, unsigned int count, qzBBox::tAxis axis,
                           float plane, int depth) {
  const int a = axisNumber(axis);
  qzBBox leftBBox, rightBBox;
  unsigned int i = start, j = start + count - 1;
  for (unsigned int k = 0; k < count; ++k) {
    const unsigned int item = itemIndices[i];
    const qzBBox q = itemBBoxes[item];
    const float c = (q.getMaxPoint()[a] + q.getMinPoint()[a]) * 0.5f;
    if (plane >= c) {
      leftBBox = bboxUnion(leftBBox, q);
      i += 1;
    } else {
      rightBBox = bboxUnion(rightBBox, q);
      itemIndices[i] = itemIndices[j];
      itemIndices[j] = item;
      j -= 1;
    }
  }
  const unsigned int n = tree.nbNodes;
  tree.nbNodes += 2;
  getOrCreateNode(tree, n).setBBox(leftBBox);
  getOrCreateNode(tree, n + 1).setBBox(rightBBox);
  tree.nodes[node].setNode(axis, n, n + 1, plane);
  buildIter(n, tree, start, i - start, depth + 1);
  buildIter(n + 1, tree, i, start + count - i, depth + 1);
}

}  // namespace qzPlain
