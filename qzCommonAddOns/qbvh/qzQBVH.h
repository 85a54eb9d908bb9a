#pragma once
// qzQBVH: a four-wide hierarchy over the triangles of one mesh, in rows of four lanes, for ray and hull queries.
// It is a binary hierarchy without every second level of nodes: buildFromBVH converts one over the mesh's triangles,
// buildFromMesh writes what the linear builder's would become. The object owns its arrays and keeps no reference to the
// mesh; queries are const and share no state, so any number may run at once.
// A copy shares its source's arrays, and each destructor releases them: destroy only one of the two.
// Source: Dammertz, Hanika and Keller 2008.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzApi.h>
#include <qzSceneGraph/qzTriMesh.h>

class QZ_COMMONADDONS_API qzQBVH {
 public:
  /// Which per-triangle data a hierarchy keeps: a bit set, at least one bit for a build.
  enum tQBVHDataFlags : unsigned int {
    eTrianglesVertices = 1,   ///< the three vertices, for intersectConvexHull
    eTrianglesEquations = 2,  ///< plane and barycentric equations, for the ray queries
  };
  /// The union of both sets of flags.
  friend constexpr tQBVHDataFlags operator|(tQBVHDataFlags a, tQBVHDataFlags b) {
    return tQBVHDataFlags(static_cast<unsigned>(a) | static_cast<unsigned>(b));
  }

  /// Which triangles a ray may hit, by the sign of normal . direction, where normal = (V1 - V0) x (V2 - V0). A product
  /// of 0 counts as both. Any other value of the policy means eIntersectBothFaces.
  enum tIntersectionPolicy : unsigned int {
    eIntersectBothFaces = 0,   ///< any normal . direction
    eIntersectFrontFaces = 1,  ///< normal . direction <= 0, the ray comes from the side that the normal points to
    eIntersectBackFaces = 2,   ///< normal . direction >= 0
  };

  /// One plane of a convex region: 4 rows of 16 bytes, a, b, c, d, each in all four lanes.
  struct alignas(16) tSOASinglePlaneEqn {
    float mCoefficient[4][4];  ///< [coefficient][lane], all lanes equal.
  };
  static_assert(sizeof(tSOASinglePlaneEqn) == 4 * 16);

  /// An empty hierarchy: every query misses.
  qzQBVH() = default;
  qzQBVH(const qzQBVH&) = default;             ///< Shares o's arrays, see above.
  qzQBVH& operator=(const qzQBVH&) = default;  ///< Shares o's arrays and releases nothing, see above.
  ~qzQBVH();                                   ///< Releases the arrays.

  /// Number of four-wide nodes, and of groups of four triangles. A mesh that fits into one leaf has no nodes.
  unsigned getNoNodes() const { return mNoNodes; }
  unsigned getNoTriangleQuadruplets() const { return mNoQuadruplets; }

  /// Builds a hierarchy over all triangles of mesh with the linear builder at 20 bits per axis, and converts it.
  ///
  /// flags        which data to keep, at least one bit
  /// mesh         at least one triangle, indices in range: neither is checked
  /// maxLeafSize  largest subtree that is made one leaf, in triangles; 0 counts as 1. 4 fills the lanes best
  ///
  /// A NaN coordinate of a vertex is ignored in boxes; rays never hit its triangle. Logs the linear builder's records.
  /// Failure: a failed allocation of working memory throws; one of the four-lane arrays is not detected and is
  /// undefined behaviour. -3 indices or fewer throw std::length_error.
  /// Cost: linear in the number of triangles.
  /// Source: Lauterbach et al. 2009 and Dammertz, Hanika and Keller 2008.
  void buildFromMesh(tQBVHDataFlags flags, const qz::qzTriMesh& mesh, unsigned maxLeafSize);

  /// Converts a binary hierarchy whose primitives are triangle numbers of mesh.
  ///
  /// flags  which data to keep, at least one bit
  /// bvh    has at least its root; nodes that the root does not reach change nothing
  /// mesh   the triangles that bvh names; not kept
  ///
  /// What the object held before is released. The equations of a triangle without area hold whatever the arithmetic
  /// gives; no ray hits it.
  /// Failure: as in buildFromMesh; a primitive that is no triangle of mesh is undefined behaviour.
  /// Cost: linear in the number of nodes and triangles.
  /// Source: Dammertz, Hanika and Keller 2008.
  void buildFromBVH(tQBVHDataFlags flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh);

