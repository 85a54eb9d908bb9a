#pragma once
// The plain form of qzLinearGenericBVH2DBuilder, stage by stage: codes, a stable sort, a list of groups per code bit,
// nodes level by level, boxes by recursion, small subtrees made leaves afterwards. Same result; not optimised.

#include <Wm4/Vector2.h>
#include <qzCommonAddOns/bvh/qzGNode2D.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>

#include <cstdint>
#include <vector>

namespace qzPlain {

/// The members of a qzGenericBVH2D, public.
struct Tree2D {
  std::vector<unsigned int> primitives;
  std::vector<qzGNode2D> nodes;
  unsigned int nbPrimitives = 0;
  unsigned int nbNodes = 0;
};

/// The Morton code of a cell: bit k of x and y becomes bit 2k and 2k + 1. 16 bits per coordinate count.
std::uint32_t mortonCode(std::uint32_t x, std::uint32_t y);

class Linear2DBuilder {
 public:
  void setMaxPrimitivesPerLeaf(unsigned int max) { maxPrimitivesPerLeaf = max == 0 ? 1 : max; }

  void build(Tree2D& tree, unsigned int bitsPerAxis);

  std::vector<qzBBox2D> bboxes;
  std::vector<unsigned int> indices;
  std::vector<Wm4::Vector2<float>> points;
  qzBBox2D bounds;
  unsigned int nbPrimitives = 0;
  unsigned int maxPrimitivesPerLeaf = 4;
};

}  // namespace qzPlain
