#pragma once
// The boundary of the mesh in a tree.

#include <qzMeshQueries/tree/AlignedArray.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>

namespace qzMeshQueries::detail {

/// The edges that are used more often in one direction than in the other, as often as they are, in that direction. Ends
/// are places: vertices at the same place are one, 0 and -0 are one place, an edge from a place to itself is none.
///
/// At every place as many of these edges begin as end, so they form closed chains. A chain begins at the first place that
/// has an edge left, in the order of x, then y, then z, takes the edge to the first place at every step, and ends when it
/// cannot go on, which is where it began. So the order depends on the triangles' places alone.
struct Boundary {
  static constexpr std::size_t kGroup = 16;

  AlignedArray<float> rows[3];         ///< x, y, z of the chains' places, one after the other; whole groups
  AlignedArray<std::uint16_t> isEdge;  ///< bit i of group g: an edge goes from place kGroup * g + i to the next
  std::size_t edgeCount = 0;

  std::size_t groupCount() const { return isEdge.size(); }
  std::size_t bytes() const { return 3 * rows[0].bytes() + isEdge.bytes(); }
};

/// Cost: O(n) time and memory for usual meshes.
/// Failure: std::bad_alloc.
Boundary findBoundary(const WideTree& tree);

}  // namespace qzMeshQueries::detail
