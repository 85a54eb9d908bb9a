#include <benchmarks/peers/qzIndex.h>

#include <limits>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

qzMeshQueries::Ray indexRay(const qzRay& ray) {
  qzMeshQueries::Ray result;
  for (int axis = 0; axis < 3; ++axis) {
    result.origin[axis] = ray.mOrigin[axis];
    result.direction[axis] = ray.mDirection[axis];
  }
  return result;
}

std::vector<qzMeshQueries::Ray> indexRays(const std::vector<qzRay>& rays) {
  std::vector<qzMeshQueries::Ray> result;
  for (const qzRay& ray : rays) result.push_back(indexRay(ray));
  return result;
}

std::vector<qzAnswer> answersOf(const std::vector<qzMeshQueries::Hit>& hits) {
  std::vector<qzAnswer> answers;
  for (const qzMeshQueries::Hit& hit : hits) answers.push_back({hit.t, hit.triangle});
  return answers;
}

std::vector<qzNearest> answersOf(const std::vector<qzMeshQueries::Nearest>& nearest) {
  std::vector<qzNearest> answers;
  for (const qzMeshQueries::Nearest& one : nearest) answers.push_back({one.distance, one.triangle});
  return answers;
}

qzIndex::qzIndex(const qzScene& scene, qzMeshQueries::Quality quality, int threads) : mScene(scene) {
  mOptions.quality = quality;
  mOptions.threads = threads;
}

std::string qzIndex::getName() const {
  using qzMeshQueries::Quality;
  return mOptions.quality == Quality::fast   ? "MeshIndex fast"
         : mOptions.quality == Quality::good ? "MeshIndex good"
                                             : "MeshIndex best";
}

double qzIndex::build() {
  release();
  expectDefaultFloatMode();
  qzMeshQueries::Mesh mesh;
  static_assert(sizeof mScene.mPositions[0] == 12, "three floats and nothing else");
  mesh.vertices = reinterpret_cast<const float*>(mScene.mPositions.data());
  mesh.vertexCount = static_cast<std::size_t>(mScene.getNbVertices());
  mesh.triangles = reinterpret_cast<const std::uint32_t*>(mScene.getIndices());  // of the same representation
  mesh.triangleCount = static_cast<std::size_t>(mScene.getNbTriangles());
  const qzStopwatch watch;
  mIndex = std::make_unique<qzMeshQueries::MeshIndex>(mesh, mOptions);
  return watch.getSeconds();
}

double qzIndex::traceEach(const tRays& rays, tHits& hits) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < hits.size(); ++i) hits[i] = mIndex->closestHit(rays[i]);
  return watch.getSeconds();
}

double qzIndex::traceBatch(const tRays& rays, tHits& hits, int threads) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  mIndex->closestHits(rays.data(), hits.size(), hits.data(), {}, threads);
  return watch.getSeconds();
}

double qzIndex::occludeEach(const tRays& rays, std::vector<std::uint8_t>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) answers[i] = mIndex->anyHit(rays[i]);
  return watch.getSeconds();
}

double qzIndex::occludeBatch(const tRays& rays, std::vector<std::uint8_t>& answers, int threads) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  mIndex->anyHits(rays.data(), answers.size(), answers.data(), {}, threads);
  return watch.getSeconds();
}

double qzIndex::findNearestEach(const std::vector<qzPlace>& places,
                                std::vector<qzMeshQueries::Nearest>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) answers[i] = mIndex->nearest(places[i].data());
  return watch.getSeconds();
}

double qzIndex::findNearestBatch(const std::vector<qzPlace>& places, std::vector<qzMeshQueries::Nearest>& answers,
                                 int threads) const {
  expectDefaultFloatMode();
  static_assert(sizeof(qzPlace) == 12, "three floats and nothing else");
  const qzStopwatch watch;
  mIndex->nearests(reinterpret_cast<const float(*)[3]>(places.data()), answers.size(), answers.data(),
                   std::numeric_limits<float>::infinity(), threads);
  return watch.getSeconds();
}

double qzIndex::countInBoxes(const std::vector<qzAxisBox>& boxes, std::vector<unsigned>& counts) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  std::vector<std::uint32_t> numbers;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    mIndex->trianglesInBox(boxes[i].mMin.data(), boxes[i].mMax.data(), numbers);
    counts[i] = static_cast<unsigned>(numbers.size());
  }
  return watch.getSeconds();
}

double qzIndex::findContained(const std::vector<qzPlace>& places, std::vector<std::uint32_t>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) answers[i] = mIndex->contains(places[i].data()) ? 1 : 0;
  return watch.getSeconds();
}

double qzIndex::findWindingsEach(const std::vector<qzPlace>& places, std::vector<double>& answers) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) answers[i] = mIndex->windingNumber(places[i].data());
  return watch.getSeconds();
}

double qzIndex::findWindings(const std::vector<qzPlace>& places, std::vector<double>& answers, int threads) const {
  expectDefaultFloatMode();
  const qzStopwatch watch;
  mIndex->windingNumbers(reinterpret_cast<const float(*)[3]>(places.data()), answers.size(), answers.data(), threads);
  return watch.getSeconds();
}

}  // namespace qzBench
