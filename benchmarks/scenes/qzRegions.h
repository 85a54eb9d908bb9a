#pragma once
// Convex regions of six planes: oriented boxes and frusta.

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

/// Cubes of random orientation, the edge a share of the diagonal of the scene's box. nearSurface: the centre is at most
/// one edge per axis from a random point of a random triangle; otherwise it is uniform in the bounding box.
std::vector<qzRegion> makeBoxes(const qzScene& scene, float share, bool nearSurface, int count);

/// View frusta of a few pixels: one degree wide, from random eye points around the scene towards random points of its
/// bounding box, the far plane behind the scene.
std::vector<qzRegion> makeFrusta(const qzScene& scene, int count);

}  // namespace qzBench
