#pragma once
// What all queries of a four-wide hierarchy share: offsets of a node's rows, for choosing rows at run time, and the
// size of a traversal's stack.

#include <cstddef>

namespace qzDetail {

// Offsets of rows in floats. A row has one float or word for each of the four children.
constexpr int kRow = 4;
constexpr int kMinRows = 0, kMaxRows = 3 * kRow;  // x, y, z each
constexpr int kChildIndexRow = 6 * kRow, kChildQuadrupletsRow = 7 * kRow;
constexpr int kNodeFloats = 8 * kRow;

/// Whether a node type has these offsets.
template <class Node>
constexpr bool hasNodeRows() {
  return offsetof(Node, mMin) == kMinRows * sizeof(float) && offsetof(Node, mMax) == kMaxRows * sizeof(float) &&
         offsetof(Node, mChildIndex) == kChildIndexRow * sizeof(float) &&
         offsetof(Node, mChildQuadruplets) == kChildQuadrupletsRow * sizeof(float) &&
         sizeof(Node) == kNodeFloats * sizeof(float);
}

/// Entries of a traversal's stack. Trees of the library's own builders need three per level and have up to 32 four-wide
/// levels; in deeper trees the traversal recurses when the stack is full.
constexpr int kStackSize = 128;

}  // namespace qzDetail
