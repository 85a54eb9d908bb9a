#pragma once
// The edges of a mesh, by the places of its vertices.

#include <qzMeshQueries/MeshTypes.h>

namespace qzPlain {

/// Whether every edge is used as often in one direction as in the other.
bool isClosed(const qzMeshQueries::Mesh& mesh);

}  // namespace qzPlain
