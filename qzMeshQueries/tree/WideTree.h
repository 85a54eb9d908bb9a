#pragma once
// The hierarchy that all walks read: nodes of up to sixteen children, and blocks of up to sixteen triangles.
//
// One format for every processor. A child is an inner node, a block, or nothing. Every block is the child of one node.

#include <qzMeshQueries/tree/AlignedArray.h>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace qzMeshQueries::detail {

inline constexpr int kNodeWidth = 16;

/// A tree has at most so many levels of nodes, the root's included, whatever the mesh.
inline constexpr int kMaxTreeLevels = 63;

/// Sixteen boxes, by rows; lane j of every row belongs to child j. Children fill the first lanes; the box of a lane
/// without child has min +infinity and max -infinity, which no ray meets.
///
///     row 0, 1   min x, max x of children 0..15        64 bytes each
///     row 2, 3   min y, max y
///     row 4, 5   min z, max z
///     row 6      child: number of a node, or kIsBlock + place of a block
struct alignas(64) WideNode {
  float bounds[6][kNodeWidth];
  std::uint32_t child[kNodeWidth];
};
static_assert(sizeof(WideNode) == 448, "seven cache lines");

inline constexpr std::uint32_t kIsBlock = 0x80000000u;
inline constexpr int kMaxBlockTriangles = 16, kMaxBlockVertices = 16;

/// Places of blocks count in units of so many bytes.
inline constexpr std::size_t kBlockUnit = 16;

/// The head of a block. Behind it stand, for n triangles over m vertices:
///
///     float x[m], y[m], z[m]          the vertices, each once
///     std::uint8_t corner[3][n]       first, second, third corner of each triangle: a vertex of the block
///     zeros up to a multiple of 4
///     std::uint32_t number[n]         of the triangles in the mesh, ascending
///
/// and zeros up to a multiple of kBlockUnit.
struct BlockHead {
  std::uint8_t triangleCount, vertexCount;
  std::uint16_t unused;       ///< 0
  std::uint32_t firstVertex;  ///< of its m entries in WideTree::vertexNumbers
};
static_assert(sizeof(BlockHead) == 8, "the rows behind it are aligned");

/// Where the numbers stand in a block of n triangles over m vertices, and its size, in bytes.
constexpr std::size_t placeOfNumbers(std::size_t n, std::size_t m) {
  return sizeof(BlockHead) + 12 * m + (3 * n + 3) / 4 * 4;
}
constexpr std::size_t blockSize(std::size_t n, std::size_t m) {
  return (placeOfNumbers(n, m) + 4 * n + kBlockUnit - 1) / kBlockUnit * kBlockUnit;
}

/// A view of a block.
struct Block {
  const BlockHead* head;

  int triangleCount() const { return head->triangleCount; }
  int vertexCount() const { return head->vertexCount; }
  const float* row(int axis) const { return reinterpret_cast<const float*>(head + 1) + axis * vertexCount(); }
  /// The first, second or third corners of all triangles.
  const std::uint8_t* corners(int which) const {
    return reinterpret_cast<const std::uint8_t*>(row(3)) + which * triangleCount();
  }
  const std::uint32_t* numbers() const {
    return reinterpret_cast<const std::uint32_t*>(
        reinterpret_cast<const std::uint8_t*>(head) +
        placeOfNumbers(std::size_t(triangleCount()), std::size_t(vertexCount())));
  }
  void corner(int triangle, int which, float position[3]) const {
    const int vertex = corners(which)[triangle];
    for (int axis = 0; axis < 3; ++axis) position[axis] = row(axis)[vertex];
  }
};

/// Bytes that may be read behind the last block: vectors are loaded whole.
inline constexpr std::size_t kBlockSlack = 64;

/// A tree over a mesh. Without triangles it has no nodes; otherwise node 0 is the root.
struct WideTree {
  AlignedArray<WideNode> nodes;
  AlignedArray<std::uint8_t> blocks;          ///< all blocks, and kBlockSlack zeros
  AlignedArray<std::uint32_t> vertexNumbers;  ///< in the mesh, of the vertices of each block
  float min[4] = {}, max[4] = {};             ///< the box around all triangles; the last is 0
  std::size_t blockCount = 0;

  Block block(std::uint32_t place) const {
    return {reinterpret_cast<const BlockHead*>(blocks.data() + std::size_t(place & ~kIsBlock) * kBlockUnit)};
  }
};

/// Calls visit(block) for every block, in the order of their places.
template <class Visit>
void forEachBlock(const WideTree& tree, Visit&& visit) {
  std::size_t place = 0;
  for (std::size_t i = 0; i < tree.blockCount; ++i) {
    const Block block = {reinterpret_cast<const BlockHead*>(tree.blocks.data() + place)};
    visit(block);
    place += blockSize(std::size_t(block.triangleCount()), std::size_t(block.vertexCount()));
  }
}

}  // namespace qzMeshQueries::detail
