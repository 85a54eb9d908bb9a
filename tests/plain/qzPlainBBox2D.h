#pragma once
// The plain form of qzBBox2D: one rule at a time, two axes in a loop, scalar floats, not optimised.

#include <Wm4/Vector2.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>

namespace qzPlain {

qzBBox2D robustMake(const Wm4::Vector2<float>& a, const Wm4::Vector2<float>& b);

float extent(const qzBBox2D& box, int axis);
Wm4::Vector2<float> center(const qzBBox2D& box);
float area(const qzBBox2D& box);

bool isEmpty(const qzBBox2D& box);
bool hasExtent(const qzBBox2D& box);
bool contains(const qzBBox2D& box, const Wm4::Vector2<float>& p);
bool strictlyContains(const qzBBox2D& box, const Wm4::Vector2<float>& p);
bool overlaps(const qzBBox2D& box, const qzBBox2D& o);
bool strictlyOverlaps(const qzBBox2D& box, const qzBBox2D& o);
bool intersectSegment(const qzBBox2D& box, const Wm4::Vector2<float>& a, const Wm4::Vector2<float>& b);

qzBBox2D bboxUnion(const qzBBox2D& box, const qzBBox2D& o);
qzBBox2D bboxIntersection(const qzBBox2D& box, const qzBBox2D& o);
qzBBox2D expand(const qzBBox2D& box, const Wm4::Vector2<float>& p);
qzBBox2D grow(const qzBBox2D& box, float g);

Wm4::Vector2<float> project(const qzBBox2D& box, const Wm4::Vector2<float>& p);

}  // namespace qzPlain
