#pragma once
// qzBBox2D: axis-aligned box in two dimensions.
// Four floats, trivially copyable, no invariant: a box whose min exceeds its max on some axis is empty, which is a
// legal value and the identity of union. Coordinates are in scene units. No member allocates, throws or keeps state;
// each takes a constant number of operations, and any number of threads may read a box. Members that
// qzBBox has, too, work as there, except getCenter, whose formula differs. It lacks the members of qzBBox for planes,
// spheres, rays, triangles, splits and conversions, and has a segment test of its own. Whatever computes or compares is
// compiled into the library, so a caller's compiler flags do not change results.

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

  /// The box that two opposite corners span: per axis min = (b < a ? b : a) and max = (b > a ? b : a), so a NaN of b is
  /// passed over and one of a stays.
  static qzBBox2D RobustMake(const Wm4::Vector2<float>& a, const Wm4::Vector2<float>& b);
  static qzBBox2D RobustMake(float x0, float y0, float x1, float y1);

  /// The corners and their coordinates, as they were given. A reference holds as long as the box does.
  const Wm4::Vector2<float>& getMinPoint() const { return mMin; }
  const Wm4::Vector2<float>& getMaxPoint() const { return mMax; }
  float xMin() const { return mMin[0]; }
  float yMin() const { return mMin[1]; }
  float xMax() const { return mMax[0]; }
  float yMax() const { return mMax[1]; }

  /// The extent: max - min on one axis, negative where the box is empty, -inf for the default box, NaN where a bound is
  /// or where both are the same infinity.
  float extentX() const;
  float extentY() const;

  /// The centre: (max - min) * 0.5 + min per axis, which may differ in the last bit from the formula of qzBBox. The
  /// default box gives NaN.
  Wm4::Vector2<float> getCenter() const;

  /// The area in square units, extentY * extentX. An empty box may well have a positive one: two negative extents. NaN
  /// where an extent is.
  float area() const;

  /// Whether min exceeds max on some axis. A box of one point is not empty, nor is one with a NaN on every axis.
  bool isEmpty() const;
  /// Whether max exceeds min on every axis; a flat box has no extent, nor has one with a NaN.
  bool hasExtent() const;

  /// Whether p lies in the box, border included; strictlyContains leaves the border out. A NaN of p: false.
  bool contains(const Wm4::Vector2<float>& p) const;
  bool strictlyContains(const Wm4::Vector2<float>& p) const;

  /// Whether the boxes share a point; strictlyOverlaps asks for more than a touch. A NaN: false.
  bool overlaps(const qzBBox2D& o) const;
  bool strictlyOverlaps(const qzBBox2D& o) const;

  /// Whether the segment from a to b meets the box. One that ends on the border does.
  ///
  /// The far end of a slab is the sum of its two ends less the near one; where these are infinite it is NaN. This
  /// decides what becomes of segments along an axis, and is meant so:
  /// - along y, or of one point (b.x - a.x is 0): never met.
  /// - along x (b.y - a.y is 0): the x slab alone decides, also on the sides and above the box; below the box it is a
  ///   miss. When b.y - a.y is -0 below and above change places.
  /// A NaN x of an end point: false. A NaN y: the x slab alone decides.
  ///
  /// Cost: two divisions, no early exit.
  /// Source: slabs, Kay and Kajiya 1986.
  bool intersectSegment(const Wm4::Vector2<float>& a, const Wm4::Vector2<float>& b) const;

  /// The smallest box around this one and o. A NaN coordinate of o is passed over, one of this box stays.
  qzBBox2D bboxUnion(const qzBBox2D& o) const;
  qzBBox2D& selfUnion(const qzBBox2D& o);  ///< The same in place; returns this box.

  /// What this box and o share: empty (min above max somewhere) when they are apart, flat when they touch. NaN as in
  /// bboxUnion.
  qzBBox2D bboxIntersection(const qzBBox2D& o) const;
  qzBBox2D& selfIntersection(const qzBBox2D& o);  ///< The same in place; returns this box.

  /// The smallest box around this one and p. A NaN coordinate of p is passed over.
  qzBBox2D expand(const Wm4::Vector2<float>& p) const;
  qzBBox2D& selfExpand(const Wm4::Vector2<float>& p);  ///< The same in place; returns this box.

  /// The box with every side moved outwards by g scene units; a negative g shrinks, beyond empty if need be. The
  /// default box stays as it is for a finite g. A NaN g: all bounds are NaN.
  qzBBox2D grow(float g) const;
  qzBBox2D& selfGrow(float g);  ///< The same in place; returns this box.

  /// The point of the box nearest to p: moved per axis to the lower bound first and then to the upper, which is where
  /// it ends when the box is empty there. A NaN coordinate stays, a NaN bound is passed over.
  Wm4::Vector2<float> projectOntoBBox(const Wm4::Vector2<float>& p) const;

 private:
  qzBBox2D(const Wm4::Vector2<float>& min, const Wm4::Vector2<float>& max) : mMin(min), mMax(max) {}
  qzBBox2D(float xMin, float yMin, float xMax, float yMax) : mMin(xMin, yMin), mMax(xMax, yMax) {}

  static constexpr float kInfinity = std::numeric_limits<float>::infinity();

  Wm4::Vector2<float> mMin, mMax;
};
static_assert(sizeof(qzBBox2D) == 4 * sizeof(float), "qzGNode2D counts on four floats and nothing else");
