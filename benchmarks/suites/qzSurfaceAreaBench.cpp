// The surface-area builder: cost of the build, and speed of rays.

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

void measureSurfaceArea(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene, qzOurs::eSurfaceArea), linear(scene);
  qzEmbree narrow(scene, RTC_BUILD_QUALITY_MEDIUM, "sse4.2"), wide(scene, RTC_BUILD_QUALITY_MEDIUM, "");

  report.compare(
      {"build/SAH", scene.mName, scene.getNbTriangles(), "triangle", settings.mRounds},
      {buildContest(ours, scene), buildContest(narrow, scene), buildContest(wide, scene), buildContest(linear, scene)},
      [&ours] {
        ours.build();
        return ours.getBuildCheck();
      });

  linear.build();
  narrow.build();
  wide.build();
  for (const qzRaySet& set : makeRaySets(scene, linear, settings.mRaySide)) {
    std::vector<qzAnswer> answers[4];
    report.compare({set.mName + "/SAH", scene.mName, scene.getNbTriangles(), "ray", settings.mRounds, kRayAgreement},
                   {rayContest(ours, scene, set.mRays, answers[0], nullptr),
                    rayContest(narrow, scene, set.mRays, answers[1], &answers[0]),
                    rayContest(wide, scene, set.mRays, answers[2], &answers[0]),
                    rayContest(linear, scene, set.mRays, answers[3], &answers[0])},
                   [&] { return fingerprintOf(answers[0]); });
  }
}

}  // namespace qzBench
