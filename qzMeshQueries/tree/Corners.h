#pragma once
// The corners of a part's triangles, and which of them share a vertex.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/AlignedArray.h>
#include <qzMeshQueries/tree/BinaryTree.h>

#include <cstddef>
#include <cstdint>

namespace qzMeshQueries::detail {

/// Three corners for each triangle, in the order of the part. Reading them all first lets many cache misses overlap. A
/// thread reuses the object for part after part.
class Corners {
 public:
  Corners();

  void read(const Mesh& mesh, const BinaryTree& tree, const BinaryPart& part);

  /// Consecutive triangles of the part, at most kMaxBlockTriangles.
  struct Range {
    const std::uint32_t* triangles;  ///< their numbers
    const std::uint32_t* vertices;   ///< of the corners
    const std::int32_t* before;      ///< of each corner: the last one before it in the part at the same vertex; -1 if
                                     ///< there is none, or none so near that a range could hold both
    std::int32_t begin;              ///< the number in the part of the first corner
    int count;                       ///< triangles

    /// Whether no corner of the range before this one is at the same vertex.
    bool isFirst(int corner) const { return before[corner] < begin; }
    int nbVertices() const {
      int result = 0;
      for (int i = 0; i < 3 * count; ++i) result += isFirst(i) ? 1 : 0;
      return result;
    }
  };

  /// The triangles of a subtree.
  Range rangeOf(const BinaryNode* nodes, std::uint32_t number) const;

 private:
  // The last corner at each vertex: a hash table with open addressing, for one segment of a part at a time. Corner
  // numbers go on from segment to segment, so that entries of earlier segments are recognised and count as free.
  struct Slot {
    std::uint32_t vertex, corner;
  };
  static constexpr int kTableBits = 11;
  static constexpr std::uint32_t kMaxCorners = 3 * kMaxPartTriangles, kMaxRange = 3 * kMaxBlockTriangles;
  static constexpr std::uint32_t kSegment = 3 * 512;
  static_assert(kSegment + kMaxRange < 1u << kTableBits, "there is always a free slot");

  AlignedArray<std::uint32_t> mVertices;
  AlignedArray<std::int32_t> mBefore;
  AlignedArray<Slot> mTable;
  std::uint32_t mNext = 0;  // the number of the next corner; 0: the table is to be cleared
  const std::uint32_t* mTriangles = nullptr;
  std::uint32_t mBegin = 0;
};

}  // namespace qzMeshQueries::detail
