#pragma once
// qzBBox: axis-aligned box in three dimensions.
// Six floats, trivially copyable, no invariant: a box whose min exceeds its max on some axis is empty, which is a legal
// value and the identity of union. Coordinates are in scene units. No member allocates, throws or keeps state; each
// takes a constant number of operations, and any number of threads may read a box. Members that compute or compare are
// compiled into the library, so that a caller's compiler flags cannot change their results.

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

  /// The box that two opposite corners span: per axis min = (b < a ? b : a) and max = (b > a ? b : a). A NaN of b is
  /// ignored, a NaN of a stays.
  static qzBBox RobustMake(const Wm4::Vector3<float>& a, const Wm4::Vector3<float>& b);
  static qzBBox RobustMake(float ax, float ay, float az, float bx, float by, float bz);

  /// The corners and their coordinates as given. References are valid for the lifetime of the box.
  const Wm4::Vector3<float>& getMinPoint() const { return mMin; }
  const Wm4::Vector3<float>& getMaxPoint() const { return mMax; }
  float xMin() const { return mMin[0]; }
  float yMin() const { return mMin[1]; }
  float zMin() const { return mMin[2]; }
  float xMax() const { return mMax[0]; }
  float yMax() const { return mMax[1]; }
  float zMax() const { return mMax[2]; }

  /// The extents, max - min, of one axis or of all: negative where the box is empty, -inf for the default box, NaN if a
  /// bound is NaN or both bounds are the same infinity.
  float extentX() const;
  float extentY() const;
  float extentZ() const;
  float getExtent(tAxis axis) const;
  Wm4::Vector3<float> getExtents() const;

  /// The centre: (min + max) * 0.5 per axis. The default box gives NaN, bounds whose sum overflows give an infinity.
  Wm4::Vector3<float> getCenter() const;

  /// The volume in cubic units, (extentY * extentX) * extentZ in that order. The default box gives -inf. Any other
  /// empty box gives a value of either sign: test isEmpty first.
  float volume() const;

  /// Half the surface area in square units, (dz + dy) * dx + dz * dy in that order. The default box gives +inf. Any
  /// other empty box gives a value of either sign.
  float halfArea() const;

  /// Returns the largest extent and sets axis to its axis.
  /// Ties: y is preferred to z, and both to x.
  /// NaN: a NaN extent of x or z is ignored; a NaN extent of y is returned.
  float getMaxExtent(tAxis& axis) const;
  /// Returns the smallest extent and sets axis to its axis. Ties and NaN as in getMaxExtent.
  float getMinExtent(tAxis& axis) const;

  /// Whether min exceeds max on some axis. A box of one point is not empty, nor is a box with a NaN on every
  /// axis.
  bool isEmpty() const;
  /// Whether max exceeds min on every axis. A flat box has no extent, nor has a box with a NaN.
  bool hasExtent() const;

  /// Whether p lies in the box, border included; strictlyContains excludes the border. A NaN of p: false.
  bool contains(const Wm4::Vector3<float>& p) const;
  bool strictlyContains(const Wm4::Vector3<float>& p) const;
  /// Whether o lies in this box, touching the border allowed. Only the corners of o are compared, also if o is
  /// empty. A NaN: false.
  bool contains(const qzBBox& o) const;

  /// Whether the boxes share a point; touching does not count for strictlyOverlaps. A NaN: false.
  bool overlaps(const qzBBox& o) const;
  bool strictlyOverlaps(const qzBBox& o) const;

  /// Whether the plane n . p + d = 0 meets the box, touching included.
  ///
  /// n   any length, in the units of d per scene unit
  /// d   added, not subtracted
  ///
  /// Evaluates the plane at the corners farthest along and against n: true if the product of the two values is at most
  /// 0. A NaN product: false. A NaN component of n selects corners as a negative one does.
  bool overlapsPlane(const Wm4::Vector3<float>& n, float d) const;

  /// Whether the box overlaps the sphere around c: contains(c), or r > squared distance from c to the box. Touching
  /// from outside does not count.
  ///
  /// c   the centre
  /// r   compared with the squared distance as it is: pass the squared radius
  ///
  /// A NaN in c: false. If r is NaN, contains(c) decides.
  bool overlapsSphere(const Wm4::Vector3<float>& c, float r) const;

  /// Whether the ray origin + s * dir meets the box for some s from tMin to tMax.
  ///
  /// origin      where s is 0
  /// dir         any length; s counts in multiples of it
  /// tMin, tMax  in: the interval of s.  out: the interval narrowed to the box, axis by axis, for a hit and for a miss
  ///
  /// Grazing an edge or a corner is a hit. A ray that is parallel to a slab and starts on its max plane may hit; one
  /// that starts on its min plane misses. The comparisons drop the NaN of 0 / 0 in the first case and not in the
  /// second. A NaN interval end: false. A NaN of origin or dir removes the slab of its axis from the test.
  /// Cost: six divisions, no early exit.
  /// Source: slabs, Kay and Kajiya 1986.
  bool intersectRay(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& dir, float& tMin, float& tMax) const;

  /// Whether the box and the triangle t0 t1 t2 share a point, touching included.
  ///
  /// A separating-axis test without a tolerance: exact up to the rounding of its products. Where those overflow, with
  /// coordinates of about 2^42 and more, it may return false for an overlap. Winding does not matter. Collinear or
  /// coinciding corners are tested as a segment or point, on the edge and box axes alone. A NaN: false.
  /// Cost: no square root, no division; returns at the first axis that separates.
  /// Source: Akenine-Möller 2001.
  bool overlapsTriangle(const Wm4::Vector3<float>& t0, const Wm4::Vector3<float>& t1,
                        const Wm4::Vector3<float>& t2) const;

  /// The smallest box around this one and o. A NaN coordinate of o is ignored, a NaN of this box stays.
  qzBBox bboxUnion(const qzBBox& o) const;
  qzBBox& selfUnion(const qzBBox& o);  ///< The same in place; returns this box.

  /// The intersection of this box and o: empty (min above max on some axis) if they are apart, flat if they touch. NaN
  /// as in bboxUnion.
  qzBBox bboxIntersection(const qzBBox& o) const;
  qzBBox& selfIntersection(const qzBBox& o);  ///< The same in place; returns this box.

  /// The smallest box around this one and p. A NaN coordinate of p is ignored.
  qzBBox expand(const Wm4::Vector3<float>& p) const;
  qzBBox& selfExpand(const Wm4::Vector3<float>& p);  ///< The same in place; returns this box.

  /// The box with every face moved outwards by g scene units; a negative g shrinks it, possibly until it is empty.
  /// A finite g leaves the default box unchanged. A NaN g: all bounds are NaN.
  qzBBox grow(float g) const;
  qzBBox& selfGrow(float g);  ///< The same in place; returns this box.

  /// The point of the box nearest to p: clamped per axis to the lower bound, then to the upper bound, which wins if the
  /// box is empty on that axis. A NaN coordinate stays, a NaN bound is ignored. w is copied.
  Wm4::Vector3<float> projectOntoBBox(const Wm4::Vector3<float>& p) const;
  Wm4::Vector4<float> projectOntoBBox(const Wm4::Vector4<float>& p) const;

  /// The part on the lower side of coordinate v: a copy whose max on the axis is at most v. With v below the box it is
  /// empty. A NaN v becomes the bound, a NaN bound becomes v.
  qzBBox splitLeft(tAxis axis, float v) const;
  /// The part on the upper side of coordinate v: a copy whose min on the axis is at least v. With v above the box it is
  /// empty. NaN as in splitLeft.
  qzBBox splitRight(tAxis axis, float v) const;
  /// Cuts the box at v: this box becomes its left part, and the right part is returned.
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
static_assert(sizeof(qzBBox) == 6 * sizeof(float), "qzGNode relies on six floats and nothing else");
