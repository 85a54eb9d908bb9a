#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

/// Larger scenes take CGAL too long and show nothing new.
constexpr int kMostTrianglesOfCgal = 2000000;

}  // namespace

std::deque<qzEmbree> makeEmbrees(const qzScene& scene) {
  std::deque<qzEmbree> embrees;
  for (RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM})
    for (const char* isa : {"sse4.2", ""}) embrees.emplace_back(scene, quality, isa);
  return embrees;
}

std::vector<std::string> wideInstructionSets() {
  std::vector<std::string> sets = {"avx2"};
  if (__builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq")) sets.emplace_back("avx512");
  return sets;
}

std::deque<qzCgal> makeCgals(const qzScene& scene) {
  std::deque<qzCgal> cgals;
  if (scene.getNbTriangles() <= kMostTrianglesOfCgal) cgals.emplace_back(scene);
  return cgals;
}

std::vector<qzRaySet> makeRaySets(const qzScene& scene, const qzOurs& linear, int side) {
  std::vector<qzRay> camera = makeCameraRays(scene, side);
  std::vector<qzAnswer> answers(camera.size());
  linear.trace(camera, answers);
  std::vector<qzRay> bounces = makeBounces(scene, camera, answers);
  return {{"ray/camera", std::move(camera)},
          {"ray/bounce", std::move(bounces)},
          {"ray/chord", makeChords(scene, side * side)}};
}

}  // namespace qzBench
