#pragma once
// Sorting positions by their keys, and finding the position of one rank without sorting the others.

#include <cstdint>

namespace qzDetail {

/// Position of the key that a stable ascending sort of keys[0 ... count - 1] would put at position rank, below count.
/// Linear in count; works in positions and candidates, count entries each.
std::uint32_t positionOfRank(const std::uint32_t* keys, std::uint32_t count, std::uint32_t rank,
                             std::uint32_t* positions, std::uint32_t* candidates);

/// Sorts the positions 0 ... count - 1 by keys[position], stably and ascending, into positions. Four passes over 8-bit
/// digits; other is the second buffer and ends up with the positions sorted by the low 24 bits of their keys.
void sortPositions(const std::uint32_t* keys, std::uint32_t count, std::uint32_t* positions, std::uint32_t* other);

}  // namespace qzDetail
