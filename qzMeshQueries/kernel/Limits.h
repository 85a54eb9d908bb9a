#pragma once
// What a coordinate may be.

namespace qzMeshQueries::detail {

/// Larger coordinates are refused: products of coordinate differences stay far from overflow.
inline constexpr float kLargestCoordinate = 1e15f;

}  // namespace qzMeshQueries::detail
