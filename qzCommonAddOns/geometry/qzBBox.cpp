#include <qzCommonAddOns/geometry/qzBBox.h>

#include <qzCommonAddOns/qzDetail/base/qzAxis.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzMinMax.h>

using qzDetail::componentOf;
static_assert(qzDetail::kAxisWordX == qzBBox::eAxisX && qzDetail::kAxisWordY == qzBBox::eAxisY);
using qzDetail::maxOf;
using qzDetail::minOf;
using qzDetail::tFloatMode;
using Point = Wm4::Vector3<float>;

namespace {

Point minOfEach(const Point& atHand, const Point& other) {
  return Point(minOf(atHand[0], other[0]), minOf(atHand[1], other[1]), minOf(atHand[2], other[2]));
}

Point maxOfEach(const Point& atHand, const Point& other) {
  return Point(maxOf(atHand[0], other[0]), maxOf(atHand[1], other[1]), maxOf(atHand[2], other[2]));
}

// The lower bound first, then the upper. A NaN p stays: both comparisons are false.
float clamp(float p, float min, float max) {
  return minOf(maxOf(p, min), max);
}

Point clampEach(const Point& p, const Point& min, const Point& max) {
  return Point(clamp(p[0], min[0], max[0]), clamp(p[1], min[1], max[1]), clamp(p[2], min[2], max[2]));
}

bool allGreaterEqual(const Point& a, const Point& b) {
  return a[0] >= b[0] && a[1] >= b[1] && a[2] >= b[2];
}
bool allGreater(const Point& a, const Point& b) {
  return a[0] > b[0] && a[1] > b[1] && a[2] > b[2];
}

}  // namespace

qzBBox qzBBox::RobustMake(const Point& a, const Point& b) {
  const tFloatMode mode;
  return mode.keep(qzBBox(minOfEach(a, b), maxOfEach(a, b)));
}

qzBBox qzBBox::RobustMake(float ax, float ay, float az, float bx, float by, float bz) {
  return RobustMake(Point(ax, ay, az), Point(bx, by, bz));
}

float qzBBox::extentX() const {
  const tFloatMode mode;
  return mode.keep(mMax[0] - mMin[0]);
}

float qzBBox::extentY() const {
  const tFloatMode mode;
  return mode.keep(mMax[1] - mMin[1]);
}

float qzBBox::extentZ() const {
  const tFloatMode mode;
  return mode.keep(mMax[2] - mMin[2]);
}

float qzBBox::getExtent(tAxis axis) const {
  const tFloatMode mode;
  return mode.keep(mMax[componentOf(axis)] - mMin[componentOf(axis)]);
}

Point qzBBox::getExtents() const {
  const tFloatMode mode;
  return mode.keep(Point(mMax[0] - mMin[0], mMax[1] - mMin[1], mMax[2] - mMin[2]));
}

Point qzBBox::getCenter() const {
  const tFloatMode mode;
  return mode.keep(Point((mMin[0] + mMax[0]) * 0.5f, (mMin[1] + mMax[1]) * 0.5f, (mMin[2] + mMax[2]) * 0.5f));
}

float qzBBox::volume() const {
  const tFloatMode mode;
  const Point d = getExtents();
  return mode.keep((d[1] * d[0]) * d[2]);
}

float qzBBox::halfArea() const {
  const tFloatMode mode;
  const Point d = getExtents();
  return mode.keep((d[2] + d[1]) * d[0] + d[2] * d[1]);
}

float qzBBox::getMaxExtent(tAxis& axis) const {
  const tFloatMode mode;
  const Point d = getExtents();
  axis = d[2] > d[1] ? eAxisZ : eAxisY;
  const float candidate = d[componentOf(axis)];
  if (!(d[0] > candidate)) return mode.keep(candidate);
  axis = eAxisX;
  return mode.keep(d[0]);
}

float qzBBox::getMinExtent(tAxis& axis) const {
  const tFloatMode mode;
  const Point d = getExtents();
  axis = d[1] > d[2] ? eAxisZ : eAxisY;
  const float candidate = d[componentOf(axis)];
  if (!(candidate > d[0])) return mode.keep(candidate);
  axis = eAxisX;
  return mode.keep(d[0]);
}

bool qzBBox::isEmpty() const {
  const tFloatMode mode;
  return mode.keep(mMin[0] > mMax[0] || mMin[1] > mMax[1] || mMin[2] > mMax[2]);
}

bool qzBBox::hasExtent() const {
  const tFloatMode mode;
  return mode.keep(allGreater(mMax, mMin));
}

bool qzBBox::contains(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(allGreaterEqual(p, mMin) && allGreaterEqual(mMax, p));
}

bool qzBBox::strictlyContains(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(allGreater(p, mMin) && allGreater(mMax, p));
}

bool qzBBox::contains(const qzBBox& o) const {
  const tFloatMode mode;
  return mode.keep(allGreaterEqual(o.mMin, mMin) && allGreaterEqual(mMax, o.mMax));
}

