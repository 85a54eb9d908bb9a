// The box and triangle test, by separating axes: Akenine-Möller 2001.

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzMinMax.h>

#include <cmath>

using qzDetail::maxOf;
using qzDetail::minOf;
using qzDetail::tFloatMode;
using Point = Wm4::Vector3<float>;

namespace {

constexpr int kX = 0, kY = 1, kZ = 2;

Point minus(const Point& a, const Point& b) {
  return Point(a[kX] - b[kX], a[kY] - b[kY], a[kZ] - b[kZ]);
}

// Whether the intervals from lo to hi and from -r to r are disjoint.
bool isClearOf(float r, float lo, float hi) {
  return lo > r || -r > hi;
}

// The cross product of a box axis and an edge e. It has no component along the box axis; kA and kB are the other two
// axes, in cyclic order. v and w are the two vertices with different projections: the third projects onto one of them.
template <int kA, int kB>
bool separates(const Point& e, const Point& v, const Point& w, const Point& halfExtent) {
  const float p = e[kB] * v[kA] - e[kA] * v[kB];
  const float q = e[kB] * w[kA] - e[kA] * w[kB];
  const float r = std::fabs(e[kA]) * halfExtent[kB] + std::fabs(e[kB]) * halfExtent[kA];
  return q > p ? isClearOf(r, p, q) : isClearOf(r, q, p);
}

}  // namespace

bool qzBBox::overlapsTriangle(const Point& t0, const Point& t1, const Point& t2) const {
  const tFloatMode mode;
  const Point center((mMax[kX] + mMin[kX]) * 0.5f, (mMax[kY] + mMin[kY]) * 0.5f, (mMax[kZ] + mMin[kZ]) * 0.5f);
  const Point half((mMax[kX] - mMin[kX]) * 0.5f, (mMax[kY] - mMin[kY]) * 0.5f, (mMax[kZ] - mMin[kZ]) * 0.5f);
  const Point w0 = minus(t0, center), w1 = minus(t1, center), w2 = minus(t2, center);
  const Point e0 = minus(t1, t0), e1 = minus(t2, t1), e2 = minus(t0, t2);

  // Cross products of box axes and edges first: they reject most often.
  if (separates<kY, kZ>(e0, w0, w2, half) ||  // x
      separates<kZ, kX>(e0, w0, w2, half) ||  // y
      separates<kX, kY>(e0, w1, w2, half) ||  // z
      separates<kY, kZ>(e1, w0, w2, half) ||  // x
      separates<kZ, kX>(e1, w0, w2, half) ||  // y
      separates<kX, kY>(e1, w0, w1, half) ||  // z
      separates<kY, kZ>(e2, w0, w1, half) ||  // x
      separates<kZ, kX>(e2, w0, w1, half) ||  // y
      separates<kX, kY>(e2, w1, w2, half)) {  // z
    return mode.keep(false);
  }

  // Box axes.
  for (int axis = kX; axis <= kZ; ++axis) {
    const float lo = minOf(minOf(w0[axis], w1[axis]), w2[axis]), hi = maxOf(maxOf(w0[axis], w1[axis]), w2[axis]);
    if (isClearOf(half[axis], lo, hi)) return mode.keep(false);
  }

  // The triangle's plane. Of a triangle without area, normal and d are zero: that plane overlaps every finite box.
  const Point normal(e0[kY] * e2[kZ] - e0[kZ] * e2[kY], e0[kZ] * e2[kX] - e0[kX] * e2[kZ],
                     e0[kX] * e2[kY] - e0[kY] * e2[kX]);
  const float d = -((t0[kX] * normal[kX] + normal[kY] * t0[kY]) + t0[kZ] * normal[kZ]);
  return mode.keep(overlapsPlane(normal, d));
}
