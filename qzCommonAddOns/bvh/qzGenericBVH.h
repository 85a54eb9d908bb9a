#pragma once
// qzGenericBVH: a binary hierarchy of boxes, held as an array of packed nodes and an array of primitive numbers.
// The root is node 0; a leaf covers a run of the primitive array. The object owns both arrays. Nothing is checked: an
// index must be in range, and an empty hierarchy has no node 0. Any number of threads may read a finished hierarchy.

#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/qzApi.h>

#include <cstdint>
#include <iosfwd>
#include <vector>

class QZ_COMMONADDONS_API qzGenericBVH {
 public:
  /// An empty hierarchy, without nodes.
  qzGenericBVH() = default;
  /// Copies both arrays and the counters. Failure: an allocation throws the standard exception.
  qzGenericBVH(const qzGenericBVH&) = default;
  qzGenericBVH& operator=(const qzGenericBVH&) = default;
  /// Takes over both arrays and leaves them empty in the source, whose counters keep their values.
  qzGenericBVH(qzGenericBVH&&) = default;
  qzGenericBVH& operator=(qzGenericBVH&&) = default;
  ~qzGenericBVH() = default;

  /// The primitive array: primitive numbers, those of a leaf contiguous. An edit invalidates references as for any
  /// vector and does not change the counters.
  unsigned int getPrimitive(unsigned int i) const { return mPrimitives[i]; }
  const std::vector<unsigned int>& getPrimitives() const { return mPrimitives; }
  std::vector<unsigned int>& editPrimitives() { return mPrimitives; }

  /// The node array, the root at 0. It may have more entries than the root reaches; those are unspecified.
  const qzGNode& getNode(unsigned int i) const { return mNodes[i]; }
  qzGNode& getNode(unsigned int i) { return mNodes[i]; }
  const std::vector<qzGNode>& getNodes() const { return mNodes; }
  std::vector<qzGNode>& editNodes() { return mNodes; }

  /// The node counter that the builder set. It is not the length of the node array, which may be longer (it grows in
  /// steps) or, after a linear build, shorter (fusing small subtrees does not change the counter).
  unsigned int getNbNodes() const { return mNbNodes; }

  /// Empties the hierarchy and releases the storage of both arrays.
  void clearBVH();

  /// Exchanges the contents of two hierarchies without copying an element. A swap with itself changes nothing.
  void swapBVH(qzGenericBVH& other);

  /// Memory held, in bytes: 4 per primitive and 32 per node of the arrays' capacities, plus 8 for the counters.
  std::uint64_t getMemoryUsed() const;

  /// Statistics of a hierarchy that has a node 0.
  ///
  /// nbNodes        the node counter, as getNbNodes
  /// nbLeaves       leaves that the root reaches
  /// minPrimitives  primitives of the smallest leaf, or nbNodes if that is less
  /// maxPrimitives  primitives of the largest leaf
  /// avgPrimitives  primitives per leaf
  ///
  /// Writes the line "max at lvl:" with the level of the first leaf of maxPrimitives to std::cout; the root is level 0.
  /// Node numbers of 2^24 and above corrupt the printed level. Counts above 2^31 - 1 wrap to negative.
  ///
  /// Cost: every node once; recursion depth is the number of left branches on the path to a leaf.
  /// Threads: calls share std::cout.
  void getBVHInfo(int& nbNodes, int& nbLeaves, int& minPrimitives, int& maxPrimitives, float& avgPrimitives) const;

  /// Writes the tree from the root to std::cout, a line per inner node and two per leaf, indented by one | per level:
  /// number, box, and for a leaf its primitives. The stream's formatting is used and kept. There must be a node 0.
  /// Cost: every node and every primitive once; recursion depth is that of the tree.
  void print() const;

 private:
  friend class qzGenericBVHBuilder;
  friend class qzLinearGenericBVHBuilder;

  /// Copies node to position i and grows the array if necessary. The builder maintains the node counter.
  void setNode(unsigned int i, const qzGNode& node);
  /// Node i. Grows the array if necessary, to the smallest multiple of kNodeGrowthStep above i.
  qzGNode& getOrCreateNode(unsigned int i);

  /// Adds the leaves of the subtree at nodeIndex, whose level is given. maxLocation becomes (level << 24) | node of
  /// the first leaf that exceeds maxPrimitives.
  void getBVHInfoIter(int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives, int& sumPrimitives,
                      int& maxLocation, int level) const;
  /// Writes the subtree at nodeIndex, depth levels below the root.
  void printNode(unsigned int nodeIndex, unsigned int depth) const;

  static constexpr unsigned int kNodeGrowthStep = 1024;

  std::vector<unsigned int> mPrimitives;
  std::vector<qzGNode> mNodes;
  unsigned int mNbPrimitives = 0;
  unsigned int mNbNodes = 0;
};

/// Writes a summary of a hierarchy that has a node 0 to os, without a line break at its end: a tree of 7 nodes with
/// leaves of 2, 3, 1 and 2 primitives gives "7 nodes. 4(3,1,2) leaves (max, min, avg):". getBVHInfo writes its line to
/// std::cout, not to os.
QZ_COMMONADDONS_API std::ostream& operator<<(std::ostream& os, const qzGenericBVH& bvh);
