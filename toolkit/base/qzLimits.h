#pragma once
// The largest inputs that the node formats can address. The library does not check its input, so the toolkit does.

#include <cstddef>

namespace qzToolkit {

/// Triangles of a qzGenericBVH or qzQBVH. With one triangle per leaf the binary tree has fewer than 2^28 nodes, the
/// most that a right child index can hold; a leaf can start at any of 2^30 entries.
constexpr std::size_t kMaxTriangles = std::size_t(1) << 27;
static_assert(2 * kMaxTriangles - 1 <= std::size_t(1) << 28);

/// Primitives of a qzGenericBVH2D, whose nodes address up to 2^30 children and entries.
constexpr std::size_t kMaxPrimitives2D = std::size_t(1) << 29;
static_assert(2 * kMaxPrimitives2D - 1 <= std::size_t(1) << 30);

}  // namespace qzToolkit
