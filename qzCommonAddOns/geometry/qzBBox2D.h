#pragma once
// qzBBox2D: axis-aligned box in two dimensions.
// Four floats, trivially copyable, no invariant: a box whose min exceeds its max on some axis is empty, which is a
// legal value and the identity of union. Coordinates are in scene units. No member allocates, throws or keeps state;
// each takes constant time, and any number of threads may read a box. Members that qzBBox also has work as there,
// except getCenter, whose formula differs. It lacks the members of qzBBox for planes, spheres, rays, triangles, splits
// and conversions, and has a segment test of its own. Whatever computes or compares is compiled into the library, so a
// caller's compiler flags do not change results.

#include <Wm4/Vector2.h>
#include <qzCommonAddOns/qzApi.h>

#include <limits>

class QZ_COMMONADDONS_API qzBBox2D {
 public:
  /// The empty box: min (+inf, +inf), max (-inf, -inf). Its union with any box is that box.
  qzBBox2D() : qzBBox2D(kInfinity, kInfinity, -kInfinity, -kInfinity) {}

  /// The box that holds the one point p: not empty, without extent.
  explicit qzBBox2D(const Wm4::Vector2<float>& p) : qzBBox2D(p, p) {}

  /// The box from min to max as given, NaN and reversed bounds included; RobustMake takes two corners in any order.
  static qzBBox2D Make(const Wm4::Vector2<float>& min, const Wm4::Vector2<float>& max) { return qzBBox2D(min, max); }
  static qzBBox2D Make(float xMin, float yMin, float xMax, float yMax) { return qzBBox2D(xMin, yMin, xMax, yMax); }

  /// The box that two opposite corners span: per axis min = (b < a ? b : a) and max = (b > a ? b : a), so a NaN in b is
  /// ignored and one in a is kept.
  static qzBBox2D RobustMake(const Wm4::Vector2<float>& a, const Wm4::Vector2<float>& b);
  static qzBBox2D RobustMake(float x0, float y0, float x1, float y1);

  /// The corners and their coordinates, as they were given. References are valid as long as the box exists.
  const Wm4::Vector2<float>& getMinPoint() const { return mMin; }
  const Wm4::Vector2<float>& getMaxPoint() const { return mMax; }
  float xMin() const { return mMin[0]; }
  float yMin() const { return mMin[1]; }
  float xMax() const { return mMax[0]; }
  float yMax() const { return mMax[1]; }

  /// The extent: max - min on one axis, negative where the box is empty, -inf for the default box, NaN where a bound is
  /// NaN or both are the same infinity.
  float extentX() const;
  float extentY() const;

  /// The centre: (max - min) * 0.5 + min per axis, which may differ in the last bit from the formula of qzBBox. The
  /// default box gives NaN.
  Wm4::Vector2<float> getCenter() const;

  /// The area in square units, extentY * extentX. An empty box may have a positive area: two negative extents. NaN if
  /// an extent is NaN.
  float area() const;

  /// Whether min exceeds max on some axis. A box of one point is not empty, nor is one with a NaN on every axis.
  bool isEmpty() const;
  /// Whether max exceeds min on every axis; false for a flat box and for one with a NaN.
  bool hasExtent() const;

  /// Whether p lies in the box, border included; strictlyContains excludes the border. A NaN in p: false.
  bool contains(const Wm4::Vector2<float>& p) const;
  bool strictlyContains(const Wm4::Vector2<float>& p) const;

  /// Whether the boxes share a point; for strictlyOverlaps a touch is not enough. A NaN: false.
  bool overlaps(const qzBBox2D& o) const;
  bool strictlyOverlaps(const qzBBox2D& o) const;

  /// Whether the segment from a to b meets the box. One that ends on the border does.
  ///
  /// The far end of a slab is computed as the sum of both ends minus the near end, which is NaN for infinite ends. So,
  /// by design, segments parallel to an axis are special:
  /// - parallel to y, or a point (b.x - a.x is 0): never meets the box.
  /// - parallel to x (b.y - a.y is 0): the x slab alone decides, even on the border and above the box; below the box it
  ///   misses. If b.y - a.y is -0, below and above are swapped.
  /// A NaN in x of an end point: false. A NaN in y: the x slab alone decides.
  ///
  /// Cost: two divisions, no early exit.
  /// Source: slabs, Kay and Kajiya 1986.
  bool intersectSegment(const Wm4::Vector2<float>& a, const Wm4::Vector2<float>& b) const;

  /// The smallest box around this one and o. A NaN in o is ignored, one in this box is kept.
  qzBBox2D bboxUnion(const qzBBox2D& o) const;
  qzBBox2D& selfUnion(const qzBBox2D& o);  ///< The same in place; returns this box.

  /// The intersection of this box and o: empty (min above max on some axis) if they are apart, flat if they touch. NaN
  /// as in bboxUnion.
  qzBBox2D bboxIntersection(const qzBBox2D& o) const;
  qzBBox2D& selfIntersection(const qzBBox2D& o);  ///< The same in place; returns this box.

  /// The smallest box around this one and p. A NaN in p is ignored.
  qzBBox2D expand(const Wm4::Vector2<float>& p) const;
  qzBBox2D& selfExpand(const Wm4::Vector2<float>& p);  ///< The same in place; returns this box.

  /// The box with every side moved outwards by g scene units; a negative g shrinks it, possibly to an empty box. A
  /// finite g leaves the default box unchanged. A NaN g: all bounds are NaN.
  qzBBox2D grow(float g) const;
  qzBBox2D& selfGrow(float g);  ///< The same in place; returns this box.

  /// The point of the box nearest to p: each coordinate is clamped to the lower bound, then to the upper, which is the
  /// result where the box is empty. A NaN coordinate is kept, a NaN bound ignored.
  Wm4::Vector2<float> projectOntoBBox(const Wm4::Vector2<float>& p) const;

 private:
  qzBBox2D(const Wm4::Vector2<float>& min, const Wm4::Vector2<float>& max) : mMin(min), mMax(max) {}
  qzBBox2D(float xMin, float yMin, float xMax, float yMax) : mMin(xMin, yMin), mMax(xMax, yMax) {}

  static constexpr float kInfinity = std::numeric_limits<float>::infinity();

  Wm4::Vector2<float> mMin, mMax;
};
static_assert(sizeof(qzBBox2D) == 4 * sizeof(float), "qzGNode2D counts on four floats and nothing else");
