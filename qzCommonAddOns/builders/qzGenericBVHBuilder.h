#pragma once
// qzGenericBVHBuilder: builds a qzGenericBVH top-down, splitting where a surface-area cost is lowest.
//
// A node of at most 1024 items is split at one of 127 planes per axis, the cheapest by a cost functor, or made a leaf
// when none is cheaper than that; a larger one is split at the median centroid along its longest axis. Nodes of at most
// 16 items and those 32 levels down are leaves. Source: MacDonald and Booth 1990, binned as in Wald 2007.
//
// The builder owns its items and has no public way of filling it: a derived class calls resizeItems, writes
// mItemBBoxes, mItemIndices and mSceneBBox, and may choose a functor by setSAH. Nothing of that is checked.
// Items stay between builds, as the last build reordered them. Limits: fewer than 2^30 items, at most 2^28 nodes.
// Single-threaded: builder and tree belong to the calling thread during a build.

#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzApi.h>

#include <vector>

class qzGNode;
class qzGenericBVH;

class QZ_COMMONADDONS_API qzGenericBVHBuilder {
 public:
  /// No items, and a qzDefaultSAH for the cost. That one functor is never freed.
  qzGenericBVHBuilder();
  /// Copies the arrays and shares the functor.
  qzGenericBVHBuilder(const qzGenericBVHBuilder&) = default;
  qzGenericBVHBuilder& operator=(const qzGenericBVHBuilder&) = default;
  ~qzGenericBVHBuilder();  ///< Frees the arrays; no functor is the builder's to free.

  /// Rebuilds bvh over the items, whose numbers its leaves list in the order that mItemIndices has afterwards.
  ///
  /// bvh  out: the tree. Inner nodes have a split position of 0. The node counter counts the nodes in use, the node
  ///      array reaches to the next multiple of 1024 with default nodes
  ///
  /// No items make one empty leaf. A centroid at least a bin below its node or beyond the last bin counts as in the
  /// last bin (bin numbers wrap at 32 bits), one that is NaN or infinite as in bin 0; a NaN centroid lies right of
  /// every plane. Ties: x before y before z, then the lower plane. A cost that is NaN is never chosen, and a
  /// node whose own cost is NaN is a leaf. The functor is asked for the left and then the right half of every
  /// candidate, planes ascending, x before y before z, and last for the whole node; a qzDefaultSAH, whose calls cannot
  /// be observed, only where they can matter.
  /// Failure: an allocation throws the standard exception, a functor its own; the tree is then unfinished.
  /// Cost: n log n, and at most 32 levels; beside the tree no allocation.
  void build(qzGenericBVH& bvh);

 protected:
  static constexpr unsigned int kNbBins = 128;  ///< Bins per axis; planes lie between them.

  /// Makes room for n items: boxes that are added are empty, numbers 0.
  void resizeItems(int n);

  /// The functor of the builds to come; it stays the caller's and must outlive them. Not null if a node of 17 to 1024
  /// items comes up.
  void setSAH(const qzSAHFunctionoid* sah);

  /// Component of v on an axis; 0 is x, exactly eAxisY is y, any other value z.
  static float getCoord(qzBBox::tAxis axis, const Wm4::Vector3<float>& v);

  /// Makes a leaf of the node or splits it and builds both sides. Its items stand in mItemIndices from start on, its
  /// box is set. node is a number, as the node array grows.
  void buildIter(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count, int depth);

  /// Sorts the node's items into bins. Afterwards mBinCounts[j] and mBinLeftBBoxes[j] are number and box of the items
  /// in bins up to j of an axis, mBinRightBBoxes[j] is the box of those from j on.
  void computeBinning(const qzGNode& node, unsigned int start, unsigned int count);

  /// The cheapest plane of the bins. Returns false, axis and plane untouched, unless it is cheaper than a leaf.
  bool findSplitPlane(const qzGNode& node, unsigned int count, qzBBox::tAxis& axis, float& plane);

  /// The median centroid on the given axis, the upper one of two; by its distance from the node's minimum, among equal
  /// distances by position. A distance below zero counts as larger than every other.
  void findMedianSplit(const qzGNode& node, unsigned int start, unsigned int count, qzBBox::tAxis& axis, float& plane);

  /// Moves items with a centroid up to the plane to the front, makes two children with the boxes of either side and
  /// builds them, the left one first.
  void splitNode(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count, qzBBox::tAxis axis,
                 float plane, int depth);

  std::vector<qzBBox> mItemBBoxes;         ///< Of item k at position k.
  std::vector<unsigned int> mItemIndices;  ///< Items in order; a build partitions them in place.

  // Scratch of median splits. The last one leaves an entry per item of its node. Entries behind those are from earlier,
  // larger splits; in a build of more than 8192 items the positions among them may be in any order.
  std::vector<unsigned int> mSortedPositions;  ///< Positions in the node, sorted by key.
  std::vector<unsigned int> mSortScratch;      ///< The same sorted by the low 24 bits of the key.
  std::vector<unsigned int> mSortKeys;         ///< Key of every position.

  // Bins of the last node of 17 to 1024 items: x from 0, y from mBinOffsetY, z from mBinOffsetZ on.
  std::vector<unsigned int> mBinCounts;  ///< Number of items up to a bin.
  std::vector<qzBBox> mBinLeftBBoxes;    ///< Box of the items up to a bin.
  std::vector<qzBBox> mBinRightBBoxes;   ///< Box of the items from a bin on.

  unsigned int mNbItems = 0;               ///< Set by resizeItems.
  qzBBox mSceneBBox;                       ///< Of the root; should contain all items.
  unsigned int mNbBins = kNbBins;          ///< Per axis.
  unsigned int mBinOffsetY = kNbBins;      ///< First bin of y.
  unsigned int mBinOffsetZ = 2 * kNbBins;  ///< First bin of z.
  const qzSAHFunctionoid* mSAH;            ///< Borrowed.

 private:
  struct tRecursion;

  /// The result of computeBinning and findSplitPlane with a qzDefaultSAH, at a lower cost. Leaves the bins alone.
  bool findDefaultSplitPlane(const qzGNode& node, unsigned int start, unsigned int count, qzBBox::tAxis& axis,
                             float& plane) const;
};
