#pragma once
// Whether a binary hierarchy is what a builder promises, node by node.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

struct TreeCheck {
  std::string fault;  // empty: none
  std::size_t nbNodes = 0, nbLeaves = 0, depth = 0, largestLeaf = 0;
  std::uint64_t fingerprint = 0;  // of all nodes and primitives
};

/// Looks at everything below the root: every primitive stands in exactly one leaf, children have higher numbers than
/// their parents, the box of a leaf is that of its primitives and the box of an inner node that of its children, to the
/// value. eAllReached: the root reaches all nodes of the array.
enum Reach { eAllReached, eSomeSpare };
TreeCheck checkTree(const qzGenericBVH& tree, const std::vector<qzBBox>& boxes, Reach reach);
TreeCheck checkTree(const qzGenericBVH2D& tree, const std::vector<qzBBox2D>& boxes, Reach reach);

}  // namespace qzTest
