// Nearest hits of rays.

#include <algorithm>
#include <deque>
#include <thread>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

/// CGAL traces every 16th ray.
constexpr std::size_t kCgalStep = 16;

/// Seconds of a run of several threads.
struct tThreadSeconds {
  double mWall;     // wall time
  double mLongest;  // processor time of the thread that worked longest: equal to mWall on an idle machine
};

/// The threads take blocks of rays in turn, so that all get the same mix.
tThreadSeconds traceByThreads(const qzOurs& ours, const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers,
                              std::size_t nbThreads) {
  constexpr std::size_t kBlock = 4096;
  std::vector<double> shares(nbThreads);
  std::vector<std::thread> threads;
  const qzStopwatch watch(qzStopwatch::eWallTime);
  for (std::size_t i = 0; i < nbThreads; ++i)
    threads.emplace_back([&, i] {
      const qzStopwatch ownWatch(qzStopwatch::eThreadTime);
      for (std::size_t begin = i * kBlock; begin < rays.size(); begin += nbThreads * kBlock)
        ours.trace(rays, answers, begin, std::min(begin + kBlock, rays.size()));
      shares[i] = ownWatch.getSeconds();
    });
  for (std::thread& thread : threads) thread.join();
  return {watch.getSeconds(), *std::max_element(shares.begin(), shares.end())};
}

}  // namespace

void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::deque<qzEmbree> embrees = makeEmbrees(scene);
  for (qzEmbree& embree : embrees) embree.build();
  std::deque<qzCgal> cgals = makeCgals(scene);
  for (qzCgal& cgal : cgals) cgal.build();

  for (const qzRaySet& set : makeRaySets(scene, ours, settings.mRaySide)) {
    std::vector<qzAnswer> answers;
    std::deque<std::vector<qzAnswer>> peersAnswers;
    std::vector<qzContestant> contestants = {rayContest(ours, scene, set.mRays, answers, nullptr)};
    for (const qzEmbree& embree : embrees)
      contestants.push_back(rayContest(embree, scene, set.mRays, peersAnswers.emplace_back(), &answers));

    const std::vector<qzRay> someRays = someOf(set.mRays, kCgalStep);
    std::vector<qzAnswer> someAnswers(someRays.size());
    ours.trace(someRays, someAnswers);
    for (const qzCgal& cgal : cgals)
      contestants.push_back(rayContest(cgal, scene, someRays, peersAnswers.emplace_back(), &someAnswers));

    report.compare({set.mName, scene.mName, scene.getNbTriangles(), "ray", settings.mRounds, kRayAgreement},
                   contestants, [&] { return fingerprintOf(answers); });
  }
}

void measureThreads(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::vector<qzRay> rays;
  for (const qzRaySet& set : makeRaySets(scene, ours, settings.mRaySide))
    rays.insert(rays.end(), set.mRays.begin(), set.mRays.end());
  std::vector<qzAnswer> answersOfTwo(rays.size()), answersOfOne(rays.size());

  allowAllProcessors();
  const auto compare = [&](const char* name, double tThreadSeconds::*seconds) {
    report.compare(
        {name, scene.mName, scene.getNbTriangles(), "ray", settings.mRounds, 1.0},
        {{"two threads", double(rays.size()), [&] { return traceByThreads(ours, rays, answersOfTwo, 2).*seconds; }},
         {"one thread", double(rays.size()), [&] { return traceByThreads(ours, rays, answersOfOne, 1).*seconds; },
          [&] { return fingerprintOf(answersOfTwo) == fingerprintOf(answersOfOne) ? 1.0 : 0.0; }}},
        [&] { return fingerprintOf(answersOfTwo); });
  };
  compare("threads/wall", &tThreadSeconds::mWall);
  compare("threads/longest", &tThreadSeconds::mLongest);
  pinToOneProcessor();
}

}  // namespace qzBench
