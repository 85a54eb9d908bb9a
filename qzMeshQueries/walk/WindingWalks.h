#pragma once
// The walks for winding numbers, one set per instruction set. All give the same answers.

#include <qzMeshQueries/kernel/EdgeAngle.h>
#include <qzMeshQueries/tree/Edges.h>

#include <cstddef>

namespace qzMeshQueries::detail {

struct WindingWalks {
  /// The turns of all edges of a boundary around so many points, joined; none around a point that is not valid.
  void (*turnBoundary)(const Boundary& boundary, const float (*points)[3], std::size_t count, Turning* out);
};

}  // namespace qzMeshQueries::detail
