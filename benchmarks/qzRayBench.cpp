// The nearest hit of a ray.

#include <algorithm>
#include <deque>
#include <functional>
#include <thread>

#include "qzBenchmarks.h"
#include "qzCgal.h"
#include "qzEmbree.h"
#include "qzOurs.h"

namespace qzBench {

namespace {

/// Share of rays that must get the same answer from a peer. The rest passes within a rounding of an edge.
constexpr double kAgreement = 0.999;

/// CGAL is given every so manieth ray, and only of scenes up to a size.
constexpr std::size_t kStepOfCgal = 16;
constexpr int kMostTrianglesOfCgal = 2000000;

struct tRaySet {
  const char* mName;
  std::vector<qzRay> mRays;
};

std::vector<tRaySet> makeRaySets(const qzScene& scene, const qzOurs& ours, int side) {
  std::vector<qzRay> camera = makeCameraRays(scene, side);
  std::vector<qzAnswer> answers(camera.size());
  ours.trace(camera, answers);
  std::vector<qzRay> bounces = makeBounces(scene, camera, answers);
  return {{"ray/camera", std::move(camera)},
          {"ray/bounce", std::move(bounces)},
          {"ray/chord", makeChords(scene, side * side)}};
}

}  // namespace

void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::deque<qzEmbree> embrees;
  for (RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM})
    for (const char* isa : {"sse4.2", ""}) embrees.emplace_back(scene, quality, isa).build();
  std::deque<qzCgal> cgals;
  if (scene.getNbTriangles() <= kMostTrianglesOfCgal) cgals.emplace_back(scene).build();

  for (const tRaySet& set : makeRaySets(scene, ours, settings.mRaySide)) {
    const std::vector<qzRay>& rays = set.mRays;
    std::vector<qzAnswer> answers(rays.size());
    std::vector<qzContestant> contestants = {
        {ours.getName(), double(rays.size()), [&] { return ours.trace(rays, answers); }}};

    std::deque<std::vector<qzAnswer>> peersAnswers;
    for (const qzEmbree& embree : embrees) {
      std::vector<qzAnswer>& own = peersAnswers.emplace_back(rays.size());
      contestants.push_back({embree.getName(), double(rays.size()), [&] { return embree.trace(rays, own); },
                             [&] { return agreement(scene, answers, own); }});
    }
    const std::vector<qzRay> someRays = everyOne(rays, kStepOfCgal);
    for (const qzCgal& cgal : cgals) {
      std::vector<qzAnswer>& own = peersAnswers.emplace_back(someRays.size());
      contestants.push_back({cgal.getName(), double(someRays.size()), [&] { return cgal.trace(someRays, own); },
                             [&] { return agreement(scene, everyOne(answers, kStepOfCgal), own); }});
    }
    report.compare({set.mName, scene.mName, scene.getNbTriangles(), "ray", settings.mRounds, kAgreement}, contestants,
                   [&] { return getCheck(answers); });
  }
}

void measureThreads(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build();
  std::vector<qzRay> rays;
  for (const tRaySet& set : makeRaySets(scene, ours, settings.mRaySide))
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
