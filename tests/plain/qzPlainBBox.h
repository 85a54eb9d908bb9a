#pragma once
// The plain form of qzBBox: one rule at a time, three axes in a loop, scalar floats, not optimised.

#include <Wm4/Box3.h>
#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

namespace qzPlain {

/// The first value stays unless the other is strictly smaller (larger).
inline float minOf(float other, float atHand) {
  return other < atHand ? other : atHand;
}
inline float maxOf(float other, float atHand) {
  return other > atHand ? other : atHand;
}

/// Axis number that a word selects: 0 is x, exactly 0x40000000 is y, anything else z.
int axisNumber(unsigned int axis);

qzBBox robustMake(const Wm4::Vector3<float>& a, const Wm4::Vector3<float>& b);

float extent(const qzBBox& box, int axis);
Wm4::Vector3<float> center(const qzBBox& box);
float volume(const qzBBox& box);
float halfArea(const qzBBox& box);
float maxExtent(const qzBBox& box, qzBBox::tAxis& axis);
float minExtent(const qzBBox& box, qzBBox::tAxis& axis);

bool isEmpty(const qzBBox& box);
bool hasExtent(const qzBBox& box);
bool contains(const qzBBox& box, const Wm4::Vector3<float>& p);
bool strictlyContains(const qzBBox& box, const Wm4::Vector3<float>& p);
bool contains(const qzBBox& box, const qzBBox& o);
bool overlaps(const qzBBox& box, const qzBBox& o);
bool strictlyOverlaps(const qzBBox& box, const qzBBox& o);
bool overlapsPlane(const qzBBox& box, const Wm4::Vector3<float>& n, float d);
bool overlapsSphere(const qzBBox& box, const Wm4::Vector3<float>& c, float r);
bool intersectRay(const qzBBox& box, const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& dir, float& tMin,
                  float& tMax);

qzBBox bboxUnion(const qzBBox& box, const qzBBox& o);
qzBBox bboxIntersection(const qzBBox& box, const qzBBox& o);
qzBBox expand(const qzBBox& box, const Wm4::Vector3<float>& p);
qzBBox grow(const qzBBox& box, float g);

Wm4::Vector3<float> project(const qzBBox& box, const Wm4::Vector3<float>& p);
qzBBox splitLeft(const qzBBox& box, unsigned int axis, float v);
qzBBox splitRight(const qzBBox& box, unsigned int axis, float v);
Wm4::Box3<float> convert(const qzBBox& box);

}  // namespace qzPlain
