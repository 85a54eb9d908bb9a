#pragma once
// The order in which a batch of points is answered.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qzMeshQueries::detail {

/// The numbers 0..count-1 such that points next to each other follow each other: along a Morton curve through the box
/// from min to max. Points outside of the box count as if they were on its border. It changes no answer. Fewer than 2^32.
std::vector<std::uint32_t> orderOfPoints(const float (*points)[3], std::size_t count, const float min[3],
                                         const float max[3]);

}  // namespace qzMeshQueries::detail
