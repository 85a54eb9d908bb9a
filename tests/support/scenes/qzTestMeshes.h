#pragma once
// Meshes made from a size and a seed, the same on every machine, and their triangles.

#include <qzSceneGraph/qzTriMesh.h>

#include <cstdint>
#include <vector>

namespace qzTest {

unsigned int nbTrianglesOf(const qz::qzTriMesh& mesh);
Wm4::Vector3<float> cornerOf(const qz::qzTriMesh& mesh, unsigned int triangle, int corner);

/// A mesh of the given corners, three per triangle, without shared vertices.
qz::qzTriMesh meshOfCorners(const std::vector<Wm4::Vector3<float>>& corners);

/// The mesh with scale * p + offset for every position p.
qz::qzTriMesh scaledAndMoved(const qz::qzTriMesh& mesh, float scale, const Wm4::Vector3<float>& offset);

/// Small random triangles in the cube from -1 to 1.
qz::qzTriMesh soupMesh(int nbTriangles, std::uint32_t seed);

/// A height field over the square from -1 to 1, 2 * cells * cells triangles with shared vertices.
qz::qzTriMesh terrainMesh(int cells, std::uint32_t seed);

/// A closed sphere of radius 1, normals outwards, 2 * rings * segments - 2 * segments triangles.
qz::qzTriMesh sphereMesh(int rings, int segments);

/// Degenerate triangles (repeated or collinear vertices, slivers, duplicates, tiny ones) among ordinary ones. All
/// coordinates are finite.
qz::qzTriMesh awkwardMesh(int nbTriangles, std::uint32_t seed);

}  // namespace qzTest
