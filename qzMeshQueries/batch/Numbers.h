#pragma once
// Sorted triangle numbers.

#include <cstdint>
#include <vector>

namespace qzMeshQueries::detail {

/// Sorts ascending, in linear time.
/// Failure: std::bad_alloc.
void sortNumbers(std::vector<std::uint32_t>& numbers);

}  // namespace qzMeshQueries::detail
