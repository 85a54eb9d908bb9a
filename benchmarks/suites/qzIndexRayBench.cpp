// MeshIndex: closest hits and any hit of rays.

#include <qzMeshQueries/walk/Walks.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <utility>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/peers/qzEmbreeModes.h>
#include <benchmarks/peers/qzIndex.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

using tNames = std::vector<std::string>;

/// Uses an instruction set of MeshIndex while it lives; a name that the processor cannot run changes nothing.
class tInstructionSet {
 public:
  explicit tInstructionSet(const std::string& name) { qzMeshQueries::detail::useInstructionSet(name); }
  ~tInstructionSet() { qzMeshQueries::detail::useInstructionSet(qzMeshQueries::detail::instructionSets().front()); }
  tInstructionSet(const tInstructionSet&) = delete;
  tInstructionSet& operator=(const tInstructionSet&) = delete;
};

/// MeshIndex's names of the instruction sets with lanes that this processor can run, the best one first; at most so many.
tNames instructionSets(std::size_t most) {
  tNames names = qzMeshQueries::detail::instructionSets();
  names.erase(std::remove(names.begin(), names.end(), "plain"), names.end());
  names.resize(std::min(names.size(), most));
  return names;
}

/// What is measured on one scene.
struct tSetup {
  const qzScene& mScene;
  qzIndex mIndex;
  qzOurs mNarrow;
  std::deque<qzEmbree> mEmbrees, mRobusts;  // one per instruction set

  explicit tSetup(const qzScene& scene) : mScene(scene), mIndex(scene), mNarrow(scene, qzOurs::eSurfaceArea) {
    mIndex.build();
    mNarrow.build();
    for (const std::string& isa : wideInstructionSets()) {
      mEmbrees.emplace_back(scene, RTC_BUILD_QUALITY_MEDIUM, isa).build();
      mRobusts.emplace_back(scene, RTC_BUILD_QUALITY_MEDIUM, isa, RTC_SCENE_FLAG_ROBUST).build();
    }
  }
};

/// The place of the smallest median from begin up to end.
std::size_t fastestOf(const std::vector<qzTiming>& timings, std::size_t begin, std::size_t end) {
  const auto first = timings.begin() + static_cast<std::ptrdiff_t>(begin);
  const auto last = timings.begin() + static_cast<std::ptrdiff_t>(end);
  const auto isFaster = [](const qzTiming& a, const qzTiming& b) { return a.getMedian() < b.getMedian(); };
  return static_cast<std::size_t>(std::min_element(first, last, isFaster) - timings.begin());
}

/// The fastest peers of one run: at most five, within a third of the first.
std::vector<qzContestant> leadersOf(const std::vector<qzContestant>& peers) {
  constexpr std::size_t kMost = 5;
  const std::vector<qzTiming> trial = runInTurn(peers, 1);
  std::vector<std::pair<double, std::size_t>> order;
  for (std::size_t i = 0; i < peers.size(); ++i) order.emplace_back(trial[i].getMedian(), i);
  std::sort(order.begin(), order.end());
  std::vector<qzContestant> leaders;
  for (const auto& [seconds, i] : order)
    if (leaders.size() < kMost && seconds <= 1.33 * order.front().first) leaders.push_back(peers[i]);
  return leaders;
}

/// Contestants of MeshIndex, one per instruction set, the best one first and under the index's own name. run gives the
/// seconds of a run, check the hash of its answers, which must be the same for all.
template <class Run, class Check>
std::vector<qzContestant> bySets(const qzIndex& index, std::size_t nbRays, const tNames& sets, const Run& run,
                                 const Check& check) {
  std::vector<qzContestant> contestants;
  for (const std::string& set : sets) {
    const auto runWithSet = [&run, set] {
      const tInstructionSet use(set);
      return run();
    };
    contestants.push_back(
        {index.getName() + (contestants.empty() ? "" : " " + set), double(nbRays), runWithSet, [&check, runWithSet] {
           const std::string before = check();
           runWithSet();
           return check() == before ? 1.0 : 0.0;
         }});
  }
  contestants[0].mAgreement = nullptr;  // its hash is reported instead
  return contestants;
}

/// How many times as fast own is as the fastest of the timings from begin up to end.
double timesAsFastAsAll(const std::vector<qzTiming>& timings, std::size_t own, std::size_t begin, std::size_t end) {
  return timesAsFast(timings[own], timings[fastestOf(timings, begin, end)]);
}

class tMeasurement {
 public:
  tMeasurement(const tSetup& setup, const qzSettings& settings, const qzRaySet& set, qzReport& report)
      : mSetup(setup),
        mRounds(settings.mRounds),
        mRays(set.mRays),
        mKind(set.mName.substr(set.mName.find('/') + 1)),
        mOwnRays(indexRays(set.mRays)),
        mReport(report),
        mHits(mRays.size()),
        mAnswers(mRays.size()),
        mIsHit(mRays.size()),
        mIsOccluded(mRays.size()) {}