bool qzBBox::overlaps(const qzBBox& o) const {
  const tFloatMode mode;
  return mode.keep(allGreaterEqual(o.mMax, mMin) && allGreaterEqual(mMax, o.mMin));
}

bool qzBBox::strictlyOverlaps(const qzBBox& o) const {
  const tFloatMode mode;
  return mode.keep(allGreater(o.mMax, mMin) && allGreater(mMax, o.mMin));
}

bool qzBBox::overlapsPlane(const Point& n, float d) const {
  const tFloatMode mode;
  Point nearCorner, farCorner;
  for (int axis = 0; axis < 3; ++axis) {
    const bool along = n[axis] > 0.0f;
    farCorner[axis] = along ? mMax[axis] : mMin[axis];
    nearCorner[axis] = along ? mMin[axis] : mMax[axis];
  }
  const float nearValue = ((nearCorner[0] * n[0] + nearCorner[1] * n[1]) + nearCorner[2] * n[2]) + d;
  const float farValue = ((farCorner[0] * n[0] + farCorner[1] * n[1]) + farCorner[2] * n[2]) + d;
  return mode.keep(0.0f >= farValue * nearValue);
}

bool qzBBox::overlapsSphere(const Point& c, float r) const {
  const tFloatMode mode;
  if (contains(c)) return mode.keep(true);
  const Point nearest = clampEach(c, mMin, mMax);
  const float dx = nearest[0] - c[0], dy = nearest[1] - c[1], dz = nearest[2] - c[2];
  return mode.keep(r > (dy * dy + dx * dx) + dz * dz);
}

bool qzBBox::intersectRay(const Point& origin, const Point& dir, float& tMin, float& tMax) const {
  const tFloatMode mode;
  for (int axis = 0; axis < 3; ++axis) {
    // True divisions and exactly these forms of minimum and maximum: they decide the result of 0 / 0.
    const float t1 = (mMin[axis] - origin[axis]) / dir[axis];
    const float t2 = (mMax[axis] - origin[axis]) / dir[axis];
    const float nearest = t1 < t2 ? t1 : t2;
    const float farthest = t1 > t2 ? t1 : t2;
    tMin = maxOf(tMin, nearest);
    tMax = minOf(tMax, farthest);
  }
  return mode.keep(tMax >= tMin);
}

qzBBox qzBBox::bboxUnion(const qzBBox& o) const {
  const tFloatMode mode;
  return mode.keep(qzBBox(minOfEach(mMin, o.mMin), maxOfEach(mMax, o.mMax)));
}

qzBBox& qzBBox::selfUnion(const qzBBox& o) {
  return *this = bboxUnion(o);
}

qzBBox qzBBox::bboxIntersection(const qzBBox& o) const {
  const tFloatMode mode;
  return mode.keep(qzBBox(maxOfEach(mMin, o.mMin), minOfEach(mMax, o.mMax)));
}

qzBBox& qzBBox::selfIntersection(const qzBBox& o) {
  return *this = bboxIntersection(o);
}

qzBBox qzBBox::expand(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(qzBBox(minOfEach(mMin, p), maxOfEach(mMax, p)));
}

qzBBox& qzBBox::selfExpand(const Point& p) {
  return *this = expand(p);
}

qzBBox qzBBox::grow(float g) const {
  const tFloatMode mode;
  return mode.keep(qzBBox(mMin[0] - g, mMin[1] - g, mMin[2] - g, mMax[0] + g, mMax[1] + g, mMax[2] + g));
}

qzBBox& qzBBox::selfGrow(float g) {
  return *this = grow(g);
}

Point qzBBox::projectOntoBBox(const Point& p) const {
  const tFloatMode mode;
  return mode.keep(clampEach(p, mMin, mMax));
}

Wm4::Vector4<float> qzBBox::projectOntoBBox(const Wm4::Vector4<float>& p) const {
  const Point q = projectOntoBBox(Point(p[0], p[1], p[2]));
  return Wm4::Vector4<float>(q[0], q[1], q[2], p[3]);
}

qzBBox qzBBox::splitLeft(tAxis axis, float v) const {
  const tFloatMode mode;
  qzBBox left = *this;
  float& max = left.mMax[componentOf(axis)];
  max = minOf(v, max);
  return mode.keep(left);
}

qzBBox qzBBox::splitRight(tAxis axis, float v) const {
  const tFloatMode mode;
  qzBBox right = *this;
  float& min = right.mMin[componentOf(axis)];
  min = maxOf(v, min);
  return mode.keep(right);
}

qzBBox qzBBox::split(tAxis axis, float v) {
  const qzBBox right = splitRight(axis, v);
  *this = splitLeft(axis, v);
  return right;
}

Wm4::Box3<float> qzBBox::convert() const {
  const tFloatMode mode;
  const Point axes[3] = {Point::UNIT_X, Point::UNIT_Y, Point::UNIT_Z};
  const float extents[3] = {(mMax[0] - mMin[0]) * 0.5f, (mMax[1] - mMin[1]) * 0.5f, (mMax[2] - mMin[2]) * 0.5f};
  return mode.keep(Wm4::Box3<float>(getCenter(), axes, extents));
}
