#pragma once
// Checks a mesh before anything is built from it.

#include <qzMeshQueries/MeshTypes.h>

#include <array>
#include <cstdint>

namespace qzMeshQueries::detail {

/// Failure: std::invalid_argument, naming the first triangle that a MeshIndex refuses; Cancelled.
void checkMesh(const Mesh& mesh, const BuildOptions& options);

/// A 128-bit hash of vertices and triangles. Unused vertices count.
std::array<std::uint64_t, 2> digestOf(const Mesh& mesh);

}  // namespace qzMeshQueries::detail
