#pragma once
// Rays of the three kinds that renderers and simulations shoot, and what comes back.

#include <vector>

#include <benchmarks/core/qzVectors.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// Unit direction, distances from 0 to infinity.
struct qzRay {
  tVector mOrigin, mDirection;
};

/// The nearest hit; a miss is infinitely far away.
struct qzAnswer {
  float mDistance;
  unsigned mTriangle;

  bool isHit() const { return mTriangle != 0xFFFFFFFFu; }
};

/// size x size rays of a camera outside that looks at the scene from above, in rows: neighbours go the same way.
std::vector<qzRay> makeCameraRays(const qzScene& scene, int size);

/// One ray from every hit, cosine-weighted around the normal of the side that was hit, in the order of the hits.
std::vector<qzRay> makeBounces(const qzScene& scene, const std::vector<qzRay>& rays,
                               const std::vector<qzAnswer>& answers);

/// Rays from one random point of the bounding sphere to another: no order at all.
std::vector<qzRay> makeChords(const qzScene& scene, int count);

/// The rays 0, step, 2 step and so on.
std::vector<qzRay> someOf(const std::vector<qzRay>& rays, std::size_t step);

/// The share of the answers that agree: both miss, or both hit at the same distance up to 1e-4 of it. Close to the
/// origin of a ray single precision cannot tell that much: up to 1e-6 of the scene's radius agrees as well.
double agreement(const qzScene& scene, const std::vector<qzAnswer>& ours, const std::vector<qzAnswer>& theirs);

}  // namespace qzBench
