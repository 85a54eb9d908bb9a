#pragma once
// The plain form of qzLinearGenericBVHBuilder, stage by stage: codes, a stable sort, a list of groups per code bit,
// nodes level by level, boxes by recursion, small subtrees made leaves afterwards. Same result, records, polls and
// calls; no care for speed or memory.

#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzPlain {

/// The members of a qzGenericBVH, public.
struct Tree {
  std::vector<unsigned int> primitives;
  std::vector<qzGNode> nodes;
  unsigned int nbPrimitives = 0;
  unsigned int nbNodes = 0;
};

/// A number of bytes for log texts: about three digits and a prefix for a power of 1024, without the B. Halves are
/// rounded down; a negative number is read as unsigned.
std::string formatByteSize(std::int64_t value);

/// The Morton code of a cell: bit k of x, y and z becomes bit 3k, 3k + 1 and 3k + 2. 21 bits per coordinate count.
std::uint64_t mortonCode(std::uint32_t x, std::uint32_t y, std::uint32_t z);

/// The cell along one axis that holds coordinate, on a grid of 2^bits cells which starts at origin with scale cells per
/// unit. The scaled distance is cut off to a 64-bit integer, and its low 32 bits, read as unsigned, are limited to the
/// last cell: a distance of -1 gives the last cell, one of 2^32 cell 0. What is no 64-bit integer, a NaN included,
/// gives cell 0.
std::uint32_t cellOf(float coordinate, float origin, float scale, unsigned int bits);

class LinearBuilder {
 public:
  void setMaxPrimitivesPerLeaf(unsigned int max) { maxPrimitivesPerLeaf = max == 0 ? 1 : max; }

  bool build(const qzLinearGenericBVHBuilder::tPrimitiveContainerInterface& container, Tree& tree,
             const qz::qzCancelInterfaceReadOnly* cancel, unsigned int bitsPerAxis);

  std::vector<unsigned int> indices;
  qzBBox bbox;
  unsigned int nbPrimitives = 0;
  unsigned int maxPrimitivesPerLeaf = 4;

  /// How many nodes the last build had put into its tree when it returned; 0 when it had not touched the tree.
  std::uint64_t nbLinkedNodes = 0;

 private:
  std::vector<std::uint64_t> mortonCodes(const qzLinearGenericBVHBuilder::tPrimitiveContainerInterface& container,
                                         unsigned int bits) const;
};

}  // namespace qzPlain
