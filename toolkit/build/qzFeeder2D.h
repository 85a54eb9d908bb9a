#pragma once
// qzFeeder2D: the 2D builder with an input, filled from boxes and a point for each.

#include <qzCommonAddOns/builders/qzLinearGenericBVH2DBuilder.h>
#include <toolkit/base/qzLimits.h>

#include <vector>

namespace qzToolkit {

class qzFeeder2D : public qzLinearGenericBVH2DBuilder {
 public:
  /// Takes the primitives of the builds to come: a box for the nodes and a point that decides where in the tree it
  /// stands. Throws a qzError, and keeps what it had, unless there are as many points as boxes, from 1 to
  /// maxPrimitives, all coordinates are finite and no box is empty.
  void setPrimitives(std::vector<Wm4::Vector2<float>> points, std::vector<qzBBox2D> boxes,
                     std::size_t maxPrimitives = kMaxPrimitives2D);
  /// The same with the centres of the boxes for points.
  void setPrimitives(std::vector<qzBBox2D> boxes, std::size_t maxPrimitives = kMaxPrimitives2D);

  /// Builds bvh over the primitives as the builder does, any number of times in turn: what the last tree left of the
  /// indices does not matter. Throws a qzError when there are no primitives.
  void build(qzGenericBVH2D& bvh, unsigned int bitsPerAxis);
};

}  // namespace qzToolkit
