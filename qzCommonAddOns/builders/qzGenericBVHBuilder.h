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
  ~qzGenericBVHBuilder();  ///< Frees the arrays, but no functor.

  /// Rebuilds bvh over the items. Its primitive array is mItemIndices as the build leaves it.
  ///
  /// bvh  out: the tree. Inner nodes have a split position of 0. The node counter counts the nodes in use; default
  ///      nodes pad the node array to a multiple of 1024
  ///
  /// Without items the tree is one empty leaf. A centroid a bin or more below its node's box, or beyond the last bin,
  /// counts as in the last bin (bin numbers wrap at 32 bits), a NaN or infinite one as in bin 0. The functor is called
  /// for the left and then the right half of every candidate, planes ascending, x before y before z, and last for the
  /// whole node. A qzDefaultSAH, whose calls nobody can observe, is not called: its formula is used directly.
  /// Ties: x before y before z, then the lower plane.
  /// NaN: a NaN centroid lies to the right of every plane. A NaN cost is never chosen, and a node whose own cost is NaN
  /// is a leaf.
  /// Failure: an allocation throws the standard exception, a functor its own; the tree is then unfinished.
  /// Cost: n log n, at most 32 levels; allocates nothing but the tree.
  void build(qzGenericBVH& bvh);

 protected:
  static constexpr unsigned int kNbBins = 128;  ///< Bins per axis; planes lie between them.

  /// Resizes the arrays to n items. New boxes are empty, new item numbers 0.
  void resizeItems(int n);

  /// Sets the cost functor of later builds. Not owned; it must outlive them. Not null if a node of 17 to 1024 items can
  /// occur.
  void setSAH(const qzSAHFunctionoid* sah);

  /// Component of v on an axis: eAxisX is x, eAxisY is y, any other value z.
  static float getCoord(qzBBox::tAxis axis, const Wm4::Vector3<float>& v);

  /// Makes node a leaf, or splits it and builds both children. Its items are in mItemIndices from start on, its box is
  /// set. node is a number, as the node array may be reallocated.
  void buildIter(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count, int depth);

  /// Sorts the node's items into bins. Afterwards mBinCounts[j] and mBinLeftBBoxes[j] are number and box of the items
  /// in bins up to j of an axis, mBinRightBBoxes[j] is the box of those from j on.
  void computeBinning(const qzGNode& node, unsigned int start, unsigned int count);

  /// Finds the cheapest plane between bins. Returns false, axis and plane untouched, unless it is cheaper than a leaf.
  bool findSplitPlane(const qzGNode& node, unsigned int count, qzBBox::tAxis& axis, float& plane);

  /// Sets plane to the median centroid on axis, the upper one of two. Centroids are ordered by their distance from the
  /// node's minimum, equal distances by position; negative distances come last.
  void findMedianSplit(const qzGNode& node, unsigned int start, unsigned int count, qzBBox::tAxis& axis, float& plane);

  /// Partitions the items, those with a centroid at or below plane first, makes two children with the boxes of their
  /// items and builds them, the left one first.
  void splitNode(unsigned int node, qzGenericBVH& bvh, unsigned int start, unsigned int count, qzBBox::tAxis axis,
                 float plane, int depth);

  std::vector<qzBBox> mItemBBoxes;         ///< Box of item k at index k.
  std::vector<unsigned int> mItemIndices;  ///< Item numbers; a build partitions them in place.

  // Scratch arrays of median splits. The last split leaves one entry per item of its node; later entries remain from
  // earlier splits of larger nodes. In a build of more than 8192 items, positions among the remaining entries may be
  // unsorted. In a build that an exception ends, all positions may be.
  std::vector<unsigned int> mSortedPositions;  ///< Positions in the node, sorted by key.
  std::vector<unsigned int> mSortScratch;      ///< The same sorted by the low 24 bits of the key.
  std::vector<unsigned int> mSortKeys;         ///< Key of every position.

  // Bins of the last node of 17 to 1024 items: x from 0, y from mBinOffsetY, z from mBinOffsetZ on.
  std::vector<unsigned int> mBinCounts;  ///< Number of items up to a bin.
  std::vector<qzBBox> mBinLeftBBoxes;    ///< Box of the items up to a bin.
  std::vector<qzBBox> mBinRightBBoxes;   ///< Box of the items from a bin on.

  unsigned int mNbItems = 0;               ///< Set by resizeItems.
  qzBBox mSceneBBox;                       ///< Box of the root; should contain all items.
  unsigned int mNbBins = kNbBins;          ///< Per axis.
  unsigned int mBinOffsetY = kNbBins;      ///< First bin of y.
  unsigned int mBinOffsetZ = 2 * kNbBins;  ///< First bin of z.
  const qzSAHFunctionoid* mSAH;            ///< Not owned.

 private:
  struct tRecursion;

  /// Same result as computeBinning and findSplitPlane with a qzDefaultSAH, in less time. Does not touch the bins.
  bool findDefaultSplitPlane(const qzGNode& node, unsigned int start, unsigned int count, qzBBox::tAxis& axis,
                             float& plane) const;
};
