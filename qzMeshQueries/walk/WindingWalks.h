#pragma once
// The walks for winding numbers, one set per instruction set. All give the same answers.

#include <qzMeshQueries/kernel/EdgeAngle.h>
#include <qzMeshQueries/tree/Edges.h>

#include <cstddef>

namespace qzMeshQueries::detail {

struct WindingWalks {
  /// How often the ray upwards from a point crosses the mesh; not at all from a point that is not valid. Trees may be
  /// empty.
  Crossings (*crossingsAbove)(const WideTree& tree, const float point[3]);
  void (*crossingsAboveMany)(const WideTree& tree, const float (*points)[3], std::size_t count, Crossings* out);

  /// The turns of all edges of a boundary around so many points, joined; none around a point that is not valid.
  void (*turnBoundary)(const Boundary& boundary, const float (*points)[3], std::size_t count, Turning* out);
};

}  // namespace qzMeshQueries::detail
