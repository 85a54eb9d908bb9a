#include <benchmarks/peers/qzOurs.h>

#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <toolkit/build/qzSAHFeeder.h>

#include <limits>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

qzPlaneSets::qzPlaneSets(const std::vector<qzRegion>& regions) {
  for (const qzRegion& region : regions) mSets.push_back(qzQBVH::CreateSOAPlaneEquationSet(region.mPlanes, 6));
}

qzPlaneSets::~qzPlaneSets() {
  for (qzQBVH::tSOASinglePlaneEqn* set : mSets) qzQBVH::DeleteSOAPlaneEquationSet(set);
}

qzOurs::qzOurs(const qzScene& scene, tBuilder builder) : mScene(scene), mBuilder(builder) {}

std::string qzOurs::getName() const {
  return mBuilder == eLinear ? "qzQBVH" : "qzQBVH surface-area";
}

double qzOurs::build(qzQBVH::tQBVHDataFlags flags) {
  release();
  expectDefaultFloatMode();
  mHierarchy = std::make_unique<tHierarchy>();
  const qzStopwatch watch;
  if (mBuilder == eLinear) {
    mHierarchy->buildFromMesh(flags, mScene.mMesh, 4);
  } else {
    const qzDefaultSAH cost;  // the builder's own default functor is never freed
    qzToolkit::qzSAHFeeder builder;
    builder.setMesh(mScene.mMesh);
    builder.setCost(cost);
    qzGenericBVH bvh;
    builder.build(bvh);
    mHierarchy->buildFromBVH(flags, bvh, mScene.mMesh);
  }
  return watch.getSeconds();
}

std::string qzOurs::tHierarchy::getCheck() const {
  qzFingerprint fingerprint;
  fingerprint.add(mNodes, mNoNodes * sizeof *mNodes);
  if (mTriangleVertices != nullptr) fingerprint.add(mTriangleVertices, mNoQuadruplets * sizeof *mTriangleVertices);
  if (mTriangleEquations != nullptr) fingerprint.add(mTriangleEquations, mNoQuadruplets * sizeof *mTriangleEquations);
  fingerprint.add(mTriangleIndices, mNoQuadruplets * sizeof *mTriangleIndices);
  return fingerprint.getText();
}

std::string qzOurs::getBuildCheck() const {
  return mHierarchy->getCheck();
}

double qzOurs::trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  trace(rays, answers, 0, answers.size());
  return watch.getSeconds();
}

double qzOurs::traceInTurns(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const {
  expectDefaultFloatMode();
  std::vector<qzToolkit::qzRay> ownRays;
  for (std::size_t i = 0; i < answers.size(); ++i) ownRays.push_back({rays[i].mOrigin, rays[i].mDirection});
  std::vector<qzToolkit::qzHit> hits(ownRays.size());
  const qzStopwatch watch;
  mHierarchy->castRays(ownRays.data(), ownRays.size(), qzQBVH::eIntersectBothFaces, hits.data());
  const double seconds = watch.getSeconds();
  for (std::size_t i = 0; i < answers.size(); ++i)
    answers[i] = {hits[i].mDistance, static_cast<unsigned>(hits[i].mTriangle)};
  return seconds;
}

void qzOurs::trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers, std::size_t begin,
                   std::size_t end) const {
  for (std::size_t i = begin; i < end; ++i) answers[i] = castBeyond(0.0f, rays[i]);
}

qzAnswer qzOurs::castBeyond(float tNear, const qzRay& ray) const {
  qzAnswer answer{std::numeric_limits<float>::infinity(), 0};
  Wm4::Vector2<float> barycentric;
  mHierarchy->intersectRay(ray.mOrigin, ray.mDirection, tNear, answer.mDistance, barycentric, answer.mTriangle,
                           qzQBVH::eIntersectBothFaces);
  return answer;
}

double qzOurs::intersect(const qzPlaneSets& regions, std::vector<char>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) answers[i] = mHierarchy->intersectConvexHull(regions[i], 6);
  return watch.getSeconds();
}

}  // namespace qzBench