  /// Finds the nearest triangle that the ray origin + s * direction meets, for s from tMin to t.
  ///
  /// origin       where s is 0, in scene units
  /// direction    any length; distances count in multiples of it (unit length: scene units)
  /// tMin         smallest accepted distance, inclusive
  /// t            in: largest accepted distance, inclusive.  out: distance of the hit
  /// barycentric  out: weights of the triangle's first and second vertex; the third is 1 minus both
  /// triangle     out: triangle number in the mesh, 0xFFFFFFFF for no hit
  /// policy       which faces count
  ///
  /// Returns whether there is a hit; without one, t and barycentric keep their values. A weight above -1e-4 counts as
  /// inside, so triangles reach slightly over their edges. A NaN argument, an infinite
  /// coordinate and a direction of zero: no hit, at once.
  ///
  /// Ties: of equal distances the first one found wins. The tree decides which that is, so it is always the same.
  /// Failure: a hierarchy built without eTrianglesEquations logs one error and returns false, outputs untouched.
  /// Cost: no allocation. Any number of calls may run at once on a built hierarchy.
  /// Source: boxes Kay and Kajiya 1986, triangles Havel and Herout 2010.
  bool intersectRay(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float tMin, float& t,
                    Wm4::Vector2<float>& barycentric, unsigned& triangle, tIntersectionPolicy policy) const;

  /// Finds the triangle nearest to origin on the line origin + s * direction, for s from -|t| to |t|, among those that
  /// face against direction (normal . direction <= 0).
  ///
  /// origin       where s is 0, in scene units
  /// direction    any length; distances count in multiples of it
  /// t            in: largest accepted |s|, inclusive; negative: no hit.  out: |s| of the hit
  /// barycentric  out: weights of the triangle's first and second vertex
  /// triangle     out: triangle number in the mesh, 0xFFFFFFFF for no hit
  ///
  /// Returns whether there is a hit; without one, t and barycentric keep their values. Ties, NaN, cost, threads and
  /// sources as in intersectRay.
  ///
  /// Failure: a hierarchy built without eTrianglesEquations returns false and logs nothing, outputs untouched.
  bool intersectRaySymmetric(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float& t,
                             Wm4::Vector2<float>& barycentric, unsigned& triangle) const;

  /// Copies planes into four-lane rows for intersectConvexHull.
  ///
  /// planes   count x (a, b, c, d); a point is inside when a*x + b*y + c*z + d > 0, on the plane it is outside. Values
  ///          are copied unchecked; (a, b, c) may have any length
  /// count    number of planes, 0 and up
  ///
  /// Returns  count x 4 rows of 16 bytes, 16-byte aligned, owned by the caller, who releases them by
  ///          DeleteSOAPlaneEquationSet.
  /// Failure: a failed allocation is not detected.
  static tSOASinglePlaneEqn* CreateSOAPlaneEquationSet(const Wm4::Vector4<float>* planes, unsigned count);

  /// The same into the caller's storage: count entries, 16-byte aligned.
  static void InitSOAPlaneEquationSet(const Wm4::Vector4<float>* planes, tSOASinglePlaneEqn* out, unsigned count);

  /// Releases what CreateSOAPlaneEquationSet returned; null is allowed.
  static void DeleteSOAPlaneEquationSet(tSOASinglePlaneEqn* set);

  /// Tells whether any triangle has a part strictly inside all of count planes. With count 0: true unless the hierarchy
  /// is empty.
  ///
  /// planes  from CreateSOAPlaneEquationSet or InitSOAPlaneEquationSet; only read, so calls may share them
  /// count   number of planes
  ///
  /// The answer is that of clipping every triangle in single precision, plane after plane in the given order, except
  /// that a child box strictly inside every plane gives true at once. A triangle that only touches a plane from outside
  /// is clipped away. A vertex at a NaN distance is outside; a box at a NaN distance is visited. Padding lanes count as
  /// triangles at the origin: the answer is true if the origin is in the region and the query visits a leaf that has
  /// such lanes.
  ///
  /// Failure: a hierarchy built without eTrianglesVertices logs one error and returns false.
  /// Cost: no allocation unless a clipped triangle approaches 64 corners. Any number of calls may run at once on a
  /// built hierarchy.
  /// Source: Sutherland and Hodgman 1974.
  bool intersectConvexHull(const tSOASinglePlaneEqn* planes, unsigned count) const;

