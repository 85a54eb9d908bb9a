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
#include "support/qzBits.h"
#include "support/qzTestMeshes.h"

namespace qzTest {

using Point = Wm4::Vector3<float>;
using Plane = Wm4::Vector4<float>;
using Planes = std::vector<Plane>;

/// qzQBVH with its arrays open, to be read as words and written by hand.
class HullQBVH : public qzQBVH {
 public:
  using qzQBVH::allocate;
  using qzQBVH::mRootBBox;
  static constexpr unsigned int kInner = kInnerChild;

  /// buildFromMesh with vertices, its log records kept to themselves.
  void build(const qz::qzTriMesh& mesh, unsigned int maxLeafSize);

  /// Node numbers and quadruplets by hand; a lane starts as an empty one, a triangle as padding.
  void allocateEmpty(unsigned int noNodes, unsigned int noQuadruplets);
  void setLane(unsigned int node, int lane, const qzBBox& box, unsigned int index, unsigned int quadruplets);
  void setTriangle(unsigned int quadruplet, int lane, const Point& v0, const Point& v1, const Point& v2);

  /// The same hierarchy for the plain form.
  qzPlain::tQBVH plain() const;
};

/// A set of the library's, released at the end.
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

/// A direction of length 1, near enough.
Point anyDirection(Random& random);
/// Six planes of a cube turned anyhow.
Planes turnedCube(const Point& center, float half, Random& random);
/// Six planes: four through the eye, spread apart by slope, and two across.
Planes frustum(const Point& eye, const Point& target, float slope, Random& random);
/// Planes in touch with a ball, all with the ball inside.
Planes aroundBall(const Point& center, float radius, unsigned int count, Random& random);

/// A region that has a good chance to meet something of the mesh, and as good a one to pass it by.
Planes ordinaryPlanes(const qz::qzTriMesh& mesh, Random& random);
/// A region to break things with: planes through vertices and faces, doubled and opposite ones, around the origin, of
/// any floats, and up to several hundred.
Planes awkwardPlanes(const qz::qzTriMesh& mesh, Random& random);

}  // namespace qzTest
