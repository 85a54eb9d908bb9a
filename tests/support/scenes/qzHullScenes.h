#pragma once
// Hierarchies and plane sets for the hull query.

#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <string>
#include <vector>

#include "plain/qzPlainHull.h"
#include "support/access/qzOpenQBVH.h"
#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

namespace qzTest {

using Plane = Wm4::Vector4<float>;
using Planes = std::vector<Plane>;

/// A hierarchy with vertices alone.
class HullQBVH : public OpenQBVH {
 public:
  /// buildFromMesh without log records.
  void build(const qz::qzTriMesh& mesh, unsigned int maxLeafSize);

  /// The same hierarchy for the plain form of the query.
  qzPlain::tQBVH plain() const;
};

/// A plane set of the library, released at the end.
class PlaneSet {
 public:
  explicit PlaneSet(const Planes& planes)
      : mCount(static_cast<unsigned int>(planes.size())),
        mSet(qzQBVH::CreateSOAPlaneEquationSet(planes.data(), mCount)) {}
  ~PlaneSet() { qzQBVH::DeleteSOAPlaneEquationSet(mSet); }
  PlaneSet(const PlaneSet&) = delete;
  PlaneSet& operator=(const PlaneSet&) = delete;

  bool meets(const qzQBVH& hierarchy) const { return hierarchy.intersectConvexHull(mSet, mCount); }

 private:
  unsigned int mCount;
  qzQBVH::tSOASinglePlaneEqn* mSet;
};

bool meets(const qzQBVH& hierarchy, const Planes& planes);

/// For messages: the coefficients to the bit.
std::string describe(const Planes& planes);

/// The inside of a box.
Planes insideOf(const qzBBox& box);
/// The cube of this half side around a point.
Planes cubeAround(const Point& center, float half);

Point anyPointOn(const qz::qzTriMesh& mesh, Random& random);

/// A direction of length 1, up to rounding.
Point anyDirection(Random& random);
/// Six planes of a cube in any orientation.
Planes turnedCube(const Point& center, float half, Random& random);
/// Six planes of a view frustum: four through the eye at this slope, and near and far.
Planes frustum(const Point& eye, const Point& target, float slope, Random& random);
/// Planes that touch the unit circle around the z axis, at equal angles, the circle inside: they clip a large triangle
/// to a polygon of count corners and more.
Planes aroundCircle(unsigned int count);
/// Planes that touch a ball, the ball inside.
Planes aroundBall(const Point& center, float radius, unsigned int count, Random& random);

/// A region that intersects something of the mesh about every other time.
Planes ordinaryPlanes(const qz::qzTriMesh& mesh, Random& random);
/// A degenerate region: planes through vertices and faces, repeated and opposite ones, around the origin, of any
/// floats, up to several hundred.
Planes awkwardPlanes(const qz::qzTriMesh& mesh, Random& random);

}  // namespace qzTest
