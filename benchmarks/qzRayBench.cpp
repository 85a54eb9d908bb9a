// The nearest hit of a ray.

#include <deque>

#include "qzBenchmarks.h"
#include "qzEmbree.h"
#include "qzOurs.h"

namespace qzBench {

namespace {

/// Share of rays that must get the same answer from a peer. The rest passes within a rounding of an edge.
constexpr double kAgreement = 0.999;

}  // namespace

void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::deque<qzEmbree> embrees;
  embrees.emplace_back(scene, RTC_BUILD_QUALITY_LOW, "sse4.2");
  embrees.emplace_back(scene, RTC_BUILD_QUALITY_LOW, "");
  embrees.emplace_back(scene, RTC_BUILD_QUALITY_MEDIUM, "sse4.2");
  embrees.emplace_back(scene, RTC_BUILD_QUALITY_MEDIUM, "");
  for (qzEmbree& embree : embrees) embree.build();

  const std::vector<qzRay> camera = makeCameraRays(scene, settings.mRaySide);
  std::vector<qzAnswer> cameraAnswers(camera.size());
  ours.trace(camera, cameraAnswers);
  const std::pair<const char*, std::vector<qzRay>> sets[] = {
      {"ray/camera", camera},
      {"ray/bounce", makeBounces(scene, camera, cameraAnswers)},
      {"ray/chord", makeChords(scene, settings.mRaySide * settings.mRaySide)}};

  for (const auto& [name, rays] : sets) {
    std::vector<std::vector<qzAnswer>> answers(1 + embrees.size(), std::vector<qzAnswer>(rays.size()));
    std::vector<qzContestant> contestants;
    contestants.push_back(
        {ours.getName(), double(rays.size()), [&, &rays = rays] { return ours.trace(rays, answers[0]); }});
    for (std::size_t i = 0; i < embrees.size(); ++i)
      contestants.push_back({embrees[i].getName(), double(rays.size()),
                             [&, i, &rays = rays] { return embrees[i].trace(rays, answers[1 + i]); }});

    const std::vector<qzTiming> timings = runInTurn(contestants, settings.mRounds);
    for (std::size_t i = 0; i < contestants.size(); ++i) {
      qzLine line{name, scene.mName, scene.getNbTriangles(), contestants[i].mName, "ray", timings[i]};
      if (i == 0) {
        line.mCheck = getCheck(answers[0]);
      } else {
        line.mTimesAsFast = timesAsFast(timings[0], timings[i]);
        line.mAgreement = agreement(answers[0], answers[i]);
        line.mAgreementExpected = kAgreement;
      }
      report.add(line);
    }
  }
}

}  // namespace qzBench
