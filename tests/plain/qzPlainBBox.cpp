#include "plain/qzPlainBBox.h"

namespace qzPlain {

using Point = Wm4::Vector3<float>;

int axisNumber(unsigned int axis) {
  if (axis == 0x00000000u) return 0;
  if (axis == 0x40000000u) return 1;
  return 2;
}

qzBBox robustMake(const Point& a, const Point& b) {
  Point min, max;
  for (int c = 0; c < 3; ++c) {
    min[c] = b[c] < a[c] ? b[c] : a[c];
    max[c] = b[c] > a[c] ? b[c] : a[c];
  }
  return qzBBox::Make(min, max);
}

float extent(const qzBBox& box, int axis) {
  return box.getMaxPoint()[axis] - box.getMinPoint()[axis];
}

Point center(const qzBBox& box) {
  Point result;
  for (int c = 0; c < 3; ++c) result[c] = (box.getMinPoint()[c] + box.getMaxPoint()[c]) * 0.5f;
  return result;
}

float volume(const qzBBox& box) {
  const float dx = extent(box, 0), dy = extent(box, 1), dz = extent(box, 2);
  const float area = dy * dx;
  return area * dz;
}

float halfArea(const qzBBox& box) {
  const float dx = extent(box, 0), dy = extent(box, 1), dz = extent(box, 2);
  const float sum = dz + dy;
  const float sides = sum * dx;
  const float front = dz * dy;
  return sides + front;
}

float maxExtent(const qzBBox& box, qzBBox::tAxis& axis) {
  const float dy = extent(box, 1), dz = extent(box, 2), dx = extent(box, 0);
  float candidate = dy;
  axis = qzBBox::eAxisY;
  if (dz > dy) {
    candidate = dz;
    axis = qzBBox::eAxisZ;
  }
  if (dx > candidate) {
    candidate = dx;
    axis = qzBBox::eAxisX;
  }
  return candidate;
}

float minExtent(const qzBBox& box, qzBBox::tAxis& axis) {
  const float dy = extent(box, 1), dz = extent(box, 2), dx = extent(box, 0);
  float candidate = dy;
  axis = qzBBox::eAxisY;
  if (dy > dz) {
    candidate = dz;
    axis = qzBBox::eAxisZ;
  }
  if (candidate > dx) {
    candidate = dx;
    axis = qzBBox::eAxisX;
  }
  return candidate;
}

bool isEmpty(const qzBBox& box) {
  bool empty = false;
  for (int c = 0; c < 3; ++c) empty = empty || box.getMinPoint()[c] > box.getMaxPoint()[c];
  return empty;
}

bool hasExtent(const qzBBox& box) {
  bool has = true;
  for (int c = 0; c < 3; ++c) has = has && box.getMaxPoint()[c] > box.getMinPoint()[c];
  return has;
}

bool contains(const qzBBox& box, const Point& p) {
  bool inside = true;
  for (int c = 0; c < 3; ++c) inside = inside && p[c] >= box.getMinPoint()[c];
  for (int c = 0; c < 3; ++c) inside = inside && box.getMaxPoint()[c] >= p[c];
  return inside;
}

bool strictlyContains(const qzBBox& box, const Point& p) {
  bool inside = true;
  for (int c = 0; c < 3; ++c) inside = inside && p[c] > box.getMinPoint()[c];
  for (int c = 0; c < 3; ++c) inside = inside && box.getMaxPoint()[c] > p[c];
  return inside;
}

bool contains(const qzBBox& box, const qzBBox& o) {
  bool inside = true;
  for (int c = 0; c < 3; ++c) {
    inside = inside && o.getMinPoint()[c] >= box.getMinPoint()[c];
    inside = inside && box.getMaxPoint()[c] >= o.getMaxPoint()[c];
  }
  return inside;
}

bool overlaps(const qzBBox& box, const qzBBox& o) {
  bool meet = true;
  for (int c = 0; c < 3; ++c) {
    meet = meet && o.getMaxPoint()[c] >= box.getMinPoint()[c];
    meet = meet && box.getMaxPoint()[c] >= o.getMinPoint()[c];
  }
  return meet;
}

bool strictlyOverlaps(const qzBBox& box, const qzBBox& o) {
  bool meet = true;
  for (int c = 0; c < 3; ++c) {
    meet = meet && o.getMaxPoint()[c] > box.getMinPoint()[c];
    meet = meet && box.getMaxPoint()[c] > o.getMinPoint()[c];
  }
  return meet;
}

bool overlapsPlane(const qzBBox& box, const Point& n, float d) {
  Point far, near;
  for (int c = 0; c < 3; ++c) {
    const bool positive = n[c] > 0.0f;
    far[c] = positive ? box.getMaxPoint()[c] : box.getMinPoint()[c];
    near[c] = positive ? box.getMinPoint()[c] : box.getMaxPoint()[c];
  }
  const float dNear = ((near[0] * n[0] + near[1] * n[1]) + near[2] * n[2]) + d;
  const float dFar = ((far[0] * n[0] + far[1] * n[1]) + far[2] * n[2]) + d;
  return 0.0f >= dFar * dNear;
}

bool overlapsSphere(const qzBBox& box, const Point& c, float r) {
  if (contains(box, c)) return true;
  const Point q = project(box, c);
  const float dx = q[0] - c[0], dy = q[1] - c[1], dz = q[2] - c[2];
  return r > (dy * dy + dx * dx) + dz * dz;
}

bool intersectRay(const qzBBox& box, const Point& origin, const Point& dir, float& tMin, float& tMax) {
  for (int c = 0; c < 3; ++c) {
    const float t1 = (box.getMinPoint()[c] - origin[c]) / dir[c];
    const float t2 = (box.getMaxPoint()[c] - origin[c]) / dir[c];
    const float near = t1 < t2 ? t1 : t2;
    const float far = t1 > t2 ? t1 : t2;
    tMin = near > tMin ? near : tMin;
    tMax = far < tMax ? far : tMax;
  }
  return tMax >= tMin;
}

qzBBox bboxUnion(const qzBBox& box, const qzBBox& o) {
  Point min, max;
  for (int c = 0; c < 3; ++c) {
    min[c] = minOf(o.getMinPoint()[c], box.getMinPoint()[c]);
    max[c] = maxOf(o.getMaxPoint()[c], box.getMaxPoint()[c]);
  }
  return qzBBox::Make(min, max);
}

qzBBox bboxIntersection(const qzBBox& box, const qzBBox& o) {
  Point min, max;
  for (int c = 0; c < 3; ++c) {
    min[c] = maxOf(o.getMinPoint()[c], box.getMinPoint()[c]);
    max[c] = minOf(o.getMaxPoint()[c], box.getMaxPoint()[c]);
  }
  return qzBBox::Make(min, max);
}

qzBBox expand(const qzBBox& box, const Point& p) {
  Point min, max;
  for (int c = 0; c < 3; ++c) {
    min[c] = minOf(p[c], box.getMinPoint()[c]);
    max[c] = maxOf(p[c], box.getMaxPoint()[c]);
  }
  return qzBBox::Make(min, max);
}

qzBBox grow(const qzBBox& box, float g) {
  Point min, max;
  for (int c = 0; c < 3; ++c) {
    min[c] = box.getMinPoint()[c] - g;
    max[c] = box.getMaxPoint()[c] + g;
  }
  return qzBBox::Make(min, max);
}

Point project(const qzBBox& box, const Point& p) {
  Point result;
  for (int c = 0; c < 3; ++c) {
    const float m = box.getMinPoint()[c] > p[c] ? box.getMinPoint()[c] : p[c];
    result[c] = box.getMaxPoint()[c] < m ? box.getMaxPoint()[c] : m;
  }
  return result;
}

qzBBox splitLeft(const qzBBox& box, unsigned int axis, float v) {
  Point max = box.getMaxPoint();
  float& bound = max[axisNumber(axis)];
  bound = bound < v ? bound : v;
  return qzBBox::Make(box.getMinPoint(), max);
}

qzBBox splitRight(const qzBBox& box, unsigned int axis, float v) {
  Point min = box.getMinPoint();
  float& bound = min[axisNumber(axis)];
  bound = bound > v ? bound : v;
  return qzBBox::Make(min, box.getMaxPoint());
}

Wm4::Box3<float> convert(const qzBBox& box) {
  const Point axes[3] = {Point(1.0f, 0.0f, 0.0f), Point(0.0f, 1.0f, 0.0f), Point(0.0f, 0.0f, 1.0f)};
  float halfExtents[3];
  for (int c = 0; c < 3; ++c) halfExtents[c] = (box.getMaxPoint()[c] - box.getMinPoint()[c]) * 0.5f;
  return Wm4::Box3<float>(center(box), axes, halfExtents);
}

}  // namespace qzPlain
