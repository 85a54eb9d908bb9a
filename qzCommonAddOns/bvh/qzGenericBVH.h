#pragma once
// qzGenericBVH: a binary hierarchy of boxes, held as an array of packed nodes and an array of primitive numbers.
// The root is node 0; a leaf covers a run of the primitive array. The object owns both arrays. Nothing is checked: an
// index must be in range, and an empty hierarchy has no node 0.

#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/qzApi.h>

#include <cstdint>
#include <vector>

class QZ_COMMONADDONS_API qzGenericBVH {
 public:
  qzGenericBVH() = default;
  qzGenericBVH(const qzGenericBVH&) = default;
  qzGenericBVH& operator=(const qzGenericBVH&) = default;
  /// Takes over both arrays and leaves them empty in the source, whose counters keep their values.
  qzGenericBVH(qzGenericBVH&&) = default;
  qzGenericBVH& operator=(qzGenericBVH&&) = default;
  ~qzGenericBVH() = default;

  unsigned int getPrimitive(unsigned int i) const { return mPrimitives[i]; }
  const std::vector<unsigned int>& getPrimitives() const { return mPrimitives; }
  std::vector<unsigned int>& editPrimitives() { return mPrimitives; }

  const qzGNode& getNode(unsigned int i) const { return mNodes[i]; }
  qzGNode& getNode(unsigned int i) { return mNodes[i]; }
  const std::vector<qzGNode>& getNodes() const { return mNodes; }
  std::vector<qzGNode>& editNodes() { return mNodes; }

  /// The node counter that the builder set, which is not the length of the node array: that may be longer (it grows in
  /// steps) or, after a linear build, shorter (fusing small subtrees leaves the counter as it was).
  unsigned int getNbNodes() const { return mNbNodes; }

  /// Empties the hierarchy and gives back the storage of both arrays.
  void clearBVH();

  /// Exchanges the contents of two hierarchies without copying an element; with itself it changes nothing.
  void swapBVH(qzGenericBVH& other);

  /// Bytes held: 4 per primitive entry and 32 per node of the arrays' capacities, and 8 for the counters.
  std::uint64_t getMemoryUsed() const;

 private:
  friend class qzLinearGenericBVHBuilder;

  /// Copies node to position i, growing the array if need be. The node counter is the builder's to keep.
  void setNode(unsigned int i, const qzGNode& node);
  /// Node i, growing the array if need be: to the smallest multiple of kNodeGrowthStep above i.
  qzGNode& getOrCreateNode(unsigned int i);

  static constexpr unsigned int kNodeGrowthStep = 1024;

  std::vector<unsigned int> mPrimitives;
  std::vector<qzGNode> mNodes;
  unsigned int mNbPrimitives = 0;
  unsigned int mNbNodes = 0;
};
