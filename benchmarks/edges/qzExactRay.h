#pragma once
// Whether and where a ray meets a triangle, decided exactly for the floats that the ray and the vertices are. Signs
// come from double precision where its error bound leaves no doubt, and from integers of any length everywhere else.

#include <optional>

#include <benchmarks/scenes/qzRays.h>

namespace qzBench {

/// A point that a ray and a triangle have in common.
struct qzCrossing {
  double mDistance;  ///< in lengths of the direction, right to 1e-9 of it, and to 1e-15 on an edge
  double mCosine;    ///< of the angle between ray and normal, its sign exact
  bool mIsOnEdge;    ///< exactly
  int mTriangle;
};

/// Where the whole line origin + s * direction meets the triangle, its edges and corners included. None for a triangle
/// without area and for a line within its plane: there, its neighbours have the point.
std::optional<qzCrossing> crossingOf(const qzRay& ray, const qzScene& scene, int triangle);

}  // namespace qzBench
