#pragma once
// Rays of three kinds: coherent camera rays, diffuse bounces and incoherent chords. And their nearest hits.

#include <vector>

#include <benchmarks/core/qzVectors.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// Of unit direction; hits count at distances from 0 to infinity.
struct qzRay {
  tVector mOrigin, mDirection;
};

/// The nearest hit. A miss has infinite distance and triangle 0xFFFFFFFF.
struct qzAnswer {
  float mDistance;
  unsigned mTriangle;

  bool isHit() const { return mTriangle != 0xFFFFFFFFu; }
};

/// size x size rays of a camera outside the scene that looks down at it, row by row: coherent.
std::vector<qzRay> makeCameraRays(const qzScene& scene, int size);

/// One diffuse bounce per hit, in the order of the hits. Directions are cosine-weighted around the normal of the side
/// that was hit.
std::vector<qzRay> makeBounces(const qzScene& scene, const std::vector<qzRay>& rays,
                               const std::vector<qzAnswer>& answers);

/// Rays between two random points of the bounding sphere: incoherent.
std::vector<qzRay> makeChords(const qzScene& scene, int count);

/// Every step-th ray, beginning with the first.
std::vector<qzRay> someOf(const std::vector<qzRay>& rays, std::size_t step);

/// The share of answers that agree: both miss, or both hit at distances that differ by at most 1e-4 of the larger one
/// or 1e-6 of the scene's radius. The latter covers hits next to the ray's origin, where rounding weighs more.
double agreement(const qzScene& scene, const std::vector<qzAnswer>& ours, const std::vector<qzAnswer>& theirs);

}  // namespace qzBench
