#include <qzCommonAddOns/geometry/qzBBox2D.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzMinMax.h>

using qzDetail::maxOf;
using qzDetail::minOf;
using qzDetail::tFloatMode;
using Point = Wm4::Vector2<float>;

namespace {

Point minOfEach(const Point& atHand, const Point& other) {
  return Point(minOf(atHand[0], other[0]), minOf(atHand[1], other[1]));
}

Point maxOfEach(const Point& atHand, const Point& other) {
  return Point(maxOf(atHand[0], other[0]), maxOf(atHand[1], other[1]));
}

bool allGreaterEqual(const Point& a, const Point& b) {
  return a[0] >= b[0] && a[1] >= b[1];
}
bool allGreater(const Point& a, const Point& b) {
  return a[0] > b[0] && a[1] > b[1];
}

}  // namespace

qzBBox2D qzBBox2D::RobustMake(const Point& a, const Point& b) {
  const tFloatMode mode;
  return mode.keep(qzBBox2D(minOfEach(a, b), maxOfEach(a, b)));
}

qzBBox2D qzBBox2D::RobustMake(float x0, float y0, float x1, float y1) {
  return RobustMake(Point(x0, y0), Point(x1, y1));
}

float qzBBox2D::extentX() const {
  const tFloatMode mode;
  return mode.keep(mMax[0] - mMin[0]);
}

float qzBBox2D::extentY() const {
  const tFloatMode mode;
  return mode.keep(mMax[1] - mMin[1]);
}

Point qzBBox2D::getCenter() const {
  const tFloatMode mode;
  return mode.keep(Point((mMax[0] - mMin[0]) * 0.5f + mMin[0], (mMax[1] - mMin[1]) * 0.5f + mMin[1]));
}

float qzBBox2D::area() const {
  const tFloatMode mode;
  return mode.keep((mMax[1] - mMin[1]) * (mMax[0] - mMin[0]));
}

bool qzBBox2D::isEmpty() const {
  const tFloatMode mode;
  return mode.keep(mMin[0] > mMax[0] || mMin[1] > mMax[1]);
}

bool qzBBox2D::hasExtent() const {
  const tFloatMode mode;
  return mode.keep(allGreater(mMax, mMin));
}

bool qzBBox2D::contains(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(allGreaterEqual(p, mMin) && allGreaterEqual(mMax, p));
}

bool qzBBox2D::strictlyContains(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(allGreater(p, mMin) && allGreater(mMax, p));
}

bool qzBBox2D::overlaps(const qzBBox2D& o) const {
  const tFloatMode mode;
  return mode.keep(allGreaterEqual(o.mMax, mMin) && allGreaterEqual(mMax, o.mMin));
}

bool qzBBox2D::strictlyOverlaps(const qzBBox2D& o) const {
  const tFloatMode mode;
  return mode.keep(allGreater(o.mMax, mMin) && allGreater(mMax, o.mMin));
}

bool qzBBox2D::intersectSegment(const Point& a, const Point& b) const {
  const tFloatMode mode;
  float nearest[2], farthest[2];
  for (int axis = 0; axis < 2; ++axis) {
    // Products with one reciprocal, and the far end by a sum: both decide the result of 1 / 0.
    const float reciprocal = 1.0f / (b[axis] - a[axis]);
    const float t1 = (mMax[axis] - a[axis]) * reciprocal;
    const float t0 = (mMin[axis] - a[axis]) * reciprocal;
    nearest[axis] = minOf(t0, t1);
    farthest[axis] = (t1 + t0) - nearest[axis];
  }
  const float tNear = maxOf(nearest[0], nearest[1]);
  const float tFar = minOf(farthest[0], farthest[1]);
  return mode.keep(tFar >= tNear && 1.0f >= tNear && tFar >= 0.0f);
}

qzBBox2D qzBBox2D::bboxUnion(const qzBBox2D& o) const {
  const tFloatMode mode;
  return mode.keep(qzBBox2D(minOfEach(mMin, o.mMin), maxOfEach(mMax, o.mMax)));
}

qzBBox2D& qzBBox2D::selfUnion(const qzBBox2D& o) {
  return *this = bboxUnion(o);
}

qzBBox2D qzBBox2D::bboxIntersection(const qzBBox2D& o) const {
  const tFloatMode mode;
  return mode.keep(qzBBox2D(maxOfEach(mMin, o.mMin), minOfEach(mMax, o.mMax)));
}

qzBBox2D& qzBBox2D::selfIntersection(const qzBBox2D& o) {
  return *this = bboxIntersection(o);
}

qzBBox2D qzBBox2D::expand(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(qzBBox2D(minOfEach(mMin, p), maxOfEach(mMax, p)));
}

qzBBox2D& qzBBox2D::selfExpand(const Point& p) {
  return *this = expand(p);
}

qzBBox2D qzBBox2D::grow(float g) const {
  const tFloatMode mode;
  return mode.keep(qzBBox2D(mMin[0] - g, mMin[1] - g, mMax[0] + g, mMax[1] + g));
}

qzBBox2D& qzBBox2D::selfGrow(float g) {
  return *this = grow(g);
}

Point qzBBox2D::projectOntoBBox(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(minOfEach(maxOfEach(p, mMin), mMax));  // the lower bound first, then the upper
}
