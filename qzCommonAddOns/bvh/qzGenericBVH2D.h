#pragma once
// qzGenericBVH2D: a binary hierarchy of boxes in two dimensions, held as an array of packed nodes and an array of
// primitive numbers. The root is node 0; a leaf covers a run of the primitive array. The object owns both arrays.
// Nothing is checked: an index must be in range, and an empty hierarchy has no node 0. Any number of threads may read a
// finished hierarchy.

#include <qzCommonAddOns/bvh/qzGNode2D.h>
#include <qzCommonAddOns/qzApi.h>

#include <vector>

class QZ_COMMONADDONS_API qzGenericBVH2D {
 public:
  /// An empty hierarchy, without nodes.
  qzGenericBVH2D() = default;
  /// Copies both arrays and the counters. Failure: an allocation throws the standard exception.
  qzGenericBVH2D(const qzGenericBVH2D&) = default;
  qzGenericBVH2D& operator=(const qzGenericBVH2D&) = default;
  /// Takes over both arrays and leaves them empty in the source, whose counters keep their values.
  qzGenericBVH2D(qzGenericBVH2D&&) = default;
  qzGenericBVH2D& operator=(qzGenericBVH2D&&) = default;
  ~qzGenericBVH2D() = default;

  /// Entry i of the primitive array: primitive numbers, those of a leaf one after another.
  unsigned int getPrimitive(unsigned int i) const { return mPrimitives[i]; }

  /// The node array, the root at 0.
  const qzGNode2D& getNode(unsigned int i) const { return mNodes[i]; }
  qzGNode2D& editNode(unsigned int i) { return mNodes[i]; }
  const std::vector<qzGNode2D>& getNodes() const { return mNodes; }
  std::vector<qzGNode2D>& editNodes() { return mNodes; }

  /// Statistics of a hierarchy that has a node 0.
  ///
  /// nbNodes        the node counter that the builder set: that of the tree before small subtrees were made leaves
  /// nbLeaves       leaves that the root reaches
  /// minPrimitives  primitives of the smallest leaf, or nbNodes if that is less
  /// maxPrimitives  primitives of the largest leaf
  /// avgPrimitives  primitives per leaf
  ///
  /// Writes to no stream. Counts above 2^31 - 1 count as negative.
  /// Cost: every node once; the recursion is as deep as the most left branches on the way to a leaf.
  void getBVHInfo(int& nbNodes, int& nbLeaves, int& minPrimitives, int& maxPrimitives, float& avgPrimitives) const;

 private:
  friend class qzLinearGenericBVH2DBuilder;

  /// Copies node to position i. The node array must reach that far: it does not grow, unlike that of a qzGenericBVH.
  void setNode(unsigned int i, const qzGNode2D& node);
  /// Adds up the leaves below nodeIndex, a node at the given level. maxLocation becomes (level << 24) | node of the
  /// first leaf that exceeds maxPrimitives.
  void getBVHInfoIter(int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives, int& sumPrimitives,
                      int& maxLocation, int level) const;

  std::vector<unsigned int> mPrimitives;
  std::vector<qzGNode2D> mNodes;
  unsigned int mNbPrimitives = 0;
  unsigned int mNbNodes = 0;
};
