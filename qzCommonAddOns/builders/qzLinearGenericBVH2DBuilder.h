#pragma once
// qzLinearGenericBVH2DBuilder: builds a qzGenericBVH2D in linear time from the Morton codes of one point per primitive.
//
// It is qzLinearGenericBVHBuilder in two dimensions: quantises points on a square grid, sorts primitives by the Morton
// codes of their cells, takes the tree from common prefixes and makes small subtrees leaves. Source: Lauterbach et al.
// 2009.
//
// The builder owns its input and has no public way of filling it: a derived class does that. Before every build
// mIndices must have at least mNbPrimitives entries, of any value. A build swaps it with the tree's primitive array, so
// check its length before the next build. Single-threaded: builder and tree belong to the calling thread during a
// build.

#include <Wm4/Vector2.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>
#include <qzCommonAddOns/qzApi.h>

#include <vector>

class qzGenericBVH2D;

class QZ_COMMONADDONS_API qzLinearGenericBVH2DBuilder {
 public:
  /// No primitives. Copies and moves take the input along.
  qzLinearGenericBVH2DBuilder() = default;
  qzLinearGenericBVH2DBuilder(const qzLinearGenericBVH2DBuilder&) = default;
  qzLinearGenericBVH2DBuilder& operator=(const qzLinearGenericBVH2DBuilder&) = default;
  qzLinearGenericBVH2DBuilder(qzLinearGenericBVH2DBuilder&&) = default;
  qzLinearGenericBVH2DBuilder& operator=(qzLinearGenericBVH2DBuilder&&) = default;
  ~qzLinearGenericBVH2DBuilder() = default;

  /// The largest subtree that is made one leaf, in primitives; 0 counts as 1. The default is 4. Primitives of one grid
  /// cell share a leaf however many they are.
  void setMaxPrimitivesPerLeaf(unsigned int max);

  /// Rebuilds bvh over the primitives that the builder was filled with, at least one: none is undefined behaviour,
  /// unchecked.
  ///
  /// bvh          out: the tree. The node counter keeps the number of nodes before small subtrees were made leaves, the
  ///              node array has the exact final length; mIndices becomes its primitive array, entries beyond
  ///              mNbPrimitives included
  /// bitsPerAxis  resolution of the grid, 2^bitsPerAxis cells per axis; above 16 counts as 16. 0 gives one leaf
  ///
  /// A NaN coordinate of a point, or bounds without extent: cell 0. A point a cell or more outside the grid counts as
  /// in the last cell of its axis (cell numbers wrap at 32 bits). A NaN coordinate of a box is ignored.
  /// Ties: primitives of one cell keep the order of their numbers.
  /// Failure: an allocation throws the standard exception; bvh is unchanged.
  /// Cost: linear in the number of primitives; working memory 12 bytes per primitive beside the old and the new tree.
  void build(qzGenericBVH2D& bvh, unsigned int bitsPerAxis);

 protected:
  std::vector<qzBBox2D> mBBoxes;             ///< Boxes of the primitives; the boxes of nodes come from them.
  std::vector<unsigned int> mIndices;        ///< During a build: the sorted primitives.
  std::vector<Wm4::Vector2<float>> mPoints;  ///< Points of the primitives; they decide the places in the tree.
  qzBBox2D mBounds;                          ///< Around all points; the grid lies around its centre.
  unsigned int mNbPrimitives = 0;            ///< The arrays have at least that many entries.
  unsigned int mMaxPrimitivesPerLeaf = 4;    ///< Never 0.
};
