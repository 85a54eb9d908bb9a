#include "plain/qzPlainBBox2D.h"

#include "plain/qzPlainBBox.h"

namespace qzPlain {

using Point = Wm4::Vector2<float>;

qzBBox2D robustMake(const Point& a, const Point& b) {
  Point min, max;
  for (int c = 0; c < 2; ++c) {
    min[c] = b[c] < a[c] ? b[c] : a[c];
    max[c] = b[c] > a[c] ? b[c] : a[c];
  }
  return qzBBox2D::Make(min, max);
}

float extent(const qzBBox2D& box, int axis) {
  return box.getMaxPoint()[axis] - box.getMinPoint()[axis];
}

Point center(const qzBBox2D& box) {
  Point result;
  for (int c = 0; c < 2; ++c) {
    const float half = extent(box, c) * 0.5f;
    result[c] = half + box.getMinPoint()[c];
  }
  return result;
}

float area(const qzBBox2D& box) {
  return extent(box, 1) * extent(box, 0);
}

bool isEmpty(const qzBBox2D& box) {
  bool empty = false;
  for (int c = 0; c < 2; ++c) empty = empty || box.getMinPoint()[c] > box.getMaxPoint()[c];
  return empty;
}

bool hasExtent(const qzBBox2D& box) {
  bool has = true;
  for (int c = 0; c < 2; ++c) has = has && box.getMaxPoint()[c] > box.getMinPoint()[c];
  return has;
}

bool contains(const qzBBox2D& box, const Point& p) {
  bool inside = true;
  for (int c = 0; c < 2; ++c) inside = inside && p[c] >= box.getMinPoint()[c];
  for (int c = 0; c < 2; ++c) inside = inside && box.getMaxPoint()[c] >= p[c];
  return inside;
}

bool strictlyContains(const qzBBox2D& box, const Point& p) {
  bool inside = true;
  for (int c = 0; c < 2; ++c) inside = inside && p[c] > box.getMinPoint()[c];
  for (int c = 0; c < 2; ++c) inside = inside && box.getMaxPoint()[c] > p[c];
  return inside;
}

bool overlaps(const qzBBox2D& box, const qzBBox2D& o) {
  bool meet = true;
  for (int c = 0; c < 2; ++c) {
    meet = meet && o.getMaxPoint()[c] >= box.getMinPoint()[c];
    meet = meet && box.getMaxPoint()[c] >= o.getMinPoint()[c];
  }
  return meet;
}

bool strictlyOverlaps(const qzBBox2D& box, const qzBBox2D& o) {
  bool meet = true;
  for (int c = 0; c < 2; ++c) {
    meet = meet && o.getMaxPoint()[c] > box.getMinPoint()[c];
    meet = meet && box.getMaxPoint()[c] > o.getMinPoint()[c];
  }
  return meet;
}

bool intersectSegment(const qzBBox2D& box, const Point& a, const Point& b) {
  const float invX = 1.0f / (b[0] - a[0]);
  const float tx1 = (box.xMax() - a[0]) * invX;
  const float tx0 = (box.xMin() - a[0]) * invX;
  const float nearX = tx1 < tx0 ? tx1 : tx0;
  const float sumX = tx1 + tx0;
  const float farX = sumX - nearX;

  const float invY = 1.0f / (b[1] - a[1]);
  const float ty1 = (box.yMax() - a[1]) * invY;
  const float ty0 = (box.yMin() - a[1]) * invY;
  const float nearY = ty1 < ty0 ? ty1 : ty0;
  const float sumY = ty1 + ty0;
  const float farY = sumY - nearY;

  const float tNear = nearY > nearX ? nearY : nearX;
  const float tFar = farY < farX ? farY : farX;
  if (!(tFar >= tNear)) return false;
  if (!(1.0f >= tNear)) return false;
  return tFar >= 0.0f;
}

qzBBox2D bboxUnion(const qzBBox2D& box, const qzBBox2D& o) {
  Point min, max;
  for (int c = 0; c < 2; ++c) {
    min[c] = minOf(o.getMinPoint()[c], box.getMinPoint()[c]);
    max[c] = maxOf(o.getMaxPoint()[c], box.getMaxPoint()[c]);
  }
  return qzBBox2D::Make(min, max);
}

qzBBox2D bboxIntersection(const qzBBox2D& box, const qzBBox2D& o) {
  Point min, max;
  for (int c = 0; c < 2; ++c) {
    min[c] = maxOf(o.getMinPoint()[c], box.getMinPoint()[c]);
    max[c] = minOf(o.getMaxPoint()[c], box.getMaxPoint()[c]);
  }
  return qzBBox2D::Make(min, max);
}

qzBBox2D expand(const qzBBox2D& box, const Point& p) {
  Point min, max;
  for (int c = 0; c < 2; ++c) {
    min[c] = minOf(p[c], box.getMinPoint()[c]);
    max[c] = maxOf(p[c], box.getMaxPoint()[c]);
  }
  return qzBBox2D::Make(min, max);
}

qzBBox2D grow(const qzBBox2D& box, float g) {
  Point min, max;
  for (int c = 0; c < 2; ++c) {
    min[c] = box.getMinPoint()[c] - g;
    max[c] = box.getMaxPoint()[c] + g;
  }
  return qzBBox2D::Make(min, max);
}

Point project(const qzBBox2D& box, const Point& p) {
  Point result;
  for (int c = 0; c < 2; ++c) {
    const float m = box.getMinPoint()[c] > p[c] ? box.getMinPoint()[c] : p[c];
    result[c] = box.getMaxPoint()[c] < m ? box.getMaxPoint()[c] : m;
  }
  return result;
}

}  // namespace qzPlain
