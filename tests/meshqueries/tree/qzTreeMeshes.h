#pragma once
// Meshes that are hard to build a tree over.

#include "support/scenes/qzQueryMeshes.h"

namespace qzTest {

/// A landscape of 2 * size * size triangles over a grid of shared vertices.
QueryMesh landscapeMesh(int size, std::uint32_t seed);

/// Random triangles without shared vertices.
QueryMesh looseTriangles(int nbTriangles, std::uint32_t seed);

/// Thin triangles in all directions within a cube, a few of them long.
QueryMesh needles(int nbTriangles, std::uint32_t seed);

/// Large and extreme meshes: thousands of equal triangles, of equal centres, of triangles without area; coordinates from
/// denormal to 1e15; sizes that shrink geometrically, so that splits by area cut off one triangle at a time.
std::vector<QueryMesh> extremeMeshes();

}  // namespace qzTest
