#pragma once
// qzFeeder2D: input for the 2D builder, from boxes and a point for each.

#include <qzCommonAddOns/builders/qzLinearGenericBVH2DBuilder.h>
#include <toolkit/base/qzLimits.h>

#include <vector>

namespace qzToolkit {

class qzFeeder2D : public qzLinearGenericBVH2DBuilder {
 public:
  /// Sets the primitives of later builds: a box, and a point that decides its place in the tree. Throws a qzError and
  /// keeps the previous primitives unless there are as many points as boxes, from 1 to maxPrimitives, all coordinates
  /// are finite and no box is empty.
  void setPrimitives(std::vector<Wm4::Vector2<float>> points, std::vector<qzBBox2D> boxes,
                     std::size_t maxPrimitives = kMaxPrimitives2D);
  /// The same, with the centres of the boxes as points.
  void setPrimitives(std::vector<qzBBox2D> boxes, std::size_t maxPrimitives = kMaxPrimitives2D);

  /// Builds bvh over the primitives. Later builds do not depend on earlier ones. Throws a qzError when there are no
  /// primitives.
  void build(qzGenericBVH2D& bvh, unsigned int bitsPerAxis);
};

}  // namespace qzToolkit
