#pragma once
// Makes the wide tree of a binary one.
//
// Dynamic programming over the binary tree: the least cost of a subtree as a forest of at most i roots, i = 1 to 16,
// where one root is a block or a wide node over a forest of at most sixteen. The cost is the expected time of a ray
// that meets the box of the whole mesh: the areas of nodes and blocks times what a visit takes. Source of the cost:
// MacDonald and Booth 1990.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/BinaryTree.h>
#include <qzMeshQueries/tree/BuildWatch.h>
#include <qzMeshQueries/tree/Corners.h>
#include <qzMeshQueries/tree/WideTree.h>
#include <tbb/enumerable_thread_specific.h>

namespace qzMeshQueries::detail {

class Collapse {
 public:
  /// extent   the largest of the mesh
  Collapse(const Mesh& mesh, float extent) : mMesh(mesh), mExtent(extent) {}

  /// Decides how the nodes of a part are collapsed, and stores the choices in the part. Several threads may call it at
  /// once.
  void choose(const BinaryTree& tree, BinaryPart& part);

  /// Writes the wide tree. Requires choose() for all parts.
  WideTree write(BinaryTree& tree, BuildWatch& watch);

 private:
  const Mesh& mMesh;
  float mExtent;
  tbb::enumerable_thread_specific<Corners> mCorners;
};

}  // namespace qzMeshQueries::detail
