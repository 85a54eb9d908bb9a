#pragma once
// The plain form of qzQBVH, one lane at a time: the same conversion and the same ray queries in scalar floats on plain
// words.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdint>
#include <vector>

namespace qzPlain {

/// A four-wide hierarchy as its 32-bit words, in the rows and lanes that qzQBVH.h documents: word 4 * row + lane of a
/// block.
struct tQBVH {
  static constexpr unsigned int kNodeWords = 32, kVertexWords = 36, kEquationWords = 48, kIndexWords = 4;
  static constexpr unsigned int kVerticesFlag = 1, kEquationsFlag = 2;

  std::vector<std::uint32_t> mNodes;
  std::vector<std::uint32_t> mVertices, mEquations, mIndices;  // empty when the flags do not ask for them
  qzBBox mRootBBox;
  unsigned int mFlags = 0, mNoNodes = 0, mNoQuadruplets = 0;
};

/// Converts a binary hierarchy over the triangles of mesh.
tQBVH convert(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh);

/// Box around the four lanes of the first node; the hierarchy has one.
qzBBox boxOfFirstNode(const tQBVH& hierarchy);

/// The queries of qzQBVH, without the log record of a hierarchy that has no equations.
bool intersectRay(const tQBVH& hierarchy, const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction,
                  float tMin, float& t, Wm4::Vector2<float>& barycentric, unsigned int& triangle, unsigned int policy);
bool intersectRaySymmetric(const tQBVH& hierarchy, const Wm4::Vector3<float>& origin,
                           const Wm4::Vector3<float>& direction, float& t, Wm4::Vector2<float>& barycentric,
                           unsigned int& triangle);

}  // namespace qzPlain
