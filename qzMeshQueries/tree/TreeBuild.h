#pragma once
// Builds the hierarchy of a mesh.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/WideTree.h>

namespace qzMeshQueries::detail {

/// The tree over a mesh whose coordinates and vertex numbers have been checked. It is a function of mesh and quality:
/// threads only share the work. Numbers in blocks are those of the mesh, without firstTriangle.
/// Failure: Cancelled, std::bad_alloc, std::length_error.
WideTree buildTree(const Mesh& mesh, const BuildOptions& options);

}  // namespace qzMeshQueries::detail
