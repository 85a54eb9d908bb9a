#pragma once
// The triangles and vertices of a block, before they are written.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qzMeshQueries::detail {

class BlockContent {
 public:
  /// Takes a triangle in, keeping the numbers in order. At most kMaxBlockTriangles.
  void addTriangle(std::uint32_t triangle) {
    int i = mNbTriangles++;
    for (; i > 0 && mTriangles[i - 1] > triangle; --i) mTriangles[i] = mTriangles[i - 1];
    mTriangles[i] = triangle;
  }

  /// Collects the vertices of the triangles, each once. Returns false if there are more than kMaxBlockVertices.
  bool collectVertices(const Mesh& mesh) {
    for (int i = 0; i < mNbTriangles; ++i)
      for (int c = 0; c < 3; ++c) {
        const int place = placeOf(mesh.triangles[3 * std::size_t(mTriangles[i]) + std::size_t(c)]);
        if (place == kMaxBlockVertices) return false;
        mCorners[c][i] = std::uint8_t(place);
      }
    return true;
  }

  int nbTriangles() const { return mNbTriangles; }
  int nbVertices() const { return mNbVertices; }

  /// Writes the block of blockSize(nbTriangles(), nbVertices()) bytes to place, and the numbers of its vertices, the first
  /// of which is number firstVertex of the tree, to vertexNumbers.
  void write(const Mesh& mesh, std::uint8_t* place, std::uint32_t* vertexNumbers, std::uint32_t firstVertex) const {
    const auto n = std::size_t(mNbTriangles), m = std::size_t(mNbVertices);
    BlockHead head = {};
    head.triangleCount = std::uint8_t(n);
    head.vertexCount = std::uint8_t(m);
    head.firstVertex = firstVertex;
    for (std::size_t c = 0; c < 3; ++c) std::memcpy(head.corner[c], mCorners[c], n);
    std::memcpy(place, &head, sizeof(head));
    std::uint8_t* const rows = place + sizeof(head);
    for (std::size_t i = 0; i < m; ++i)
      for (std::size_t axis = 0; axis < 3; ++axis)
        std::memcpy(rows + 4 * (axis * m + i), mesh.vertices + 3 * std::size_t(mVertices[i]) + axis, 4);
    std::memcpy(rows + 12 * m, mTriangles, 4 * n);
    const std::size_t end = sizeof(head) + 12 * m + 4 * n;
    std::memset(place + end, 0, blockSize(n, m) - end);
    std::memcpy(vertexNumbers, mVertices, 4 * m);
  }

 private:
  // The place of a vertex in mVertices, where it is put if need be; kMaxBlockVertices if there is no room.
  int placeOf(std::uint32_t vertex) {
    using namespace qzDetail;
    const tInt4 wanted = int4(std::int32_t(vertex));
    for (int first = 0; first < mNbVertices; first += 4) {
      const int equal = bitsOf(maskOf(load(mVertices + first) == wanted)) & ((1 << (mNbVertices - first)) - 1);
      if (equal != 0) return first + ((equal & 3) != 0 ? 1 - (equal & 1) : 3 - (equal >> 2 & 1));
    }
    if (mNbVertices == kMaxBlockVertices) return kMaxBlockVertices;
    mVertices[mNbVertices] = vertex;
    return mNbVertices++;
  }

  int mNbTriangles = 0, mNbVertices = 0;
  alignas(16) std::uint32_t mVertices[kMaxBlockVertices] = {};
  std::uint32_t mTriangles[kMaxBlockTriangles] = {};
  std::uint8_t mCorners[3][kMaxBlockTriangles] = {};
};

}  // namespace qzMeshQueries::detail
