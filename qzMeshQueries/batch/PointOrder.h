#pragma once
// The order in which a batch of points is answered.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qzMeshQueries::detail {

/// The numbers 0 to count - 1, count below 2^32, sorted along a Morton curve through the box from min to max, so that
/// points close to each other follow each other. Points outside of the box count as if they were on its border. The
/// order changes no answer.
std::vector<std::uint32_t> orderOfPoints(const float (*points)[3], std::size_t count, const float min[3],
                                         const float max[3]);

}  // namespace qzMeshQueries::detail
