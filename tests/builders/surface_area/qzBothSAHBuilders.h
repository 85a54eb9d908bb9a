#pragma once
// The library's surface-area builder and its plain form side by side. Every build is done with both and compared.

#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>

#include <cstddef>
#include <string>
#include <vector>

#include "plain/qzPlainSAHBuilder.h"
#include "support/access/qzOpenSAHBuilder.h"

namespace qzTest {

/// One call of a cost functor. Boxes are compared by their bits.
struct CostCall {
  qzBBox box;
  unsigned int count;
};
bool operator==(const CostCall& a, const CostCall& b);

/// A cost functor with any formula, which records its calls.
class NotingSAH : public qzSAHFunctionoid {
 public:
  using Formula = float (*)(const qzBBox& box, unsigned int count);
  explicit NotingSAH(Formula formula) : mFormula(formula) {}
  float f(const qzBBox& box, unsigned int count) const override {
    mCalls.push_back({box, count});
    return mFormula(box, count);
  }
  ~NotingSAH() override = default;
  const std::vector<CostCall>& calls() const { return mCalls; }

 private:
  Formula mFormula;
  mutable std::vector<CostCall> mCalls;
};

class BothSAHBuilders {
 public:
  /// Filled as a derived class does: items in order, the scene box their union.
  explicit BothSAHBuilders(const std::vector<qzBBox>& boxes);
  void setSceneBBox(const qzBBox& box);
  void setItemIndices(const std::vector<unsigned int>& indices);
  void setNbBins(unsigned int nbBins);

  /// Builds with both, by the default cost, and checks that the results are equal: the order of the items, every
  /// bit of the tree, length and capacity of its arrays, and the scratch arrays that a derived class can read.
  void build();
  /// The same with a formula. The calls of the functors must agree as well; returns them.
  std::vector<CostCall> build(NotingSAH::Formula formula);

  /// The median of all items by findMedianSplit along x; compares plane and scratch.
  void findMedianSplitOfAll();
  /// All items by buildIter below node 0, without build; compares the nodes and scratch.
  void buildIterOfAll();
  /// Makes the node arrays of both trees this long, with the same capacity.
  void setNbNodes(std::size_t count);

  const OpenSAHBuilder& builder() const { return mBuilder; }
  const qzPlain::SAHBuilder& plainBuilder() const { return mPlainBuilder; }
  const qzGenericBVH& tree() const { return mTree; }
  const std::vector<qzGNode>& nodes() const { return mTree.getNodes(); }

 private:
  void compare() const;
  void compareBins() const;
  void compareSort(std::size_t nbEntries) const;

  OpenSAHBuilder mBuilder;
  qzGenericBVH mTree;
  qzPlain::SAHBuilder mPlainBuilder;
  qzPlain::Tree mPlainTree;
};

}  // namespace qzTest
