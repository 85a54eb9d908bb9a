#pragma once
// qzGNode2D: one node of a qzGenericBVH2D, 24 bytes: a box and two words.
//
//              mAxisAndLeft                              mRightAndCount, all 32 bits
//              bits 31-30        bits 29-0
//   inner      00                left child              right child
//   leaf       11                first primitive entry   number of primitives
//
// The bits 11 mark a leaf. Unlike a qzGNode, a node records neither the axis nor the position of its split, so the
// right child has the whole word. Nothing is checked: an accessor reads its bits whatever the kind of the node.
// Limits: left child and first entry below 2^30.

#include <qzCommonAddOns/geometry/qzBBox2D.h>
#include <qzCommonAddOns/qzApi.h>

class QZ_COMMONADDONS_API qzGNode2D {
 public:
  /// An inner node with the empty box, both of whose children are node 0. No inner node may have one as a child: a
  /// traversal would not end.
  qzGNode2D() = default;

  /// The box, in scene units; stored as given.
  void setBBox(const qzBBox2D& bbox) { mBBox = bbox; }
  const qzBBox2D& getBBox() const { return mBBox; }

  /// Makes this a leaf over the entries [start, start + count) of the primitive array. start is not masked.
  void setLeaf(unsigned int start, unsigned int count) {
    mAxisAndLeft = start | kLeafMark;
    mRightAndCount = count;
  }

  /// Makes this an inner node. left keeps its low 30 bits, right all of its bits.
  void setNode(unsigned int left, unsigned int right) {
    mAxisAndLeft = left & kLeftMask;
    mRightAndCount = right;
  }

  /// Whether this is a leaf.
  bool isLeaf() const { return (mAxisAndLeft & kLeafMark) == kLeafMark; }

  /// Node number of an inner node's left child.
  unsigned int getLeftChildIdx() const { return mAxisAndLeft & kLeftMask; }
  /// First entry of a leaf in the primitive array.
  unsigned int getPrimStartIdx() const { return mAxisAndLeft & kLeftMask; }
  /// Node number of an inner node's right child.
  unsigned int getRightChildIdx() const { return mRightAndCount; }
  /// Number of entries of a leaf.
  unsigned int getNoPrimitives() const { return mRightAndCount; }

 private:
  static constexpr unsigned int kLeafMark = 0xC0000000u;
  static constexpr unsigned int kLeftMask = 0x3FFFFFFFu;

  qzBBox2D mBBox;
  unsigned int mAxisAndLeft = 0;
  unsigned int mRightAndCount = 0;
};
static_assert(sizeof(qzGNode2D) == 24, "a node is four floats and two words");
