#pragma once
// A tree over the same triangles whose vertices have moved.

#include <qzMeshQueries/tree/WideTree.h>

namespace qzMeshQueries::detail {

/// Requires vertices that checkVertices accepts, x y z of each, as many as the tree was built over. Moves the vertices of
/// all blocks and finds the boxes of all nodes anew. Cost: O(n), about a twentieth of a build.
void refit(WideTree& tree, const float* vertices);

/// The expected cost of a ray that meets the box of the tree: the areas of all children over that of the box, or 0 if that
/// has no area.
double costOf(const WideTree& tree);

}  // namespace qzMeshQueries::detail
