#include <benchmarks/edges/qzEdgeSetup.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace qzBench {

namespace {

template <class Move>
qzScene moved(const qzScene& scene, const Move& move) {
  std::vector<tVector> positions;
  for (int i = 0; i < scene.getNbVertices(); ++i)
    positions.push_back(move(scene.mPositions[static_cast<std::size_t>(i)]));
  const std::ptrdiff_t nbIndices = scene.mMesh.getIndexBuffer()->getNbIndices();
  std::vector<int> indices(scene.getIndices(), scene.getIndices() + nbIndices);
  return makeScene(scene.mName,
                   qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices))));
}

/// p - centre; throws std::logic_error if that is not exact.
tVector recentred(const tVector& p, const tVector& centre) {
  const tVector near = difference(p, centre);
  for (int axis = 0; axis < 3; ++axis)
    if (double(near[axis]) != double(p[axis]) - double(centre[axis]))
      throw std::logic_error("recentring has rounded a coordinate");
  return near;
}

template <class Caster>
void collectInSteps(const Caster& caster, const qzRay& ray, float step, std::vector<qzAnswer>& hits) {
  hits.clear();
  float tMin = 0.0f;
  for (qzAnswer answer = caster.castBeyond(tMin, ray); answer.isHit(); answer = caster.castBeyond(tMin, ray)) {
    hits.push_back(answer);
    if (hits.size() > 100000) throw std::runtime_error("more than 100000 hits along one ray");
    const float behind = std::nextafter(std::max(tMin, answer.mDistance), std::numeric_limits<float>::infinity());
    tMin = std::max(behind, answer.mDistance + step);
  }
}

/// The same line from its other end, up to rounding.
qzRay reversed(const qzAimedRay& aimed) {
  const tVector &origin = aimed.mRay.mOrigin, &direction = aimed.mRay.mDirection;
  return {toFloat(along(toDouble(origin), 2.0 * aimed.mDistance, toDouble(direction))), scaled(-1.0f, direction)};
}

/// Hits along the reversed ray, as hits along the ray itself.
void reverseHits(double targetDistance, std::vector<qzAnswer>& hits) {
  std::reverse(hits.begin(), hits.end());
  for (qzAnswer& hit : hits) hit.mDistance = static_cast<float>(2.0 * targetDistance - double(hit.mDistance));
}

}  // namespace

void collectHits(const qzIndex& index, const qzRay& ray, float, std::vector<qzAnswer>& hits) {
  std::vector<qzMeshQueries::Hit> found;
  index.getIndex().allHits(indexRay(ray), found);
  hits = answersOf(found);
}
void collectHits(const qzOurs& ours, const qzRay& ray, float step, std::vector<qzAnswer>& hits) {
  collectInSteps(ours, ray, step, hits);
}
void collectHits(const qzEmbree& embree, const qzRay& ray, float step, std::vector<qzAnswer>& hits) {
  collectInSteps(embree, ray, step, hits);
}

qzScene movedAway(const qzScene& scene, double sizes) {
  double size = 0.0;
  for (int axis = 0; axis < 3; ++axis) size = std::max(size, double(scene.mMax[axis]) - double(scene.mMin[axis]));
  const double way = sizes * size;
  const tVector3d offset = {0.6 * way, 0.64 * way, 0.48 * way};
  return moved(scene, [&offset](const tVector& p) { return toFloat(sum(toDouble(p), offset)); });
}

qzScene placed(const qzScene& scene, double size, double offset) {
  double own = 0.0;
  for (int axis = 0; axis < 3; ++axis) own = std::max(own, double(scene.mMax[axis]) - double(scene.mMin[axis]));
  const tVector3d offsets = {offset, offset, offset};
  return moved(scene, [&](const tVector& p) { return toFloat(along(offsets, size / own, toDouble(p))); });
}

qzEdgeSetup::qzEdgeSetup(qzScene scene, bool isRecentred)
    : mScene(std::move(scene)),
      mNeighbours(mScene),
      mIndex(mScene),
      mOurs(mScene),
      mEmbree(mScene, RTC_BUILD_QUALITY_MEDIUM, ""),
      mRobust(mScene, RTC_BUILD_QUALITY_MEDIUM, "", RTC_SCENE_FLAG_ROBUST) {
  mIndex.build();
  mOurs.build();
  mEmbree.build();
  mRobust.build();
  if (!isRecentred) return;
  mRecentredScene =
      std::make_unique<qzScene>(moved(mScene, [this](const tVector& p) { return recentred(p, mScene.mCentre); }));
  mRecentred = std::make_unique<qzOurs>(*mRecentredScene);
  mRecentred->build();
}

qzEdgeCounts castAtEdges(const qzEdgeSetup& setup, qzTarget target, qzApproach approach, int nbRays, bool withMissing) {
  const float step = 1e-5f * 2.0f * setup.mScene.mRadius;
  qzEdgeCounts counts;
  qzRandom random(1);
  std::vector<qzAnswer> hits;
  for (int i = 0; i < nbRays; ++i) {
    const qzAimedRay aimed = aim(setup.mScene, setup.mNeighbours, target, approach, random);
    const qzTruth truth = truthOf(setup.mScene, aimed.mRay, aimed.mTriangles, aimed.mDistance);
    if (truth.mNbPoints == 0 ? !withMissing : !truth.mIsThrough) continue;  // does not count
    const auto judge = [&](const auto& caster, const qzRay& ray, float minStep, qzTally& tally) {
      collectHits(caster, ray, minStep, hits);
      return tally.add(truth, aimed.mTriangles, hits);
    };
    if (judge(setup.mOurs, aimed.mRay, 0.0f, counts.mOurs) == eSlipped) {
      collectHits(setup.mOurs, reversed(aimed), 0.0f, hits);
      reverseHits(aimed.mDistance, hits);
      qzTally back;
      if (back.add(truth, aimed.mTriangles, hits) == eSlipped) ++counts.mNbSlippedTwice;
    }
    judge(setup.mIndex, aimed.mRay, 0.0f, counts.mIndex);
    judge(setup.mOurs, aimed.mRay, step, counts.mStepping);
    judge(setup.mEmbree, aimed.mRay, 0.0f, counts.mEmbree);
    judge(setup.mRobust, aimed.mRay, 0.0f, counts.mRobust);
    if (setup.mRecentred) {
      const qzRay ray{recentred(aimed.mRay.mOrigin, setup.mScene.mCentre), aimed.mRay.mDirection};
      judge(*setup.mRecentred, ray, 0.0f, counts.mRecentred);
    }
  }
  return counts;
}

}  // namespace qzBench
