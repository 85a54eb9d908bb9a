#pragma once
// Meshes for questions of a MeshIndex: ones that are hard for it, and closed ones. The same on every machine.

#include <qzMeshQueries/MeshTypes.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

struct QueryMesh {
  std::string name;
  std::vector<float> vertices;           // x y z of each
  std::vector<std::uint32_t> triangles;  // three vertices of each

  std::size_t vertexCount() const { return vertices.size() / 3; }
  std::size_t triangleCount() const { return triangles.size() / 3; }
  const float* corner(std::size_t triangle, std::size_t k) const {
    return &vertices[3 * std::size_t(triangles[3 * triangle + k])];
  }
  qzMeshQueries::Mesh view() const { return {vertices.data(), vertexCount(), triangles.data(), triangleCount()}; }
  /// Some of the triangles, over all vertices.
  qzMeshQueries::Mesh view(std::size_t firstTriangle, std::size_t count) const {
    return {vertices.data(), vertexCount(), triangles.data() + 3 * firstTriangle, count};
  }

  std::uint32_t addVertex(float x, float y, float z);
  void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);
};

QueryMesh queryMeshOf(const std::string& name, const qz::qzTriMesh& mesh);
/// Both meshes in one.
QueryMesh joined(const std::string& name, const QueryMesh& a, const QueryMesh& b);
/// scale * p + offset for every vertex p.
QueryMesh transformed(const QueryMesh& mesh, float scale, float x, float y, float z);
/// The same triangles without shared vertices.
QueryMesh unshared(const QueryMesh& mesh);

// Closed meshes around the origin, normals outwards, size about 1.
QueryMesh cubeMesh();
QueryMesh icosphereMesh(int nbSubdivisions);
QueryMesh torusMesh(int nbRings, int nbSegments);
/// An icosphere with every vertex at a random distance from the origin.
QueryMesh starMesh(int nbSubdivisions, std::uint32_t seed);
/// A box of 12 * cells * cells triangles, its faces grids in planes across the axes.
QueryMesh gridBoxMesh(int cells);
/// All of them, some in several sizes.
std::vector<QueryMesh> closedMeshes();

/// Small meshes of every difficult kind: without triangles or area, duplicates, slivers, coincident vertices, both
/// zeros, denormal and huge coordinates, many triangles at one vertex, more triangles at one place than a block holds.
std::vector<QueryMesh> difficultMeshes();

}  // namespace qzTest
