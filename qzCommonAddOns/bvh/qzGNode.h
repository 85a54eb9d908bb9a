#pragma once
// qzGNode: one node of a qzGenericBVH, 32 bytes: a box and two packed words.
//
//              mAxisAndLeft                              mRightAndCount
//              bits 31-30        bits 29-0               bits 31-28           bits 27-0
//   inner      axis (00 01 10)   left child              split position k     right child
//   leaf       11                first primitive entry   number of primitives, all 32 bits
//
// The bits 11 mark a leaf. Builders, statistics and qzQBVH all use this encoding. Nothing is checked: an accessor reads
// its bits whatever the kind of the node.
// Limits: left child and first entry below 2^30, right child below 2^28.

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzApi.h>

class QZ_COMMONADDONS_API qzGNode {
 public:
  /// An inner node on x with the empty box, both of whose children are node 0. No inner node may have one as a child: a
  /// traversal would not end.
  qzGNode() = default;

  /// The box, in scene units; stored as given.
  void setBBox(const qzBBox& bbox) { mBBox = bbox; }
  const qzBBox& getBBox() const { return mBBox; }

  /// Makes this a leaf over the entries [start, start + count) of the primitive array. start is not masked.
  void setLeaf(unsigned int start, unsigned int count) {
    mAxisAndLeft = start | kLeafMark;
    mRightAndCount = count;
  }

  /// Makes this an inner node. left keeps its low 30 bits. right is stored whole: its top four bits become the split
  /// position k. The last argument is ignored.
  void setNode(qzBBox::tAxis axis, unsigned int left, unsigned int right, float /*splitPlane*/) {
    mAxisAndLeft = (left & kLeftMask) | axis;
    mRightAndCount = right;
  }

  /// Whether this is a leaf.
  bool isLeaf() const { return (mAxisAndLeft & kLeafMark) == kLeafMark; }

  /// The qzBBox::tAxis value of an inner node; 0xC0000000 for a leaf.
  unsigned int getAxis() const { return mAxisAndLeft & kLeafMark; }

  /// Node number of an inner node's left child.
  unsigned int getLeftChildIdx() const { return mAxisAndLeft & kLeftMask; }
  /// First entry of a leaf in the primitive array.
  unsigned int getPrimStartIdx() const { return mAxisAndLeft & kLeftMask; }
  /// Node number of an inner node's right child.
  unsigned int getRightChildIdx() const { return mRightAndCount & kRightMask; }
  /// Number of entries of a leaf.
  unsigned int getNoPrimitives() const { return mRightAndCount; }

  /// Coordinate of the splitting plane, (k / 15) * (max - min) + min of the node's box on its axis, with k from 0
  /// to 15, in scene units. The library's own builders leave k at 0, which is the box minimum. A leaf is read as if its
  /// axis were z; the empty box gives NaN.
  float getSplitPlane() const;

 private:
  static constexpr unsigned int kLeafMark = 0xC0000000u;
  static constexpr unsigned int kLeftMask = 0x3FFFFFFFu;
  static constexpr unsigned int kRightMask = 0x0FFFFFFFu;

  qzBBox mBBox;
  unsigned int mAxisAndLeft = 0;
  unsigned int mRightAndCount = 0;
};
static_assert(sizeof(qzGNode) == 32, "a node is six floats and two words");
