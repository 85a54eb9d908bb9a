#pragma once
// Rays against all triangles of a mesh in double precision, without a hierarchy and by another formula.

#include <Wm4/Vector3.h>
#include <qzSceneGraph/qzTriMesh.h>

namespace qzPlain {

/// Which side of a triangle a ray may hit: that of its normal (first edge x second edge), the other one, or both.
enum tSides { eBothSides, eFrontSide, eBackSide };

/// The nearest hit, and whether single precision can be trusted to find the same one.
struct tBruteForceHit {
  bool mHit = false;
  double mT = 0.0;
  double mWeights[3] = {0.0, 0.0, 0.0};  // of the three vertices
  unsigned int mTriangle = 0xFFFFFFFFu;
  /// No triangle near enough to matter is a needle or met close to its edge, at a grazing angle, close to an end of the
  /// interval, or at nearly the distance of the nearest.
  bool mClear = true;
};

/// The nearest of all triangles on origin + s * direction for s from tMin to t. The direction has a length of 1 or so,
/// and the triangles are not much smaller than 1 / 100. Triangles without area are passed over.
tBruteForceHit castAtAll(const qz::qzTriMesh& mesh, const Wm4::Vector3<float>& origin,
                         const Wm4::Vector3<float>& direction, double tMin, double t, tSides sides);

/// The same for s from -t to t, by |s|, on the front sides.
tBruteForceHit castAtAllSymmetric(const qz::qzTriMesh& mesh, const Wm4::Vector3<float>& origin,
                                  const Wm4::Vector3<float>& direction, double t);

}  // namespace qzPlain
