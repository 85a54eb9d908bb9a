#pragma once
// Builds binary trees. Both builds are functions of the mesh alone; threads share the work.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/BinaryTree.h>
#include <qzMeshQueries/tree/BuildWatch.h>
#include <qzMeshQueries/tree/SurfaceAreaSplit.h>

#include <functional>

namespace qzMeshQueries::detail {

/// Called for each part as soon as it is complete, on any thread.
using OnPart = std::function<void(BinaryTree& tree, BinaryPart& part)>;

/// What is known before any split.
struct BuildStart {
  AlignedArray<BinaryNode> items;  ///< the triangles' boxes, in the order of the mesh
  CentreBox centres;               ///< the box of their centres
  qzDetail::tBoxLanes box;         ///< the box of the mesh

  float largestExtent() const;
};
BuildStart startBuild(const Mesh& mesh, BuildWatch& watch);

/// Splits where the surface area heuristic says, see SurfaceAreaSplit.h.
BinaryTree buildBySurfaceArea(BuildStart start, BuildWatch& watch, const OnPart& onPart);

/// Splits a Morton curve where the highest bit of the codes changes.
BinaryTree buildByMortonCodes(BuildStart start, BuildWatch& watch, const OnPart& onPart);

/// Whether a child of so many triangles may stand on a level without endangering kMaxBinaryLevels: from there on, splits
/// in the middle need no more levels.
inline bool levelAllows(int level, std::uint32_t count) {
  int levelsBelow = 0;
  while ((std::uint64_t(1) << levelsBelow) < count) ++levelsBelow;
  return level + levelsBelow <= kMaxBinaryLevels;
}

/// Sets the boxes of the top's nodes from those of the parts.
void uniteTop(BinaryTree& tree);

/// A part's nodes while it is built, reused by a thread for part after part.
struct PartScratch {
  AlignedArray<BinaryNode> items{kMaxPartTriangles}, nodes{2 * std::size_t(kMaxPartTriangles)};
};

/// Moves the first count nodes of the scratch to where the part keeps them.
void keepNodes(BinaryTree& tree, BinaryPart& part, const PartScratch& scratch, std::uint32_t count);

}  // namespace qzMeshQueries::detail
