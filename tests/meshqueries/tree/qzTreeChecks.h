#pragma once
// What every wide tree over a mesh must be.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/WideTree.h>

#include <string>

namespace qzTest {

/// Empty if the tree keeps all that WideTree.h promises: each triangle of the mesh is in one block, with its vertices;
/// each node and each block is the child of one node; each box is exactly that of the vertices below it; blocks follow each
/// other without gaps; there are at most kMaxTreeLevels levels of nodes. Otherwise the first thing that is wrong.
std::string faultOf(const qzMeshQueries::detail::WideTree& tree, const qzMeshQueries::Mesh& mesh);

int nbLevels(const qzMeshQueries::detail::WideTree& tree);

/// How many children a line through the tree's box meets on average: the sum of the areas of all children's boxes, in units of
/// the area of the box of the tree.
double nbMetChildren(const qzMeshQueries::detail::WideTree& tree);

/// The bytes of all arrays and of the box are equal.
bool areSame(const qzMeshQueries::detail::WideTree& a, const qzMeshQueries::detail::WideTree& b);

}  // namespace qzTest
