#pragma once
// The walks for questions about what is near and what lies in a region, one set per instruction set. All give the same
// answers.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/kernel/PointTriangle.h>
#include <qzMeshQueries/kernel/Regions.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace qzMeshQueries::detail {

/// The nearest triangle so far.
struct NearState {
  float distance = std::numeric_limits<float>::infinity();  ///< or how far it may be
  std::uint32_t number = kNone;                             ///< in the mesh
  Block block = {};                                         ///< where it is
  int triangle = 0;                                         ///< in the block

  /// The answer.
  Nearest answer(const float point[3]) const {
    if (number == kNone) return nothingNear();
    float corner[3][3];
    for (int which = 0; which < 3; ++which) block.corner(triangle, which, corner[which]);
    return nearestOn(point, corner[0], corner[1], corner[2], number);
  }
};

/// Trees may be empty, and questions may be such that nothing is near them. Numbers are those of the mesh.
struct NearWalks {
  NearState (*findNearest)(const WideTree& tree, const float point[3], float maxDistance);
  /// The answers to points[order[i]] for i in 0..count, into the elements of the same numbers. It is fast if points that
  /// follow each other are close to each other.
  void (*findNearests)(const WideTree& tree, const float (*points)[3], const std::uint32_t* order, std::size_t count,
                       float maxDistance, Nearest* answers);

  // Append numbers in no particular order.
  void (*findInBox)(const WideTree& tree, const RegionBox& box, std::vector<std::uint32_t>& numbers);
  void (*findInSphere)(const WideTree& tree, const float center[3], float radius, std::vector<std::uint32_t>& numbers);
  void (*findInRegion)(const WideTree& tree, const float (*planes)[4], std::size_t count,
                       std::vector<std::uint32_t>& numbers);
};

}  // namespace qzMeshQueries::detail
