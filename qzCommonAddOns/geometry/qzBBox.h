#pragma once
// qzBBox: axis-aligned box in three dimensions.
// Six floats, trivially copyable, no invariant: a box whose min exceeds its max on some axis is empty, which is a legal
// value and the identity of union. Coordinates are in scene units. No member allocates, throws or keeps state; each
// takes a constant number of operations, and any number of threads may read a box. Whatever computes or compares stands
// in the library, where no flag of a caller's compiler reaches it.

#include <Wm4/Box3.h>
#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <qzCommonAddOns/qzApi.h>

#include <limits>

class QZ_COMMONADDONS_API qzBBox {
 public:
  /// Axis number in the top two bits of a word, as a qzGNode stores it. A member that takes an axis reads 0 as x,
  /// exactly 0x40000000 as y and any other value as z.
  enum tAxis : unsigned int { eAxisX = 0x00000000u, eAxisY = 0x40000000u, eAxisZ = 0x80000000u };

  /// The empty box: min (+inf, +inf, +inf), max (-inf, -inf, -inf). Its union with any box is that box.
  qzBBox() : qzBBox(kInfinity, kInfinity, kInfinity, -kInfinity, -kInfinity, -kInfinity) {}

  /// The box that holds the one point p: not empty, without extent.
  explicit qzBBox(const Wm4::Vector3<float>& p) : qzBBox(p, p) {}

  /// The box from min to max as given, NaN and reversed bounds included; RobustMake takes two corners in any order.
  static qzBBox Make(const Wm4::Vector3<float>& min, const Wm4::Vector3<float>& max) { return qzBBox(min, max); }
  static qzBBox Make(float xMin, float yMin, float zMin, float xMax, float yMax, float zMax) {
    return qzBBox(xMin, yMin, zMin, xMax, yMax, zMax);
  }

  /// The box that two opposite corners span: per axis min = (b < a ? b : a) and max = (b > a ? b : a), so a NaN of b is
  /// passed over and one of a stays.
  static qzBBox RobustMake(const Wm4::Vector3<float>& a, const Wm4::Vector3<float>& b);
  static qzBBox RobustMake(float ax, float ay, float az, float bx, float by, float bz);

  /// The corners and their coordinates, as they were given. A reference holds as long as the box does.
  const Wm4::Vector3<float>& getMinPoint() const { return mMin; }
  const Wm4::Vector3<float>& getMaxPoint() const { return mMax; }
  float xMin() const { return mMin[0]; }
  float yMin() const { return mMin[1]; }
  float zMin() const { return mMin[2]; }
  float xMax() const { return mMax[0]; }
  float yMax() const { return mMax[1]; }
  float zMax() const { return mMax[2]; }

  /// The extents: max - min on one axis or on all, negative where the box is empty, -inf for the default box, NaN where
  /// a bound is or where both are the same infinity.
  float extentX() const;
  float extentY() const;
  float extentZ() const;
  float getExtent(tAxis axis) const;
  Wm4::Vector3<float> getExtents() const;

  /// The centre: (min + max) * 0.5 per axis. The default box gives NaN, bounds whose sum overflows give infinity.
  Wm4::Vector3<float> getCenter() const;

  /// The volume in cubic units, (extentY * extentX) * extentZ in that order. The default box gives -inf, any other
  /// empty one a value of either sign: ask isEmpty first.
  float volume() const;

  /// Half the surface area in square units, (dz + dy) * dx + dz * dy in that order. The default box gives +inf, any
  /// other empty one a value of either sign.
  float halfArea() const;

  /// The largest extent, its axis in axis.
  /// Ties: of equal extents y goes before z, and y or z before x.
  /// NaN: an extent of x or z that is NaN is passed over, one of y is the answer.
  float getMaxExtent(tAxis& axis) const;
  /// The smallest extent, its axis in axis. Ties and NaN as in getMaxExtent.
  float getMinExtent(tAxis& axis) const;

  /// Whether min exceeds max on some axis. A box of one point is not empty, nor is one with a NaN on every axis.
  bool isEmpty() const;
  /// Whether max exceeds min on every axis; a flat box has no extent, nor has one with a NaN.
  bool hasExtent() const;

  /// Whether p lies in the box, border included; strictlyContains leaves the border out. A NaN of p: false.
  bool contains(const Wm4::Vector3<float>& p) const;
  bool strictlyContains(const Wm4::Vector3<float>& p) const;
  /// Whether o lies in this box, touching the border allowed. An empty o may or may not: its corners decide. A NaN:
  /// false.
  bool contains(const qzBBox& o) const;

  /// Whether the boxes share a point; strictlyOverlaps asks for more than a touch. A NaN: false.
  bool overlaps(const qzBBox& o) const;
  bool strictlyOverlaps(const qzBBox& o) const;