  /// Closest hits one by one, against Embree's single rays, with its robust flag and without.
  void compareEach() {
    const tNames sets = instructionSets(3);
    const auto run = [this] { return mSetup.mIndex.traceEach(mOwnRays, mHits); };
    const auto check = [this] { return fingerprintOf(mHits); };
    std::vector<qzContestant> contestants = bySets(mSetup.mIndex, mRays.size(), sets, run, check);
    const std::size_t begin = contestants.size(), nbEmbrees = mSetup.mEmbrees.size();
    for (const qzEmbree& embree : mSetup.mEmbrees) contestants.push_back(traceContest(embree, {1, false, false}));
    for (const qzEmbree& embree : mSetup.mRobusts) contestants.push_back(traceContest(embree, {1, false, false}));
    contestants.push_back({mSetup.mNarrow.getName(), double(mRays.size()),
                           [this] { return mSetup.mNarrow.trace(mRays, mAnswers); },
                           [this] {
                             mSetup.mNarrow.trace(mRays, mAnswers);
                             return getAgreement();
                           }});
    const std::string name = "index/each/" + mKind;
    const std::vector<qzTiming> timings = mReport.compare(getSubject(name), contestants, check);
    for (std::size_t own = 0; own < sets.size(); ++own)
      addRatio(name, sets[own] + " to Embree", timesAsFastAsAll(timings, own, begin, begin + nbEmbrees));
    addRatio(name, "qzQBVH to Embree", timesAsFastAsAll(timings, contestants.size() - 1, begin, begin + nbEmbrees));
    addRatio(name, "to robust", timesAsFastAsAll(timings, 0, begin + nbEmbrees, begin + 2 * nbEmbrees));
  }

  /// Batches of closest hits, against the fastest mode of Embree and against qzQBVH in turns.
  void compareBatches() {
    std::vector<qzContestant> modes;
    for (const qzEmbree& embree : mSetup.mEmbrees)
      for (const qzEmbreeMode& mode : embreeModes()) modes.push_back(traceContest(embree, mode));
    const qzContestant inTurns = {mSetup.mNarrow.getName() + ", turns", double(mRays.size()),
                                  [this] { return mSetup.mNarrow.traceInTurns(mRays, mAnswers); },
                                  [this] {
                                    mSetup.mNarrow.traceInTurns(mRays, mAnswers);
                                    return getAgreement();
                                  }};
    compareWithModes(
        "index/batch/", modes, {inTurns}, [this] { return mSetup.mIndex.traceBatch(mOwnRays, mHits); },
        [this] { return fingerprintOf(mHits); });
  }

  /// Batches of any hit, against the fastest mode of Embree.
  void compareAnyHits() {
    std::vector<qzContestant> modes;
    for (const qzEmbree& embree : mSetup.mEmbrees)
      for (const qzEmbreeMode& mode : embreeModes()) modes.push_back(occludeContest(embree, mode));
    compareWithModes(
        "index/any/", modes, {}, [this] { return mSetup.mIndex.occludeBatch(mOwnRays, mIsHit); },
        [this] { return fingerprintOf(std::vector<std::uint32_t>(mIsHit.begin(), mIsHit.end())); });
  }

 private:
  /// Reports MeshIndex, the fastest of the modes, and the others.
  template <class Run, class Check>
  void compareWithModes(const std::string& prefix, const std::vector<qzContestant>& modes,
                        const std::vector<qzContestant>& others, const Run& run, const Check& check) {
    const tNames sets = instructionSets(2);
    std::vector<qzContestant> contestants = bySets(mSetup.mIndex, mRays.size(), sets, run, check);
    const std::size_t begin = contestants.size();
    contestants.insert(contestants.end(), others.begin(), others.end());
    const std::size_t beginOfModes = contestants.size();
    for (const qzContestant& mode : leadersOf(modes)) contestants.push_back(mode);
    std::vector<qzTiming> timings = runInTurn(contestants, mRounds);

    // The fastest mode takes its place behind MeshIndex.
    const std::size_t best = fastestOf(timings, beginOfModes, contestants.size());
    qzContestant fastest = contestants[best];
    fastest.mDetail = fastest.mName;
    fastest.mName = "Embree's best mode";
    const qzTiming fastestTiming = timings[best];
    contestants.resize(beginOfModes);
    timings.resize(beginOfModes);
    const auto place = static_cast<std::ptrdiff_t>(begin);
    contestants.insert(contestants.begin() + place, fastest);
    timings.insert(timings.begin() + place, fastestTiming);

    const std::string name = prefix + mKind;
    mReport.add(getSubject(name), contestants, timings, check);
    for (std::size_t own = 0; own < sets.size(); ++own)
      addRatio(name, sets[own] + " to Embree", timesAsFast(timings[own], fastestTiming));
    if (!others.empty()) addRatio(name, "qzQBVH to Embree", timesAsFast(timings.back(), fastestTiming));
  }

  qzContestant traceContest(const qzEmbree& embree, const qzEmbreeMode& mode) {
    const auto run = [this, &embree, mode] { return traceMany(embree, mode, mRays, mAnswers); };
    return {nameOf(embree, mode), double(mRays.size()), run, [this, run] {
              run();
              return getAgreement();
            }};
  }

