// MeshIndex: nearest points, and triangles in boxes.

#include <cmath>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/peers/qzIndex.h>
#include <benchmarks/scenes/qzPlaces.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

/// Least share of places with the same distance from a peer, whose arithmetic is another.
constexpr double kNearAgreement = 0.999;

/// Distances and numbers: the places differ by compilers' rounding of the scene alone.
std::string fingerprintOf(const std::vector<qzMeshQueries::Nearest>& nearest) {
  return qzBench::fingerprintOf(answersOf(nearest));
}

}  // namespace

void measureIndexNear(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzIndex index(scene);
  index.build();
  qzEmbree embree(scene, RTC_BUILD_QUALITY_MEDIUM, "");
  embree.build();
  std::deque<qzCgal> cgals = makeCgals(scene);
  for (qzCgal& cgal : cgals) {
    cgal.build();
    cgal.prepareNearest();
  }
  const auto subjectOf = [&](const std::string& name, const char* unit, double least) {
    return qzSubject{name, scene.mName, scene.getNbTriangles(), unit, settings.mRounds, least};
  };
  const auto addRatio = [&](const std::string& name, const char* what, double ratio) {
    report.addFigure(name, scene.mName, scene.getNbTriangles(), what, ratio, "times as fast");
  };

  const int gridSide = static_cast<int>(std::lround(std::cbrt(2.6 * settings.mPlaces)));  // 64 for 100,000
  for (const qzPlaceSet& set : makePlaceSets(scene, settings.mPlaces, gridSide)) {
    const std::vector<qzPlace>& places = set.mPlaces;
    std::vector<qzMeshQueries::Nearest> each(places.size()), batch(places.size());
    std::vector<qzNearest> answers(places.size());
    const auto ofPeer = [&](auto& peer) {
      const auto run = [&] { return peer.findNearest(places, answers); };
      return qzContestant{peer.getName(), double(places.size()), run, [&, run] {
                            run();
                            return agreement(scene, answersOf(each), answers);
                          }};
    };
    std::vector<qzContestant> contestants = {
        {index.getName(), double(places.size()), [&] { return index.findNearestEach(places, each); }},
        {index.getName() + " batch", double(places.size()), [&] { return index.findNearestBatch(places, batch); },
         [&] { return fingerprintOf(batch) == fingerprintOf(each) ? 1.0 : 0.0; }},
        ofPeer(embree)};
    for (qzCgal& cgal : cgals) contestants.push_back(ofPeer(cgal));
    const std::string name = "index/near/" + set.mName;
    const std::vector<qzTiming> timings =
        report.compare(subjectOf(name, "point", kNearAgreement), contestants, [&] { return fingerprintOf(each); });
    addRatio(name, "to Embree", timesAsFast(timings[0], timings[2]));
    addRatio(name, "batch to Embree", timesAsFast(timings[1], timings[2]));
    if (!cgals.empty()) {
      addRatio(name, "to CGAL", timesAsFast(timings[0], timings[3]));
      addRatio(name, "batch to CGAL", timesAsFast(timings[1], timings[3]));
    }
  }

  for (const auto& [share, label] : {std::pair(0.002f, "0.2%"), std::pair(0.01f, "1%"), std::pair(0.1f, "10%")}) {
    const std::vector<qzAxisBox> boxes = makeAxisBoxes(scene, share, share > 0.05f ? 200 : settings.mMostRegions);
    std::vector<unsigned> own(boxes.size()), counts(boxes.size());
    std::vector<qzContestant> contestants = {
        {index.getName(), double(boxes.size()), [&] { return index.countInBoxes(boxes, own); }}};
    for (qzCgal& cgal : cgals)
      contestants.push_back({qzCgal::getName(), double(boxes.size()), [&] { return cgal.countInBoxes(boxes, counts); },
                             [&] {
                               std::size_t same = 0;
                               for (std::size_t i = 0; i < own.size(); ++i) same += own[i] == counts[i] ? 1 : 0;
                               return double(same) / double(own.size());
                             }});
    const std::string name = std::string("index/box/") + label;
    const std::vector<qzTiming> timings = report.compare(subjectOf(name, "box", kNearAgreement), contestants,
                                                         [&] { return qzBench::fingerprintOf(own); });
    if (!cgals.empty()) addRatio(name, "to CGAL", timesAsFast(timings[0], timings[1]));
  }
}

}  // namespace qzBench
