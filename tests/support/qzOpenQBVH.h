#pragma once
// qzQBVH with its arrays open, and what the tests of this folder do with one: compare words, cast rays, make scenes.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "plain/qzPlainQBVH.h"
#include "support/qzBits.h"
#include "support/qzTestMeshes.h"

namespace qzTest {

using Point = Wm4::Vector3<float>;
using Words = std::vector<std::uint32_t>;

class OpenQBVH : public qzQBVH {
 public:
  using qzQBVH::allocate;
  using qzQBVH::computeRootNodeBBox;
  using qzQBVH::mNodes;
  using qzQBVH::mRootBBox;

  Words nodeWords() const { return wordsOf(mNodes, mNoNodes); }
  Words vertexWords() const { return wordsOf(mTriangleVertices, mNoQuadruplets); }
  Words equationWords() const { return wordsOf(mTriangleEquations, mNoQuadruplets); }
  Words indexWords() const { return wordsOf(mTriangleIndices, mNoQuadruplets); }
  unsigned int flags() const { return mFlags; }
  /// Nodes, vertices, equations, indices.
  std::array<const void*, 4> arrays() const {
    return {mNodes, mTriangleVertices, mTriangleEquations, mTriangleIndices};
  }
  /// What the walk of a ray sees.
  qzDetail::tRayHierarchy rows() const {
    return qzDetail::viewRows(mNodes, mTriangleEquations, mTriangleIndices, mNoNodes, mNoQuadruplets, mIsNested);
  }

 private:
  /// The words of an array of blocks, none when there is no array.
  template <class Block>
  static Words wordsOf(const Block* blocks, std::size_t count) {
    Words words(blocks == nullptr ? 0 : count * sizeof(Block) / sizeof(std::uint32_t));
    if (!words.empty()) std::memcpy(words.data(), blocks, words.size() * sizeof(std::uint32_t));
    return words;
  }
};

constexpr qzQBVH::tQBVHDataFlags kBothArrays = qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations;

/// Where the two differ first; empty when every word, the box, the flags and the sizes are the same.
/// eAnyNaN takes one NaN of the equations for another: which one a NaN vertex leads to is the compiler's choice.
enum NaNWords { eSameNaN, eAnyNaN };
std::string difference(const OpenQBVH& library, const qzPlain::tQBVH& plain, NaNWords nans = eSameNaN);

// Builds that keep the linear builder's records to themselves.
qzGenericBVH linearBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize);
void buildFromMesh(OpenQBVH& hierarchy, qzQBVH::tQBVHDataFlags flags, const qz::qzTriMesh& mesh,
                   unsigned int maxLeafSize);

// Binary hierarchies by hand: the node array is as long as the highest number asked for.
void setLeaf(qzGenericBVH& bvh, unsigned int node, const qzBBox& box, unsigned int start, unsigned int count);
void setInner(qzGenericBVH& bvh, unsigned int node, const qzBBox& box, unsigned int left, unsigned int right);

/// What the boxes of a random hierarchy are. eTightBoxes: as small as can be. eNestedBoxes: within each other, but some
/// too large, up to infinite, and some of leaves too small. eCroppedBoxes: tight, but a side of some cut off, so that
/// what is below sticks out. eOddBoxes: some inverted, NaN, infinite or anywhere.
enum BoxKind { eTightBoxes, eNestedBoxes, eCroppedBoxes, eOddBoxes };

/// A binary hierarchy of random shape over the triangles of mesh: leaves of any size up to maxLeafSize or one, without
/// triangles included now and then, at any depth; nodes numbered in no order, with others between them that the root
/// does not reach; some triangles named twice.
qzGenericBVH randomBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize, BoxKind boxes, Random& random);

/// The point (1 - u - v) V0 + u V1 + v V2.
Point pointOn(const qz::qzTriMesh& mesh, unsigned int triangle, float u, float v);

struct Ray {
  Point origin, direction;
  float tMin = 0.0f, t = kInf;
  unsigned int policy = 0;
};
std::ostream& operator<<(std::ostream& stream, const Ray& ray);

/// What a query returned and left in its outputs, which held marks before.
struct Answer {
  bool hit;
  float t;
  Wm4::Vector2<float> barycentric = kUntouchedWeights;
  unsigned int triangle = kUntouchedTriangle;

  static const Wm4::Vector2<float> kUntouchedWeights;
  static constexpr unsigned int kUntouchedTriangle = 0xABCDEF01u;
};
constexpr unsigned int kNoTriangle = 0xFFFFFFFFu;
bool sameAnswer(const Answer& a, const Answer& b);
std::ostream& operator<<(std::ostream& stream, const Answer& answer);

Answer cast(const qzQBVH& hierarchy, const Ray& ray);
Answer cast(const qzPlain::tQBVH& hierarchy, const Ray& ray);
Answer castSymmetric(const qzQBVH& hierarchy, const Ray& ray);
Answer castSymmetric(const qzPlain::tQBVH& hierarchy, const Ray& ray);

/// One of the walks that the library has for different processors.
struct RayVariant {
  const char *name, *nameOfSymmetric;
  void (*walk)(const qzDetail::tRayHierarchy&, const qzDetail::tRayQuery&, qzDetail::tRayHit&);
};
/// The walks that this processor can run.
const std::vector<RayVariant>& rayVariants();
Answer cast(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray);
Answer castSymmetric(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray);

/// A ray that has a good chance of a hit: from outside into the scene, from inside, at a corner, along an axis.
Ray ordinaryRay(const qz::qzTriMesh& mesh, Random& random);
/// A ray to break things with: any float anywhere, both zeros, denormals, directions of zero, origins on box planes.
Ray awkwardRay(const qz::qzTriMesh& mesh, Random& random);

}  // namespace qzTest
