// Building a hierarchy over a mesh.

#include <deque>

#include "qzBenchmarks.h"
#include "qzEmbree.h"
#include "qzOurs.h"

namespace qzBench {

void measureBuild(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  const double nbTriangles = scene.getNbTriangles();
  qzOurs ours(scene);
  std::deque<qzEmbree> embrees;
  for (RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM})
    for (const char* isa : {"sse4.2", ""}) embrees.emplace_back(scene, quality, isa);

  std::vector<qzContestant> contestants;
  contestants.push_back({ours.getName(), nbTriangles, [&ours] {
                           const double seconds = ours.build();
                           ours.release();
                           return seconds;
                         }});
  for (qzEmbree& embree : embrees)
    contestants.push_back({embree.getName(), nbTriangles, [&embree] {
                             const double seconds = embree.build();
                             embree.release();
                             return seconds;
                           }});

  ours.build();
  const std::string check = ours.getBuildCheck();
  ours.release();
  const std::vector<qzTiming> timings = runInTurn(contestants, settings.mRounds);
  for (std::size_t i = 0; i < contestants.size(); ++i) {
    qzLine line{"build", scene.mName, scene.getNbTriangles(), contestants[i].mName, "triangle", timings[i]};
    if (i == 0)
      line.mCheck = check;
    else
      line.mTimesAsFast = timesAsFast(timings[0], timings[i]);
    report.add(line);
  }
}

}  // namespace qzBench
