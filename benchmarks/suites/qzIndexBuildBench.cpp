// MeshIndex: builds, their memory, and two threads.

#include <algorithm>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/peers/qzIndex.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>
#include <benchmarks/suites/qzMemoryCount.h>

namespace qzBench {

namespace {

using qzMeshQueries::Quality;

/// Hash of the hits of some chords: the same for all qualities and any number of threads.
std::string checkOf(const qzIndex& index, const qzScene& scene) {
  const qzIndex::tRays rays = indexRays(makeChords(scene, 4096));
  qzIndex::tHits hits(rays.size());
  index.traceBatch(rays, hits);
  return fingerprintOf(hits);
}

}  // namespace

void measureIndexBuild(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  const auto compare = [&](const std::string& name, Quality quality, RTCBuildQuality peerQuality,
                           qzOurs::tBuilder builder) {
    qzIndex index(scene, quality);
    qzOurs narrow(scene, builder);
    std::vector<qzContestant> contestants = {buildContest(index, scene)};
    std::deque<qzEmbree> embrees;
    for (const std::string& isa : wideInstructionSets())
      contestants.push_back(buildContest(embrees.emplace_back(scene, peerQuality, isa), scene));
    contestants.push_back(buildContest(narrow, scene));
    const std::vector<qzTiming> timings =
        report.compare({name, scene.mName, scene.getNbTriangles(), "triangle", settings.mRounds}, contestants, [&] {
          index.build();
          return checkOf(index, scene);
        });
    std::size_t best = 1;
    for (std::size_t i = 2; i <= embrees.size(); ++i)
      if (timings[i].getMedian() < timings[best].getMedian()) best = i;
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "to Embree", timesAsFast(timings[0], timings[best]),
                     "times as fast");
  };
  compare("index/build/fast", Quality::fast, RTC_BUILD_QUALITY_LOW, qzOurs::eLinear);
  compare("index/build/good", Quality::good, RTC_BUILD_QUALITY_MEDIUM, qzOurs::eSurfaceArea);
  constexpr int kMostTrianglesOfBest = 2000000;  // what a better build gains does not depend on the size
  if (scene.getNbTriangles() > kMostTrianglesOfBest) return;
  compare("index/build/best", Quality::best, RTC_BUILD_QUALITY_MEDIUM, qzOurs::eSurfaceArea);
}

void measureIndexMemory(const qzScene& scene, const qzSettings&, qzReport& report) {
  const auto add = [&](const std::string& name, double bytes) {
    report.addFigure("index/memory", scene.mName, scene.getNbTriangles(), name, bytes / double(scene.getNbTriangles()),
                     "bytes/triangle");
  };
  for (const Quality quality : {Quality::fast, Quality::good, Quality::best}) {
    qzIndex index(scene, quality);
    const qzMemoryCount count;
    index.build();
    add(index.getName(), double(count.getBytes()));
    add(index.getName() + " peak", double(count.getPeakBytes()));
    add(index.getName() + " own count", double(index.getIndex().memoryUsed()));
  }
  for (const RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM}) {
    qzEmbree embree(scene, quality, "");
    const qzMemoryCount count;
    embree.build();
    add(embree.getName(), double(count.getBytes()));
    add(embree.getName() + " peak", double(count.getPeakBytes()));
  }
}

void measureIndexThreads(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzIndex one(scene, Quality::good, 1), two(scene, Quality::good, 2);
  one.build();
  std::vector<qzRay> rays;
  {
    qzOurs linear(scene);
    linear.build();
    for (const qzRaySet& set : makeRaySets(scene, linear, settings.mRaySide))
      rays.insert(rays.end(), set.mRays.begin(), set.mRays.end());
  }
  const qzIndex::tRays ownRays = indexRays(rays);
  qzIndex::tHits hits(rays.size());
  std::vector<std::uint8_t> isHit(rays.size());

  // Work on threads in turn with the same on one. Both clocks are read in each run. The best rounds count: in the others
  // a thread had to wait for a processor while the other took over its work.
  const int rounds = std::max(5, settings.mRounds);
  const auto best = [](const qzTiming& timing) {
    return *std::min_element(timing.mSecondsPerItem.begin(), timing.mSecondsPerItem.end());
  };
  const auto compare = [&](const std::string& kind, const char* unit, double items, const auto& work,
                           const auto& check) {
    const std::string name = "index/threads/" + kind;
    std::vector<qzTiming> walls(2), longests(2);
    std::string checks[2];
    for (int round = 0; round < rounds; ++round)
      for (std::size_t i = 0; i < 2; ++i) {
        const qzThreadWatch watch;
        work(i == 0 ? 2 : 1);
        const double longest = watch.getLongestSeconds();
        walls[i].mSecondsPerItem.push_back(watch.getWallSeconds() / items);
        longests[i].mSecondsPerItem.push_back(longest / items);
        checks[i] = check();
      }
    const std::vector<qzContestant> contestants = {
        {"two threads", items, {}}, {"one thread", items, {}, [&] { return checks[0] == checks[1] ? 1.0 : 0.0; }}};
    const qzSubject subject = {name, scene.mName, scene.getNbTriangles(), unit, rounds, 1.0};
    report.add(subject, contestants, longests, [&] { return checks[0]; });
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "to one thread", best(longests[1]) / best(longests[0]),
                     "times as fast by processor time of the longest thread");
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "to one, wall", best(walls[1]) / best(walls[0]),
                     "times as fast by wall time");
  };
  allowAllProcessors();
  compare(
      "build", "triangle", scene.getNbTriangles(), [&](int threads) { (threads == 1 ? one : two).build(); },
      [&] { return checkOf(one, scene); });
  compare(
      "batch", "ray", double(rays.size()), [&](int threads) { one.traceBatch(ownRays, hits, threads); },
      [&] { return fingerprintOf(hits); });
  compare(
      "any", "ray", double(rays.size()), [&](int threads) { one.occludeBatch(ownRays, isHit, threads); },
      [&] { return fingerprintOf(std::vector<std::uint32_t>(isHit.begin(), isHit.end())); });
  pinToOneProcessor();
}

}  // namespace qzBench
