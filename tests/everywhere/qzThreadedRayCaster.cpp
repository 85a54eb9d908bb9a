#include "everywhere/qzRayCaster.h"

#include <tbb/global_control.h>
#include <toolkit/query/qzRayCast.h>
#include <toolkit/run/qzThreads.h>

#include <algorithm>
#include <cstring>

namespace qzTest {

const int kMaxCastingThreads = 64;

// The toolkit leaves nothing in the outputs of a ray that misses; the answers here say what the library leaves there.
std::vector<RayAnswer> castAll(const qzQBVH& hierarchy, const RayBatch& batch, std::size_t count, int nbThreads) {
  std::vector<qzToolkit::qzRay> rays;
  for (std::size_t i = 0; i < std::min(count, batch.rays.size()); ++i) {
    rays.push_back({batch.rays[i].origin, batch.rays[i].direction, batch.rays[i].tMin, batch.rays[i].t});
  }
  std::vector<qzToolkit::qzHit> hits(rays.size());
  const tbb::global_control allowance(tbb::global_control::max_allowed_parallelism,
                                      static_cast<std::size_t>(nbThreads));
  const qzToolkit::qzThreads threads(nbThreads);
  threads.forEachBlock(rays.size(), 4096, nullptr, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      hits[i] = batch.policy == RayBatch::eSymmetric
                    ? qzToolkit::castRaySymmetric(hierarchy, rays[i])
                    : qzToolkit::castRay(hierarchy, rays[i], qzQBVH::tIntersectionPolicy(batch.policy));
    }
  });

  float mark;
  std::memcpy(&mark, &kWeightMark, sizeof mark);
  std::vector<RayAnswer> answers;
  for (std::size_t i = 0; i < hits.size(); ++i) {
    const qzToolkit::qzHit& hit = hits[i];
    answers.push_back(hit.isHit() ? RayAnswer{true,
                                              hit.mDistance,
                                              {hit.mWeights[0], hit.mWeights[1]},
                                              static_cast<unsigned int>(hit.mTriangle)}
                                  : RayAnswer{false, rays[i].mTMax, {mark, mark}, 0xFFFFFFFFu});
  }
  return answers;
}

}  // namespace qzTest
