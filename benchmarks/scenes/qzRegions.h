#pragma once
// Convex regions of six planes: turned boxes and frusta.

#include <Wm4/Vector4.h>

#include <vector>

#include <benchmarks/core/qzVectors.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

struct qzRegion {
  /// A point is inside when a x + b y + c z + d > 0 for every plane (a, b, c, d).
  Wm4::Vector4<float> mPlanes[6];
  /// Corner i lies at the far end of axis 0, 1, 2 where bit 0, 1, 2 of i is set.
  tVector mCorners[8];
  tVector mCentre, mAxes[3];  ///< right-handed, unit length
  float mHalfEdge;            ///< of a cube; 0 for a frustum

  bool isBox() const { return mHalfEdge > 0.0f; }
};

/// Cubes in any position whose edge is a share of the scene's diagonal: nearSurface, with the centre at most one
/// edge per axis away from a random point of a random triangle; otherwise anywhere in the bounding box.
std::vector<qzRegion> makeBoxes(const qzScene& scene, float share, bool nearSurface, int count);

/// What falls on a few neighbouring pixels of a camera outside: from random points around the scene towards random
/// points of its bounding box, a degree wide, ending behind the scene.
std::vector<qzRegion> makeFrusta(const qzScene& scene, int count);

}  // namespace qzBench