 protected:
  // The arrays, for derived classes. All are in rows of four lanes, 16 bytes each, lane 0 first.
  //
  /// A node, 8 rows; lane j of every row belongs to child j.
  ///
  ///     row 0-2   min x, y, z of children 0..3      empty lane: +inf
  ///     row 3-5   max x, y, z                       empty lane: -inf
  ///     row 6     node number, or first quadruplet of a leaf; empty lane: 0xFFFFFFFF
  ///     row 7     kInnerChild | n > 0 leaf of n quadruplets | 0 empty, whose leaf test does nothing
  struct alignas(16) tSOANode {
    float mMin[3][4];               ///< [axis][lane]
    float mMax[3][4];               ///< [axis][lane]
    unsigned mChildIndex[4];        ///< Row 6.
    unsigned mChildQuadruplets[4];  ///< Row 7.
  };
  static_assert(sizeof(tSOANode) == 8 * 16);

  /// Vertices of a quadruplet, 9 rows, V0.x V0.y V0.z V1.x ... V2.z; lane j is triangle j. Padding lane: 0.
  struct alignas(16) tSOATriangleVertices {
    float mVertex[3][3][4];  ///< [vertex][axis][lane]
  };
  static_assert(sizeof(tSOATriangleVertices) == 9 * 16);

  /// Equations of a quadruplet, 12 rows; lane j is triangle j.
  ///
  ///                                                                   padding lane
  ///     row 0-3    unit normal n and d: n . P + d = 0 on the plane      (0, 0, 0), +inf
  ///     row 4-7    U and U.w: U . P + U.w is the weight of V1           (0, 0, 0), -1
  ///     row 8-11   W and W.w: W . P + W.w is the weight of V2           (0, 0, 0), -1
  struct alignas(16) tSOATriangleEquations {
    float mPlane[4][4];  ///< [coefficient][lane]
    float mU[4][4];      ///< [coefficient][lane]
    float mW[4][4];      ///< [coefficient][lane]
  };
  static_assert(sizeof(tSOATriangleEquations) == 12 * 16);

  /// Triangle numbers of one quadruplet. Padding lane: kNoTriangle.
  struct alignas(16) tSOATriangleIndices {
    unsigned mTriangle[4];  ///< [lane]
  };
  static_assert(sizeof(tSOATriangleIndices) == 16);

  static constexpr unsigned kInnerChild = 0xFFFFFFFFu;  ///< Row 7 of an inner child.
  static constexpr unsigned kNoChild = 0xFFFFFFFFu;     ///< Row 6 of an empty lane.
  static constexpr unsigned kNoTriangle = 0xFFFFFFFFu;  ///< Number of a padding lane, and of no hit.

  /// Releases all arrays and allocates those that flags ask for. Sets the sizes and flags, neither the contents nor
  /// mRootBBox. A failed allocation is not detected.
  void allocate(tQBVHDataFlags flags, unsigned noNodes, unsigned noQuadruplets);

  /// Sets mRootBBox around the four lanes of node 0; false, and no change, when there are no nodes.
  bool computeRootNodeBBox();

  tSOANode* mNodes = nullptr;                           ///< The root is node 0.
  tSOATriangleVertices* mTriangleVertices = nullptr;    ///< Of every quadruplet; null without eTrianglesVertices.
  tSOATriangleEquations* mTriangleEquations = nullptr;  ///< Of every quadruplet; null without eTrianglesEquations.
  tSOATriangleIndices* mTriangleIndices = nullptr;      ///< Of every quadruplet; null without flags.
  qzBBox mRootBBox;                                     ///< Around everything; no answer depends on it.
  tQBVHDataFlags mFlags = tQBVHDataFlags(0);            ///< Which arrays there are.
  unsigned mNoNodes = 0;                                ///< Length of mNodes.
  unsigned mNoQuadruplets = 0;                          ///< Length of the other three arrays.
  /// Set by a build if no box is inverted or has a NaN and each lies within its parent's: queries may then skip tests.
  /// allocate clears it; a derived class that changes boxes after a build must clear it too.
  bool mIsNested = false;
  /// Set by a build with eTrianglesVertices if every triangle lies within the box of its leaf: the hull query may then
  /// skip tests. allocate clears it; a derived class that changes boxes or triangles after a build must clear it too.
  bool mIsSnug = false;

 private:
  struct tConversion;
  struct tMeshBuild;
  struct tHullQuery;

  void releaseArrays();
};