  qzContestant occludeContest(const qzEmbree& embree, const qzEmbreeMode& mode) {
    const auto run = [this, &embree, mode] { return occludeMany(embree, mode, mRays, mIsOccluded); };
    return {nameOf(embree, mode), double(mRays.size()), run, [this, run] {
              run();
              std::size_t same = 0;
              for (std::size_t i = 0; i < mRays.size(); ++i) same += (mIsHit[i] != 0) == (mIsOccluded[i] != 0) ? 1 : 0;
              return double(same) / double(mRays.size());
            }};
  }

  static std::string nameOf(const qzEmbree& embree, const qzEmbreeMode& mode) {
    return embree.getName() + (mode.getName() == "single" ? "" : ", " + mode.getName());
  }

  qzSubject getSubject(const std::string& benchmark) const {
    return {benchmark, mSetup.mScene.mName, mSetup.mScene.getNbTriangles(), "ray", mRounds, kRayAgreement};
  }
  void addRatio(const std::string& benchmark, const std::string& name, double ratio) {
    mReport.addFigure(benchmark, mSetup.mScene.mName, mSetup.mScene.getNbTriangles(), name, ratio, "times as fast");
  }

  double getAgreement() const { return agreement(mSetup.mScene, answersOf(mHits), mAnswers); }

  const tSetup& mSetup;
  int mRounds;
  const std::vector<qzRay>& mRays;
  std::string mKind;
  qzIndex::tRays mOwnRays;
  qzReport& mReport;
  qzIndex::tHits mHits;
  std::vector<qzAnswer> mAnswers;  // of the peer that ran last
  std::vector<std::uint8_t> mIsHit;
  std::vector<char> mIsOccluded;  // by the peer that ran last
};

}  // namespace

void measureIndexRays(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  std::vector<qzRaySet> sets;
  {
    qzOurs linear(scene);
    linear.build();
    sets = makeRaySets(scene, linear, settings.mRaySide);
  }
  const tSetup setup(scene);
  for (const qzRaySet& set : sets) {
    tMeasurement measurement(setup, settings, set, report);
    measurement.compareEach();
    measurement.compareBatches();
    measurement.compareAnyHits();
  }
}

void measureIndexGrowth(const qzSettings& settings, qzReport& report) {
  constexpr std::size_t kOwn = 0, kNarrow = 1, kPeers = 2;  // places of the contestants
  std::vector<std::vector<double>> medians;                 // by terrain and contestant
  std::string name;
  long long size = 0;
  for (const char* const terrain : {"terrain10k", "terrain100k", "terrain1M", "terrain10M"}) {
    if (name == settings.mLargestTerrain) break;
    name = terrain;
    const qzScene scene = makeScene(name, "");
    size = scene.getNbTriangles();
    const std::vector<qzRay> rays = makeChords(scene, settings.mRaySide * settings.mRaySide);
    const qzIndex::tRays ownRays = indexRays(rays);
    qzIndex::tHits hits(rays.size());
    std::vector<qzAnswer> answers(rays.size());
    qzIndex index(scene);
    qzOurs narrow(scene, qzOurs::eSurfaceArea);
    index.build();
    narrow.build();
    std::vector<qzContestant> contestants = {
        {index.getName(), double(rays.size()), [&] { return index.traceEach(ownRays, hits); }},
        {narrow.getName(), double(rays.size()), [&] { return narrow.trace(rays, answers); }}};
    std::deque<qzEmbree> embrees;
    for (const std::string& isa : wideInstructionSets()) {
      qzEmbree& embree = embrees.emplace_back(scene, RTC_BUILD_QUALITY_MEDIUM, isa);
      embree.build();
      contestants.push_back({embree.getName(), double(rays.size()), [&] {
                               return traceMany(embree, {1, false, false}, rays, answers);
                             }});
    }
    const std::vector<qzTiming> timings = report.compare({"index/growth", name, size, "ray", settings.mRounds},
                                                         contestants, [&] { return fingerprintOf(hits); });
    std::vector<double>& own = medians.emplace_back();
    for (const qzTiming& timing : timings) own.push_back(timing.getMedian());
  }
  const auto bestPeer = [](const std::vector<double>& own) {
    return *std::min_element(own.begin() + kPeers, own.end());
  };
  const double own = medians.back()[kOwn] / medians[0][kOwn], peer = bestPeer(medians.back()) / bestPeer(medians[0]);
  report.addFigure("index/growth", name, size, "MeshIndex", own, "times as long as in terrain10k");
  report.addFigure("index/growth", name, size, "qzQBVH", medians.back()[kNarrow] / medians[0][kNarrow],
                   "times as long as in terrain10k");
  report.addFigure("index/growth", name, size, "Embree", peer, "times as long as in terrain10k");
  report.addFigure("index/growth", name, size, "growth over Embree's", own / peer, "times");
}

}  // namespace qzBench
