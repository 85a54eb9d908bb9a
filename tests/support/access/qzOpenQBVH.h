#pragma once
// qzQBVH with its protected members open: read as 32-bit words, or written lane by lane.

#include <Wm4/Vector3.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qzTest {

using Point = Wm4::Vector3<float>;
using Words = std::vector<std::uint32_t>;

class OpenQBVH : public qzQBVH {
 public:
  using qzQBVH::allocate;
  using qzQBVH::computeRootNodeBBox;
  using qzQBVH::mIsNested;
  using qzQBVH::mNodes;
  using qzQBVH::mRootBBox;
  using qzQBVH::mTriangleEquations;
  using qzQBVH::mTriangleIndices;
  using qzQBVH::mTriangleVertices;
  static constexpr unsigned int kInner = kInnerChild;

  Words nodeWords() const { return wordsOf(mNodes, mNoNodes); }
  Words vertexWords() const { return wordsOf(mTriangleVertices, mNoQuadruplets); }
  Words equationWords() const { return wordsOf(mTriangleEquations, mNoQuadruplets); }
  Words indexWords() const { return wordsOf(mTriangleIndices, mNoQuadruplets); }
  unsigned int flags() const { return mFlags; }
  /// Nodes, vertices, equations, indices.
  std::array<const void*, 4> arrays() const {
    return {mNodes, mTriangleVertices, mTriangleEquations, mTriangleIndices};
  }

  /// Room for vertices. Every lane starts as an empty one, every triangle as padding.
  void allocateEmpty(unsigned int noNodes, unsigned int noQuadruplets) {
    allocate(eTrianglesVertices, noNodes, noQuadruplets);
    for (unsigned int node = 0; node < noNodes; ++node) {
      for (int lane = 0; lane < 4; ++lane) setLane(node, lane, qzBBox(), kNoChild, 0);
    }
    const Point origin(0.0f, 0.0f, 0.0f);
    for (unsigned int quadruplet = 0; quadruplet < noQuadruplets; ++quadruplet) {
      for (int lane = 0; lane < 4; ++lane) setTriangle(quadruplet, lane, origin, origin, origin);
    }
  }
  void setLane(unsigned int node, int lane, const qzBBox& box, unsigned int index, unsigned int quadruplets) {
    for (int axis = 0; axis < 3; ++axis) {
      mNodes[node].mMin[axis][lane] = box.getMinPoint()[axis];
      mNodes[node].mMax[axis][lane] = box.getMaxPoint()[axis];
    }
    mNodes[node].mChildIndex[lane] = index;
    mNodes[node].mChildQuadruplets[lane] = quadruplets;
    mIsNested = mIsSnug = false;  // recorded by a build for its own boxes
  }
  void setTriangle(unsigned int quadruplet, int lane, const Point& v0, const Point& v1, const Point& v2) {
    const Point* vertices[3] = {&v0, &v1, &v2};
    for (int v = 0; v < 3; ++v) {
      for (int axis = 0; axis < 3; ++axis) mTriangleVertices[quadruplet].mVertex[v][axis][lane] = (*vertices[v])[axis];
    }
    mIsSnug = false;
  }

 private:
  /// The words of an array of blocks; none when there is no array.
  template <class Block>
  static Words wordsOf(const Block* blocks, std::size_t count) {
    Words words(blocks == nullptr ? 0 : count * sizeof(Block) / sizeof(std::uint32_t));
    if (!words.empty()) std::memcpy(words.data(), blocks, words.size() * sizeof(std::uint32_t));
    return words;
  }
};

constexpr qzQBVH::tQBVHDataFlags kBothArrays = qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations;

}  // namespace qzTest
