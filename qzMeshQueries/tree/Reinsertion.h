#pragma once
// Improves a binary tree by reinserting subtrees where they cost less. Source: Meister and Bittner 2018.

#include <qzMeshQueries/tree/BinaryBuild.h>
#include <qzMeshQueries/tree/BinaryTree.h>
#include <qzMeshQueries/tree/BuildWatch.h>

namespace qzMeshQueries::detail {

/// Passes over the largest nodes, and the share of all nodes that are looked at in each.
inline constexpr int kReinsertionPasses = 3;
inline constexpr double kReinsertionShare = 0.1;

/// The most nodes that one search visits. In usual meshes a search ends long before; where many boxes overlap it would
/// visit the whole tree.
inline constexpr int kMaxSearchedNodes = 1024;

/// The improved tree, divided into parts anew. The search for places runs on all threads and reads the tree as it was
/// before the pass; moves are made one after the other, so the result does not depend on threads. A tree that becomes
/// deeper than kMaxBinaryLevels is given up for the one before. Calls onPart as the builds do.
BinaryTree reinsert(BinaryTree tree, float extent, BuildWatch& watch, const OnPart& onPart);

}  // namespace qzMeshQueries::detail
