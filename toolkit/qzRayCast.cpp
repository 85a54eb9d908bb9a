#include <toolkit/qzProgress.h>
#include <toolkit/qzRayCast.h>
#include <toolkit/qzThreads.h>

namespace qzToolkit {

namespace {

template <class tCast>
std::vector<qzHit> castEach(const std::vector<qzRay>& rays, const qzThreads& threads, qzProgress& progress,
                            const tCast& cast) {
  std::vector<qzHit> hits(rays.size());
  threads.forEachBlock(rays.size(), 4096, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) hits[i] = cast(rays[i]);
    progress.advance(end - begin);
  });
  return hits;
}

}  // namespace

qzHit::qzHit(float distance, unsigned triangle, const Wm4::Vector2<float>& weights)
    : mDistance(distance),
      mTriangle(static_cast<int>(triangle)),
      mWeights{weights[0], weights[1], (1.0f - weights[0]) - weights[1]} {}

qzHit castRay(const qzQBVH& hierarchy, const qzRay& ray, qzQBVH::tIntersectionPolicy policy) {
  float distance = ray.mTMax;
  Wm4::Vector2<float> weights;
  unsigned triangle;
  const bool isHit =
      hierarchy.intersectRay(ray.mOrigin, ray.mDirection, ray.mTMin, distance, weights, triangle, policy);
  return isHit ? qzHit(distance, triangle, weights) : qzHit();
}

qzHit castRaySymmetric(const qzQBVH& hierarchy, const qzRay& ray) {
  float distance = ray.mTMax;
  Wm4::Vector2<float> weights;
  unsigned triangle;
  const bool isHit = hierarchy.intersectRaySymmetric(ray.mOrigin, ray.mDirection, distance, weights, triangle);
  return isHit ? qzHit(distance, triangle, weights) : qzHit();
}

std::vector<qzHit> castRays(const qzQBVH& hierarchy, const std::vector<qzRay>& rays, qzQBVH::tIntersectionPolicy policy,
                            const qzThreads& threads, qzProgress& progress) {
  return castEach(rays, threads, progress, [&](const qzRay& ray) { return castRay(hierarchy, ray, policy); });
}

std::vector<qzHit> castRaysSymmetric(const qzQBVH& hierarchy, const std::vector<qzRay>& rays, const qzThreads& threads,
                                     qzProgress& progress) {
  return castEach(rays, threads, progress, [&](const qzRay& ray) { return castRaySymmetric(hierarchy, ray); });
}

}  // namespace qzToolkit
