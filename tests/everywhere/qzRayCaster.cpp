// Compiled with the flags of the caller, -ffast-math and others: nothing here may add, multiply or compare floats.

#include "everywhere/qzRayCaster.h"

#include <algorithm>
#include <cstring>

namespace qzTest {

const int kMaxCastingThreads = 1;

std::vector<RayAnswer> castAll(const qzQBVH& hierarchy, const RayBatch& batch, std::size_t count, int) {
  float mark;
  std::memcpy(&mark, &kWeightMark, sizeof mark);
  std::vector<RayAnswer> answers(std::min(count, batch.rays.size()));
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const EverywhereRay& ray = batch.rays[i];
    RayAnswer& answer = answers[i];
    answer.t = ray.t;
    Wm4::Vector2<float> weights(mark, mark);
    answer.hit = batch.policy == RayBatch::eSymmetric
                     ? hierarchy.intersectRaySymmetric(ray.origin, ray.direction, answer.t, weights, answer.triangle)
                     : hierarchy.intersectRay(ray.origin, ray.direction, ray.tMin, answer.t, weights, answer.triangle,
                                              qzQBVH::tIntersectionPolicy(batch.policy));
    answer.weights[0] = weights[0];
    answer.weights[1] = weights[1];
  }
  return answers;
}

}  // namespace qzTest
