#pragma once
// The triangles and vertices of a block, before they are written.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/Corners.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qzMeshQueries::detail {

class BlockContent {
 public:
  /// Requires at most kMaxBlockTriangles triangles over at most kMaxBlockVertices vertices. Vertices are numbered in
  /// the order in which the range has them.
  explicit BlockContent(const Corners::Range& range) : mNbTriangles(range.count) {
    // Sort by triangle number. Keys hold the number in the high half, the place in the range in the low half.
    std::uint64_t order[kMaxBlockTriangles];
    for (int i = 0; i < mNbTriangles; ++i) {
      const std::uint64_t key = std::uint64_t(range.triangles[i]) << 32 | std::uint64_t(i);
      int k = i;
      for (; k > 0 && order[k - 1] > key; --k) order[k] = order[k - 1];
      order[k] = key;
    }
    std::uint8_t places[3 * kMaxBlockTriangles];
    for (int i = 0; i < 3 * mNbTriangles; ++i) {
      const bool isFirst = range.isFirst(i);
      places[i] = isFirst ? std::uint8_t(mNbVertices) : places[range.before[i] - range.begin];
      if (isFirst) mVertices[mNbVertices++] = range.vertices[i];
    }
    for (int i = 0; i < mNbTriangles; ++i) {
      const auto place = std::size_t(order[i] & 0xFFFFFFFFu);
      mTriangles[i] = std::uint32_t(order[i] >> 32);
      for (std::size_t c = 0; c < 3; ++c) mCorners[c][i] = places[3 * place + c];
    }
  }

  int nbTriangles() const { return mNbTriangles; }
  int nbVertices() const { return mNbVertices; }

  /// Writes the block of blockSize(nbTriangles(), nbVertices()) bytes to place, and the numbers of its vertices, the
  /// first of which is number firstVertex of the tree, to vertexNumbers.
  void write(const Mesh& mesh, std::uint8_t* place, std::uint32_t* vertexNumbers, std::uint32_t firstVertex) const {
    const auto n = std::size_t(mNbTriangles), m = std::size_t(mNbVertices);
    BlockHead head = {};
    head.triangleCount = std::uint8_t(n);
    head.vertexCount = std::uint8_t(m);
    head.firstVertex = firstVertex;
    std::memcpy(place, &head, sizeof(head));
    std::uint8_t* const rows = place + sizeof(head);
    for (std::size_t i = 0; i < m; ++i)
      for (std::size_t axis = 0; axis < 3; ++axis)
        std::memcpy(rows + 4 * (axis * m + i), mesh.vertices + 3 * std::size_t(mVertices[i]) + axis, 4);
    std::uint8_t* const corners = rows + 12 * m;
    for (std::size_t c = 0; c < 3; ++c) std::memcpy(corners + c * n, mCorners[c], n);
    std::uint8_t* const numbers = place + placeOfNumbers(n, m);
    std::memset(corners + 3 * n, 0, std::size_t(numbers - (corners + 3 * n)));
    std::memcpy(numbers, mTriangles, 4 * n);
    std::memset(numbers + 4 * n, 0, blockSize(n, m) - (placeOfNumbers(n, m) + 4 * n));
    std::memcpy(vertexNumbers, mVertices, 4 * m);
  }

 private:
  int mNbTriangles, mNbVertices = 0;
  std::uint32_t mVertices[kMaxBlockVertices];
  std::uint32_t mTriangles[kMaxBlockTriangles];
  std::uint8_t mCorners[3][kMaxBlockTriangles];
};

}  // namespace qzMeshQueries::detail
