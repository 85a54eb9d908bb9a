#pragma once
// Checks a mesh before anything is built from it.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace qzMeshQueries::detail {

/// Failure: std::invalid_argument, naming the first triangle that a MeshIndex refuses; Cancelled.
void checkMesh(const Mesh& mesh, const BuildOptions& options);

/// Whether a tree may be refitted to these vertices. Failure: std::invalid_argument, as above.
void checkVertices(const WideTree& tree, const float* vertices);

/// A 128-bit hash. Order counts, and every bit.
using Digest = std::array<std::uint64_t, 2>;

Digest digestOfVertices(const float* vertices, std::size_t count);
Digest digestOfTriangles(const std::uint32_t* triangles, std::size_t count);

/// The digest of a mesh, unused vertices included.
Digest digestOf(const Digest& vertices, const Digest& triangles, std::size_t vertexCount, std::size_t triangleCount);

}  // namespace qzMeshQueries::detail
