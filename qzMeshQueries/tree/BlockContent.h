#pragma once
// The triangles and vertices of a block, before they are written.

#include <qzCommonAddOns/qzDetail/base/qzBits.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qzMeshQueries::detail {

class BlockContent {
 public:
  /// Some triangles, at most kMaxBlockTriangles, by their numbers and their corners, three of each.
  BlockContent(const std::uint32_t* triangles, const std::uint32_t* corners, std::uint32_t count)
      : mNbTriangles(int(count)) {
    alignas(16) std::uint32_t vertices[kMaxCorners];
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t k = i;
      for (; k > 0 && mTriangles[k - 1] > triangles[i]; --k) {
        mTriangles[k] = mTriangles[k - 1];
        std::memcpy(vertices + 3 * k, vertices + 3 * (k - 1), 3 * sizeof(std::uint32_t));
      }
      mTriangles[k] = triangles[i];
      std::memcpy(vertices + 3 * k, corners + 3 * i, 3 * sizeof(std::uint32_t));
    }
    collectVertices(vertices);
  }

  bool fits() const { return mNbVertices <= kMaxBlockVertices; }
  int nbTriangles() const { return mNbTriangles; }
  int nbVertices() const { return mNbVertices; }

  /// Requires fits(). Writes the block of blockSize(nbTriangles(), nbVertices()) bytes to place, and the numbers of its vertices, the first
  /// of which is number firstVertex of the tree, to vertexNumbers.
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
  static constexpr int kMaxCorners = 3 * kMaxBlockTriangles;

  // Numbers the different vertices in the order in which they come.
  void collectVertices(std::uint32_t (&all)[kMaxCorners]) {
    using namespace qzDetail;
    const int nbCorners = 3 * mNbTriangles;
    for (int i = nbCorners; i % 4 != 0; ++i) all[i] = all[0];
    std::uint8_t places[kMaxCorners];
    for (int i = 0; i < nbCorners; ++i) {
      // Bit k: corner k is at the same vertex. The lowest is the first of them.
      const tInt4 vertex = int4(std::int32_t(all[i]));
      std::uint64_t isSame = std::uint64_t(1) << i;
      for (int k = 0; k < i; k += 4) isSame |= std::uint64_t(bitsOf(maskOf(load(all + k) == vertex))) << k;
      const int first = lowestBit(isSame);
      const int place = first == i ? mNbVertices : places[first];
      places[i] = std::uint8_t(place);
      mVertices[place] = all[i];
      mNbVertices += first == i;
    }
    for (int i = 0; i < mNbTriangles; ++i)
      for (int c = 0; c < 3; ++c) mCorners[c][i] = places[3 * i + c];
  }

  int mNbTriangles, mNbVertices = 0;
  std::uint32_t mVertices[kMaxCorners];
  std::uint32_t mTriangles[kMaxBlockTriangles];
  std::uint8_t mCorners[3][kMaxBlockTriangles];
};

}  // namespace qzMeshQueries::detail
