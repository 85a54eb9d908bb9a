#include <toolkit/query/qzRayCast.h>

#include <toolkit/base/qzError.h>
#include <toolkit/io/table/qzRayFile.h>
#include <toolkit/run/qzProgress.h>
#include <toolkit/run/qzThreads.h>

#include <string>
#include <vector>

namespace qzToolkit {

namespace {

/// A ray that check refused.
struct tRefusal {
  std::size_t mNo;  // in its block
  std::string mReason;
};

}  // namespace

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

qzCastCounts castRays(qzRayReader& rays, qzHitWriter& hits, const tBatchCaster& cast,
                      const std::function<void(const qzRay&)>& check, const qzThreads& threads, const tCancel* cancel,
                      qzProgress* progress) {
  struct tBlock {
    qzRayBlock mBytes;
    std::vector<qzRay> mRays;
    std::vector<qzHit> mHits;
    std::string mRows;
    qzCastCounts mCounts;
  };
  std::vector<tBlock> blocks(static_cast<std::size_t>(kCastBlocksPerThread * threads.getNbThreads()));
  qzCastCounts counts;

  const auto read = [&](std::size_t slot) { return rays.read(blocks[slot].mBytes); };
  const auto work = [&](std::size_t slot) {
    tBlock& block = blocks[slot];
    block.mRays.clear();
    block.mRows.clear();
    rays.decode(block.mBytes, [&](const qzRay& ray) {
      try {
        if (check) check(ray);
      } catch (const qzError& refused) {
        throw tRefusal{block.mRays.size(), refused.what()};
      }
      block.mRays.push_back(ray);
    });
    block.mCounts = {block.mRays.size(), 0};
    block.mHits.resize(block.mRays.size());
    cast(block.mRays.data(), block.mRays.size(), block.mHits.data());
    for (const qzHit& hit : block.mHits) {
      hits.encode(hit, block.mRows);
      block.mCounts.mNbHits += hit.isHit();
    }
  };
  const auto write = [&](std::size_t slot) {
    const tBlock& block = blocks[slot];
    hits.write(block.mRows, block.mCounts.mNbRays);
    counts.mNbRays += block.mCounts.mNbRays;
    counts.mNbHits += block.mCounts.mNbHits;
    if (progress != nullptr) progress->advance(block.mBytes.mBytes.size());
  };
  try {
    threads.streamBlocks(blocks.size(), cancel, read, work, write);
  } catch (const tRefusal& refusal) {  // all blocks before it are written
    throw qzError(rays.getName() + ": ray " + std::to_string(counts.mNbRays + refusal.mNo), refusal.mReason);
  }
  return counts;
}

}  // namespace qzToolkit
