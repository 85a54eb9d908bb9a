#pragma once
// The edges of the mesh in a tree.

#include <qzMeshQueries/tree/WideTree.h>

namespace qzMeshQueries::detail {

/// Whether every edge is used as often in one direction as in the other, by the places of its ends. An edge from a place
/// to itself does not count; 0 and -0 are one place.
bool isClosed(const WideTree& tree);

}  // namespace qzMeshQueries::detail
