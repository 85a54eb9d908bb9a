#pragma once
// The most that the nodes of a hierarchy can number. The library checks nothing, so whoever feeds it does.

#include <cstddef>

namespace qzToolkit {

/// Triangles of a qzGenericBVH or qzQBVH. With one triangle per leaf the binary tree has fewer than 2^28 nodes, the
/// most that a node's right child can name; a leaf could start at any of 2^30 entries.
constexpr std::size_t kMaxTriangles = std::size_t(1) << 27;
static_assert(2 * kMaxTriangles - 1 <= std::size_t(1) << 28);

/// Primitives of a qzGenericBVH2D, whose nodes name children and entries up to 2^30.
constexpr std::size_t kMaxPrimitives2D = std::size_t(1) << 29;
static_assert(2 * kMaxPrimitives2D - 1 <= std::size_t(1) << 30);

}  // namespace qzToolkit
