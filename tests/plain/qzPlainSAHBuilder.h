#pragma once
// The plain form of qzGenericBVHBuilder, one rule at a time: every bin, every candidate, a whole sort for every median.
// Same tree, same order of items, same calls of the cost functor; not optimised.

#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>
#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

#include <cstdint>
#include <vector>

#include "plain/qzPlainLinearBuilder.h"

namespace qzPlain {

/// The formula of qzDefaultSAH.
class DefaultSAH : public qzSAHFunctionoid {
 public:
  float f(const qzBBox& box, unsigned int count) const override;
  ~DefaultSAH() override;
};

class SAHBuilder {
 public:
  /// Grows or shrinks all item arrays.
  void resizeItems(int n);

  void build(Tree& tree);
  void buildIter(unsigned int node, Tree& tree, unsigned int start, unsigned int count, int depth);
  void computeBinning(const qzGNode& node, unsigned int start, unsigned int count);
  bool findSplitPlane(const qzGNode& node, unsigned int count, qzBBox::tAxis& axis, float& plane);
  void findMedianSplit(const qzGNode& node, unsigned int start, unsigned int count, qzBBox::tAxis axis, float& plane);
  void splitNode(unsigned int node, Tree& tree, unsigned int start, unsigned int count, qzBBox::tAxis axis, float plane,
                 int depth);

  std::vector<qzBBox> itemBBoxes;
  std::vector<unsigned int> itemIndices;
  std::vector<unsigned int> sortedPositions, sortScratch, sortKeys;
  std::vector<unsigned int> binCounts = std::vector<unsigned int>(384, 0u);
  std::vector<qzBBox> binLeftBBoxes = std::vector<qzBBox>(384);
  std::vector<qzBBox> binRightBBoxes = std::vector<qzBBox>(384);
  unsigned int nbItems = 0;
  qzBBox sceneBBox;
  unsigned int nbBins = 128, binOffsetY = 128, binOffsetZ = 256;
  DefaultSAH defaultSAH;
  const qzSAHFunctionoid* sah = &defaultSAH;
};

}  // namespace qzPlain
