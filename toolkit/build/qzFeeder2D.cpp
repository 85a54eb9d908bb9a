#include <toolkit/build/qzFeeder2D.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzVectorMath.h>

#include <cstddef>
#include <string>
#include <utility>

namespace qzToolkit {

namespace {

using Point = Wm4::Vector2<float>;

}  // namespace

void qzFeeder2D::setPrimitives(std::vector<Point> points, std::vector<qzBBox2D> boxes, std::size_t maxPrimitives) {
  if (points.size() != boxes.size()) {
    throw qzError(std::to_string(points.size()) + " points do not go with " + std::to_string(boxes.size()) + " boxes");
  }
  if (boxes.empty()) throw qzError("there are no primitives");
  if (boxes.size() > maxPrimitives) {
    throw qzError("there are " + std::to_string(boxes.size()) + " primitives, more than the limit of " +
                  std::to_string(maxPrimitives));
  }
  qzBBox2D bounds;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    const auto fail = [i](const char* what) { throw qzError("primitive " + std::to_string(i), what); };
    if (!isFinite(boxes[i].getMinPoint()) || !isFinite(boxes[i].getMaxPoint())) fail("the box is not finite");
    if (boxes[i].isEmpty()) fail("the box is empty");
    if (!isFinite(points[i])) fail("the point is not finite");
    bounds.selfExpand(points[i]);
  }

  mIndices.resize(boxes.size());  // the only step from here on that may fail
  mNbPrimitives = static_cast<unsigned int>(boxes.size());
  mBounds = bounds;
  mPoints = std::move(points);
  mBBoxes = std::move(boxes);
}

void qzFeeder2D::setPrimitives(std::vector<qzBBox2D> boxes, std::size_t maxPrimitives) {
  std::vector<Point> centers;
  centers.reserve(boxes.size());
  for (const qzBBox2D& box : boxes) centers.push_back(box.getCenter());
  setPrimitives(std::move(centers), std::move(boxes), maxPrimitives);
}

void qzFeeder2D::build(qzGenericBVH2D& bvh, unsigned int bitsPerAxis) {
  if (mNbPrimitives == 0) throw qzError("there are no primitives");
  mIndices.resize(mNbPrimitives);
  qzLinearGenericBVH2DBuilder::build(bvh, bitsPerAxis);
}

}  // namespace qzToolkit
