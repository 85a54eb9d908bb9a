// Intersection of a mesh with convex regions of six planes.

#include <algorithm>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/peers/qzBullet.h>
#include <benchmarks/peers/qzFcl.h>
#include <benchmarks/peers/qzOurs.h>
#include <benchmarks/suites/qzBenchmarks.h>

namespace qzBench {

namespace {

/// Least share of regions with the same answer from a peer. Peers represent a region by its corners and iterate up to a
/// tolerance, so a region that the mesh barely touches may get either answer.
constexpr double kAgreement = 0.99;

/// Runs the query of one contestant on as many regions as fit the time of a run, from 4 to all.
class tQuery {
 public:
  tQuery(std::string name, std::function<double(std::vector<char>&)> run, std::size_t nbRegions, double secondsPerRun)
      : mName(std::move(name)), mRun(std::move(run)) {
    std::size_t count = 4;
    for (;;) {
      mAnswers.resize(count);
      const double seconds = mRun(mAnswers);
      if (count >= nbRegions || seconds > 0.5 * secondsPerRun) break;
      const double fitting = double(count) * secondsPerRun / std::max(seconds, 1e-6);
      count = static_cast<std::size_t>(std::min({fitting, 8.0 * double(count), double(nbRegions)}));
    }
  }

  qzContestant contest(const std::vector<char>* expected) {
    qzContestant contestant{mName, double(mAnswers.size()), [this] { return mRun(mAnswers); }};
    if (expected != nullptr)
      contestant.mAgreement = [this, expected] {
        const std::size_t count = std::min(mAnswers.size(), expected->size());
        std::size_t same = 0;
        for (std::size_t i = 0; i < count; ++i) same += mAnswers[i] == (*expected)[i];
        return double(same) / double(count);
      };
    return contestant;
  }

  const std::vector<char>& getAnswers() const { return mAnswers; }

 private:
  std::string mName;
  std::function<double(std::vector<char>&)> mRun;
  std::vector<char> mAnswers;
};

}  // namespace

void measureHulls(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  ours.build(qzQBVH::eTrianglesVertices);
  const std::pair<const char*, std::vector<qzRegion>> sets[] = {
      {"hull/0.2% surface", makeBoxes(scene, 0.002f, true, settings.mMostRegions)},
      {"hull/1% anywhere", makeBoxes(scene, 0.01f, false, settings.mMostRegions)},
      {"hull/10% anywhere", makeBoxes(scene, 0.1f, false, settings.mMostRegions)},
      {"hull/frusta", makeFrusta(scene, settings.mMostRegions)}};
  for (const auto& [name, regions] : sets) {
    const qzPlaneSets planes(regions);
    const qzBullet bullet(scene, regions);
    const qzFcl fcl(scene, regions);
    const double time = settings.mSecondsPerRun;
    tQuery oursQuery(
        ours.getName(), [&](std::vector<char>& answers) { return ours.intersect(planes, answers); }, regions.size(),
        time);
    tQuery peers[] = {
        {"Bullet by contacts", [&](std::vector<char>& answers) { return bullet.intersectByContacts(answers); },
         regions.size(), time},
        {"Bullet by triangles", [&](std::vector<char>& answers) { return bullet.intersectByTriangles(answers); },
         regions.size(), time},
        {fcl.getName(), [&](std::vector<char>& answers) { return fcl.intersect(answers); }, regions.size(), time}};

    const std::vector<char>& answers = oursQuery.getAnswers();
    std::vector<qzContestant> contestants = {oursQuery.contest(nullptr)};
    for (tQuery& peer : peers) contestants.push_back(peer.contest(&answers));
    const std::vector<qzTiming> timings =
        report.compare({name, scene.mName, scene.getNbTriangles(), "region", settings.mRounds, kAgreement}, contestants,
                       [&] { return fingerprintOf(std::vector<int>(answers.begin(), answers.end())); });

    double least = timesAsFast(timings[0], timings[1]);
    for (std::size_t i = 2; i < timings.size(); ++i) least = std::min(least, timesAsFast(timings[0], timings[i]));
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "regions hit",
                     100.0 * double(std::count(answers.begin(), answers.end(), char(1))) / double(answers.size()), "%");
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "against best peer", least, "times as fast");
  }
}

}  // namespace qzBench