  /// Whether the plane n . p + d = 0 meets the box, touching included.
  ///
  /// n   any length, in the units of d per scene unit
  /// d   added, not subtracted
  ///
  /// Compares the corners farthest along and against n: true when the product of their two values is not above 0. A
  /// NaN product: false. A component of n that is NaN picks the corners of a negative one.
  bool overlapsPlane(const Wm4::Vector3<float>& n, float d) const;

  /// Whether the box comes nearer to c than a sphere reaches: contains(c), or r > squared distance (a touch from
  /// outside does not count).
  ///
  /// c   the centre
  /// r   compared with the squared distance as it stands: pass the squared radius
  ///
  /// A NaN of c: false. When r is NaN, contains(c) decides.
  bool overlapsSphere(const Wm4::Vector3<float>& c, float r) const;

  /// Whether the ray origin + s * dir meets the box for some s from tMin to tMax.
  ///
  /// origin      where s is 0
  /// dir         any length; s counts in multiples of it
  /// tMin, tMax  in: the interval looked at.  out: narrowed to the box, axis by axis, hit or miss alike
  ///
  /// Grazing an edge or a corner is a hit. A ray parallel to a slab that starts on its max plane may hit, on its min
  /// plane it misses: 0 / 0 drops out of the comparisons there, here it does not. NaN interval ends: false. A NaN of
  /// origin or dir takes the slab of its axis out of the test.
  /// Cost: six divisions, no early exit.
  /// Source: slabs, Kay and Kajiya 1986.
  bool intersectRay(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& dir, float& tMin, float& tMax) const;

  /// Whether the box and the triangle t0 t1 t2 share a point, touching included.
  ///
  /// A separating-axis test without a tolerance: exact up to the rounding of its products. Winding does not matter.
  /// Corners that are collinear or coincide are tested as the segment or point that they are, on the edge and box axes
  /// alone. A NaN: false.
  /// Cost: no square root, no division; returns at the first axis that separates.
  /// Source: Akenine-Möller 2001.
  bool overlapsTriangle(const Wm4::Vector3<float>& t0, const Wm4::Vector3<float>& t1,
                        const Wm4::Vector3<float>& t2) const;

  /// The smallest box around this one and o. A NaN coordinate of o is passed over, one of this box stays.
  qzBBox bboxUnion(const qzBBox& o) const;
  qzBBox& selfUnion(const qzBBox& o);  ///< The same in place; returns this box.

  /// What this box and o share: empty (min above max somewhere) when they are apart, flat when they touch. NaN as in
  /// bboxUnion.
  qzBBox bboxIntersection(const qzBBox& o) const;
  qzBBox& selfIntersection(const qzBBox& o);  ///< The same in place; returns this box.

  /// The smallest box around this one and p. A NaN coordinate of p is passed over.
  qzBBox expand(const Wm4::Vector3<float>& p) const;
  qzBBox& selfExpand(const Wm4::Vector3<float>& p);  ///< The same in place; returns this box.

  /// The box with every face moved outwards by g scene units; a negative g shrinks, beyond empty if need be. The
  /// default box stays as it is for a finite g. A NaN g: all bounds are NaN.
  qzBBox grow(float g) const;
  qzBBox& selfGrow(float g);  ///< The same in place; returns this box.

  /// The point of the box nearest to p: moved per axis to the lower bound first and then to the upper, which is where
  /// it ends when the box is empty there. A NaN coordinate stays, a NaN bound is passed over; w is copied.
  Wm4::Vector3<float> projectOntoBBox(const Wm4::Vector3<float>& p) const;
  Wm4::Vector4<float> projectOntoBBox(const Wm4::Vector4<float>& p) const;

  /// The part on the lower side of coordinate v: a copy whose max on the axis is at most v. With v below the box it is
  /// empty. A NaN v becomes the bound, a NaN bound becomes v.
  qzBBox splitLeft(tAxis axis, float v) const;
  /// The part on the upper side of coordinate v: a copy whose min on the axis is at least v. With v above the box it is
  /// empty. NaN as in splitLeft.
  qzBBox splitRight(tAxis axis, float v) const;
  /// Turns the box into its left part and returns the right part of the box as it was.
  qzBBox split(tAxis axis, float v);

  /// The same box as centre (that of getCenter), unit axes and half extents, (max - min) * 0.5, which are negative
  /// where the box is empty.
  Wm4::Box3<float> convert() const;

 private:
  qzBBox(const Wm4::Vector3<float>& min, const Wm4::Vector3<float>& max) : mMin(min), mMax(max) {}
  qzBBox(float xMin, float yMin, float zMin, float xMax, float yMax, float zMax)
      : mMin(xMin, yMin, zMin), mMax(xMax, yMax, zMax) {}

  static constexpr float kInfinity = std::numeric_limits<float>::infinity();

  Wm4::Vector3<float> mMin, mMax;
};
static_assert(sizeof(qzBBox) == 6 * sizeof(float), "qzGNode counts on six floats and nothing else");
