#pragma once
// What all queries of a four-wide hierarchy share: where the rows of a node are, for those that choose rows at run
// time, and how far a traversal goes before it recurses.

#include <cstddef>

namespace qzDetail {

// Offsets of rows in floats. A row has one float or word for each of the four children.
constexpr int kRow = 4;
constexpr int kMinRows = 0, kMaxRows = 3 * kRow;  // x, y, z each
constexpr int kChildIndexRow = 6 * kRow, kChildQuadrupletsRow = 7 * kRow;
constexpr int kNodeFloats = 8 * kRow;

/// Holds a type of nodes to these offsets.
template <class Node>
constexpr bool hasNodeRows() {
  return offsetof(Node, mMin) == kMinRows * sizeof(float) && offsetof(Node, mMax) == kMaxRows * sizeof(float) &&
         offsetof(Node, mChildIndex) == kChildIndexRow * sizeof(float) &&
         offsetof(Node, mChildQuadruplets) == kChildQuadrupletsRow * sizeof(float) &&
         sizeof(Node) == kNodeFloats * sizeof(float);
}

/// Entries of a traversal's stack. Trees of the library's own builders need three a level and have up to 32 levels;
/// deeper trees go on by recursion.
constexpr int kStackSize = 128;

}  // namespace qzDetail
