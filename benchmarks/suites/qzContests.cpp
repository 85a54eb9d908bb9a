#include <benchmarks/suites/qzContests.h>

namespace qzBench {

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
