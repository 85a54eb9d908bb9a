#include "plain/qzPlainTriangleOverlap.h"

#include <cmath>

#include "plain/qzPlainBBox.h"

namespace qzPlain {

using Point = Wm4::Vector3<float>;

namespace {

struct Vector {
  float x, y, z;
};

Vector difference(const Point& a, const Vector& b) {
  return {a[0] - b.x, a[1] - b.y, a[2] - b.z};
}

bool isSeparated(float p, float q, float r) {
  float lo, hi;
  if (q > p) {
    lo = p;
    hi = q;
  } else {
    lo = q;
    hi = p;
  }
  return lo > r || -r > hi;
}

float abs(float value) {
  return std::fabs(value);
}

bool isSeparatedOnBoxAxis(float w0, float w1, float w2, float h) {
  const float min = minOf(w2, minOf(w1, w0));
  const float max = maxOf(w2, maxOf(w1, w0));
  return min > h || -h > max;
}

}  // namespace

int firstSeparatingAxis(const qzBBox& box, const Point& t0, const Point& t1, const Point& t2) {
  const Vector c = {(box.xMax() + box.xMin()) * 0.5f, (box.yMax() + box.yMin()) * 0.5f,
                    (box.zMax() + box.zMin()) * 0.5f};
  const Vector h = {(box.xMax() - box.xMin()) * 0.5f, (box.yMax() - box.yMin()) * 0.5f,
                    (box.zMax() - box.zMin()) * 0.5f};
  const Vector w0 = difference(t0, c), w1 = difference(t1, c), w2 = difference(t2, c);
  const Vector e0 = difference(t1, {t0[0], t0[1], t0[2]});
  const Vector e1 = difference(t2, {t1[0], t1[1], t1[2]});
  const Vector e2 = difference(t0, {t2[0], t2[1], t2[2]});

  if (isSeparated(e0.z * w0.y - e0.y * w0.z, e0.z * w2.y - e0.y * w2.z, abs(e0.y) * h.z + abs(e0.z) * h.y)) return 1;
  if (isSeparated(e0.x * w0.z - e0.z * w0.x, e0.x * w2.z - e0.z * w2.x, abs(e0.x) * h.z + abs(e0.z) * h.x)) return 2;
  if (isSeparated(e0.y * w1.x - e0.x * w1.y, e0.y * w2.x - e0.x * w2.y, abs(e0.x) * h.y + abs(e0.y) * h.x)) return 3;
  if (isSeparated(e1.z * w0.y - e1.y * w0.z, e1.z * w2.y - e1.y * w2.z, abs(e1.y) * h.z + abs(e1.z) * h.y)) return 4;
  if (isSeparated(e1.x * w0.z - e1.z * w0.x, e1.x * w2.z - e1.z * w2.x, abs(e1.x) * h.z + abs(e1.z) * h.x)) return 5;
  if (isSeparated(e1.y * w0.x - e1.x * w0.y, e1.y * w1.x - e1.x * w1.y, abs(e1.x) * h.y + abs(e1.y) * h.x)) return 6;
  if (isSeparated(e2.z * w0.y - e2.y * w0.z, e2.z * w1.y - e2.y * w1.z, abs(e2.y) * h.z + abs(e2.z) * h.y)) return 7;
  if (isSeparated(e2.x * w0.z - e2.z * w0.x, e2.x * w1.z - e2.z * w1.x, abs(e2.x) * h.z + abs(e2.z) * h.x)) return 8;
  if (isSeparated(e2.y * w1.x - e2.x * w1.y, e2.y * w2.x - e2.x * w2.y, abs(e2.x) * h.y + abs(e2.y) * h.x)) return 9;

  if (isSeparatedOnBoxAxis(w0.x, w1.x, w2.x, h.x)) return 10;
  if (isSeparatedOnBoxAxis(w0.y, w1.y, w2.y, h.y)) return 11;
  if (isSeparatedOnBoxAxis(w0.z, w1.z, w2.z, h.z)) return 12;

  const Point n(e0.y * e2.z - e0.z * e2.y, e0.z * e2.x - e0.x * e2.z, e0.x * e2.y - e0.y * e2.x);
  const float d = -((t0[0] * n[0] + n[1] * t0[1]) + t0[2] * n[2]);
  return overlapsPlane(box, n, d) ? 0 : 13;
}

}  // namespace qzPlain
