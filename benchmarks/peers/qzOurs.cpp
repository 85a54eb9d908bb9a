#include <benchmarks/peers/qzOurs.h>

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <xmmintrin.h>

#include <limits>
#include <stdexcept>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

void expectDefaultFloatMode() {
  if ((_mm_getcsr() & ~0x3Fu) != 0x1F80u) throw std::logic_error("a peer left the floating-point mode changed");
}

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

namespace {

/// The surface-area builder, filled with the boxes of a mesh's triangles.
class tSurfaceAreaBuilder : public qzGenericBVHBuilder {
 public:
  explicit tSurfaceAreaBuilder(const qz::qzTriMesh& mesh) {
    const qzBVHTriangleContainer triangles(mesh);
    resizeItems(static_cast<int>(triangles.getQuantity()));
    for (unsigned i = 0; i < triangles.getQuantity(); ++i) {
      mItemBBoxes[i] = *triangles.getBBox(i);
      mItemIndices[i] = i;
      mSceneBBox.selfUnion(mItemBBoxes[i]);
    }
    setSAH(&mCost);  // the one that a builder makes for itself is never freed
  }

 private:
  qzDefaultSAH mCost;
};

}  // namespace

double qzOurs::build(qzQBVH::tQBVHDataFlags flags) {
  release();
  expectDefaultFloatMode();
  mHierarchy = std::make_unique<tHierarchy>();
  const qzStopwatch watch;
  if (mBuilder == eLinear) {
    mHierarchy->buildFromMesh(flags, mScene.mMesh, 4);
  } else {
    qzGenericBVH bvh;
    tSurfaceAreaBuilder(mScene.mMesh).build(bvh);
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

void qzOurs::trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers, std::size_t begin,
                   std::size_t end) const {
  Wm4::Vector2<float> barycentric;
  for (std::size_t i = begin; i < end; ++i) {
    qzAnswer& answer = answers[i];
    answer.mDistance = std::numeric_limits<float>::infinity();
    mHierarchy->intersectRay(rays[i].mOrigin, rays[i].mDirection, 0.0f, answer.mDistance, barycentric, answer.mTriangle,
                             qzQBVH::eIntersectBothFaces);
  }
}

double qzOurs::ask(const qzPlaneSets& regions, std::vector<char>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) answers[i] = mHierarchy->intersectConvexHull(regions[i], 6);
  return watch.getSeconds();
}

std::string getCheck(const std::vector<qzAnswer>& answers) {
  qzFingerprint fingerprint;
  fingerprint.add(answers.data(), answers.size() * sizeof answers[0]);
  return fingerprint.getText();
}

std::string getCheck(const std::vector<char>& answers) {
  const std::vector<int> words(answers.begin(), answers.end());
  qzFingerprint fingerprint;
  fingerprint.add(words.data(), words.size() * sizeof words[0]);
  return fingerprint.getText();
}

}  // namespace qzBench
