// The nearest hit of a ray.

#include <algorithm>
#include <deque>
#include <functional>
#include <thread>

#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

/// CGAL is given one ray out of so many.
constexpr std::size_t kStepOfCgal = 16;

}  // namespace

void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::deque<qzEmbree> embrees;
  for (RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM})
    for (const char* isa : {"sse4.2", ""}) embrees.emplace_back(scene, quality, isa).build();
  std::deque<qzCgal> cgals;
  if (scene.getNbTriangles() <= kMostTrianglesOfCgal) cgals.emplace_back(scene).build();

  for (const qzRaySet& set : makeRaySets(scene, ours, settings.mRaySide)) {
    std::vector<qzAnswer> answers;
    std::deque<std::vector<qzAnswer>> peersAnswers;
    std::vector<qzContestant> contestants = {rayContest(ours, scene, set.mRays, answers, nullptr)};
    for (const qzEmbree& embree : embrees)
      contestants.push_back(rayContest(embree, scene, set.mRays, peersAnswers.emplace_back(), &answers));

    const std::vector<qzRay> someRays = someOf(set.mRays, kStepOfCgal);
    std::vector<qzAnswer> someAnswers(someRays.size());
    ours.trace(someRays, someAnswers);
    for (const qzCgal& cgal : cgals)
      contestants.push_back(rayContest(cgal, scene, someRays, peersAnswers.emplace_back(), &someAnswers));

    report.compare({set.mName, scene.mName, scene.getNbTriangles(), "ray", settings.mRounds, kRayAgreement},
                   contestants, [&] { return getCheck(answers); });
  }
}

void measureThreads(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::vector<qzRay> rays;
  for (const qzRaySet& set : makeRaySets(scene, ours, settings.mRaySide))
    rays.insert(rays.end(), set.mRays.begin(), set.mRays.end());
  std::vector<qzAnswer> twosAnswers(rays.size()), onesAnswers(rays.size());

  // Blocks of rays in turn, so that both threads get the same mix.
  const auto traceShare = [&](std::vector<qzAnswer>& answers, std::size_t share, std::size_t shares) {
    constexpr std::size_t kBlock = 4096;
    for (std::size_t begin = share * kBlock; begin < rays.size(); begin += shares * kBlock)
      ours.trace(rays, answers, begin, std::min(begin + kBlock, rays.size()));
  };
  // Seconds on the wall, and processor seconds of the thread that worked longest: the same on an idle machine.
  double longestShare = 0.0;
  const auto traceByThreads = [&](std::vector<qzAnswer>& answers, std::size_t count) {
    std::vector<double> shares(count);
    std::vector<std::thread> threads;
    const qzStopwatch watch(qzStopwatch::eWallTime);
    for (std::size_t i = 0; i < count; ++i)
      threads.emplace_back([&, i] {
        const qzStopwatch ownWatch(qzStopwatch::eThreadTime);
        traceShare(answers, i, count);
        shares[i] = ownWatch.getSeconds();
      });
    for (std::thread& thread : threads) thread.join();
    const double seconds = watch.getSeconds();
    longestShare = *std::max_element(shares.begin(), shares.end());
    return seconds;
  };

  allowAllProcessors();
  const auto compare = [&](const char* name, const std::function<double(std::vector<qzAnswer>&, std::size_t)>& trace) {
    report.compare({name, scene.mName, scene.getNbTriangles(), "ray", settings.mRounds, 1.0},
                   {{"two threads", double(rays.size()), [&] { return trace(twosAnswers, 2); }},
                    {"one thread", double(rays.size()), [&] { return trace(onesAnswers, 1); },
                     [&] { return getCheck(twosAnswers) == getCheck(onesAnswers) ? 1.0 : 0.0; }}},
                   [&] { return getCheck(twosAnswers); });
  };
  compare("threads/wall", traceByThreads);
  compare("threads/longest", [&](std::vector<qzAnswer>& answers, std::size_t count) {
    traceByThreads(answers, count);
    return longestShare;
  });
  pinToOneProcessor();
}

}  // namespace qzBench
