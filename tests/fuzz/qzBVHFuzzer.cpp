// Binary hierarchies of any shape and with any boxes: conversion to four-wide ones, rays and hulls, compared with the
// plain forms.

#include <algorithm>

#include "fuzz/qzFuzzInput.h"
#include "fuzz/qzFuzzQueries.h"

namespace {

using qzFuzz::Input;

/// Makes a hierarchy whose nodes may have any number and any box. The primitives are any triangles in any order.
class HierarchyMaker {
 public:
  HierarchyMaker(Input& input, const qz::qzTriMesh& mesh) : mInput(input), mMesh(mesh) {}

  qzGenericBVH make() {
    const unsigned int nbTriangles = qzTest::nbTrianglesOf(mMesh);
    const unsigned int nbEntries = 1 + mInput.byte();
    for (unsigned int i = 0; i < nbEntries; ++i) mBVH.editPrimitives().push_back((i * mStep + mStart) % nbTriangles);
    for (unsigned int i = mInput.below(9); i > 0; --i) {
      mBVH.editPrimitives()[mInput.byte() % nbEntries] = mInput.byte() % nbTriangles;
    }
    // Numbers in the order of traversal or scattered, with unreachable nodes between them.
    const std::uint8_t order = mInput.byte();
    mStride = order < 128 ? 1 : 2 * (order % 4) + 3;
    mNext = 0;
    makeNode(0);
    return std::move(mBVH);
  }

 private:
  static constexpr unsigned int kMaxNodes = 2048, kMaxDepth = 1500;

  unsigned int takeNumber() {
    const unsigned int number = mNext;
    mNext += mStride;
    return number;
  }

  unsigned int makeNode(unsigned int depth) {
    const unsigned int number = takeNumber();
    const std::uint8_t kind = mInput.byte();
    if (kind < 112 || depth >= kMaxDepth || mNext / mStride > kMaxNodes) {
      makeLeaf(number, kind);
    } else if (kind < 240) {
      const bool isRightFirst = mInput.byte() >= 128;  // which of the two gets the lower numbers
      unsigned int children[2];
      children[isRightFirst] = makeNode(depth + 1);
      children[!isRightFirst] = makeNode(depth + 1);
      setInner(number, children[0], children[1]);
    } else {
      makeChain(number, 1u << (kind - 240) % 10, depth);
    }
    return number;
  }

  /// Inner nodes, each with a leaf on one side and the next on the other.
  void makeChain(unsigned int first, unsigned int length, unsigned int depth) {
    const std::uint8_t side = mInput.byte(), kind = mInput.byte();
    std::vector<std::pair<unsigned int, unsigned int>> links;
    unsigned int number = first;
    for (unsigned int i = 0; i < length && depth + i < kMaxDepth; ++i) {
      const unsigned int leaf = takeNumber(), next = takeNumber();
      makeLeaf(leaf, static_cast<std::uint8_t>(kind % 16 + i));
      links.emplace_back(number, leaf);
      number = next;
    }
    makeLeaf(number, kind);
    for (auto link = links.rbegin(); link != links.rend(); ++link) {
      const bool isLeft = side < 64 || (side >= 128 && (link->first & 1u) != 0);
      setInner(link->first, isLeft ? number : link->second, isLeft ? link->second : number);
      number = link->first;
    }
  }

  void makeLeaf(unsigned int number, std::uint8_t kind) {
    const auto nbEntries = static_cast<unsigned int>(mBVH.getPrimitives().size());
    const unsigned int count = std::min<unsigned int>(kind < 96 ? kind % 12 : kind % 64, nbEntries);
    unsigned int start = mInput.byte();
    if (start + count > nbEntries) start = nbEntries - count;
    qzBBox box;
    for (unsigned int i = start; i < start + count; ++i) {
      for (int corner = 0; corner < 3; ++corner) {
        box.selfExpand(qzTest::cornerOf(mMesh, mBVH.getPrimitive(i), corner));
      }
    }
    qzTest::setLeaf(mBVH, number, changed(box), start, count);
  }

  void setInner(unsigned int number, unsigned int left, unsigned int right) {
    const qzBBox box = mBVH.getNode(left).getBBox().bboxUnion(mBVH.getNode(right).getBBox());
    const std::uint32_t splitPosition = mInput.byte() % 16u;
    qzTest::setInner(mBVH, number, changed(box), left, right | splitPosition << 28);
  }

  /// Most boxes stay as they are; others are a little too large, inverted, or any box.
  qzBBox changed(const qzBBox& box) {
    switch (mInput.byte()) {
      case 1:
        return mInput.box();
      case 2:
        return qzBBox::Make(box.getMaxPoint(), box.getMinPoint());
      case 3:
        return box.expand(mInput.point());
      case 4:
        return box.grow(mInput.number());
      case 5: {
        Wm4::Vector3<float> min = box.getMinPoint(), max = box.getMaxPoint();
        const std::uint8_t side = mInput.byte();
        (side < 128 ? min : max)[side % 3] = mInput.number();
        return qzBBox::Make(min, max);
      }
      default:
        return box;
    }
  }

  Input& mInput;
  const qz::qzTriMesh& mMesh;
  const unsigned int mStep = 1 + mInput.byte(), mStart = mInput.byte();
  qzGenericBVH mBVH;
  unsigned int mNext = 0, mStride = 1;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned int flags = 1 + input.below(3);
  const qz::qzTriMesh mesh = input.mesh(64);
  const qzGenericBVH bvh = HierarchyMaker(input, mesh).make();
  const qzFuzz::BothQBVH hierarchy(flags, bvh, mesh);
  hierarchy.askAll(input, mesh);
  return 0;
}
