#pragma once
// The tables of docs/edges.md, and the points of its picture.

#include <string>

namespace qzBench {

struct qzEdgeSettings {
  int mNbRays;          ///< per row of a table
  std::string mFolder;  ///< of the scene files
};

/// Solids and scans near the origin: what the meshes are, rays that slip through, points reported twice, false hits.
void printNearOrigin(const qzEdgeSettings& settings);

/// Spheres from coarse to fine. Appends a line "size", edge length and shares of slipped rays for each to points.
void printTriangleSizes(const qzEdgeSettings& settings, std::string& points);

/// Tubes with ever thinner triangles.
void printNeedles(const qzEdgeSettings& settings);

/// Rays in any direction, along the axes and grazing.
void printApproaches(const qzEdgeSettings& settings);

/// Meshes at growing distances from the origin: rays that slip through, and errors of distances. Appends a line "far",
/// mesh, distance and shares of slipped rays for each to points.
void printFarFromOrigin(const qzEdgeSettings& settings, std::string& points);

}  // namespace qzBench
