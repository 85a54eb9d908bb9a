#pragma once
// The element of a given rank without sorting the others.

#include <cstdint>

namespace qzDetail {

/// Position of the key that a stable ascending sort of keys[0 ... count - 1] would put at position rank, below count.
/// Linear in count; works in positions and candidates, count entries each.
std::uint32_t positionOfRank(const std::uint32_t* keys, std::uint32_t count, std::uint32_t rank,
                             std::uint32_t* positions, std::uint32_t* candidates);

}  // namespace qzDetail
