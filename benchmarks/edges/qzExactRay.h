#pragma once
// Exact intersection of a line and a triangle, both given in floats. Signs are computed in double precision where its
// error bound allows, and in integers of arbitrary length otherwise.

#include <optional>

#include <benchmarks/scenes/qzRays.h>

namespace qzBench {

/// An intersection point of a ray and a triangle.
struct qzCrossing {
  double mDistance;  ///< in lengths of the direction; relative error 1e-9, on an edge 1e-15
  double mCosine;    ///< of the angle between ray and normal; the sign is exact
  bool mIsOnEdge;    ///< exactly
  int mTriangle;
};

/// Intersection of the line origin + s * direction, s of any sign, with the triangle including its edges and vertices.
/// None for a triangle without area and for a line in its plane; adjacent triangles have those points.
std::optional<qzCrossing> crossingOf(const qzRay& ray, const qzScene& scene, int triangle);

}  // namespace qzBench
