// MeshIndex: which points a closed mesh contains, and winding numbers of meshes with a boundary.

#include <algorithm>
#include <cmath>
#include <vector>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/core/qzMeasure.h>
#include <benchmarks/core/qzRandom.h>
#include <benchmarks/peers/qzIndex.h>
#include <benchmarks/scenes/qzPlaces.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

using tPlaces = std::vector<qzPlace>;

/// The sum of the solid angles of all triangles over 4 pi (Van Oosterom and Strackee 1983).
double plainSum(const qzScene& scene, const qzPlace& place) {
  const tVector3d from = {double(place[0]), double(place[1]), double(place[2])};
  const auto seen = [&](int triangle, int corner) {
    return difference(toDouble(scene.getVertex(triangle, corner)), from);
  };
  double sum = 0;
  for (int i = 0; i < scene.getNbTriangles(); ++i) {
    const tVector3d a = seen(i, 0), b = seen(i, 1), c = seen(i, 2);
    const double lengthA = std::sqrt(dot(a, a)), lengthB = std::sqrt(dot(b, b)), lengthC = std::sqrt(dot(c, c));
    sum += std::atan2(dot(a, cross(b, c)),
                      lengthA * lengthB * lengthC + dot(a, b) * lengthC + dot(b, c) * lengthA + dot(c, a) * lengthB);
  }
  return sum / 6.283185307179586;
}

/// Without the triangles in some balls around points of it, of a fiftieth of the radius.
qzScene withHoles(const qzScene& scene) {
  qzRandom random(71);
  std::vector<tVector> centres;
  for (int i = 0; i < 60; ++i)
    centres.push_back(scene.getVertex(int(random.below(unsigned(scene.getNbTriangles()))), 0));
  std::vector<int> indices;
  for (int i = 0; i < scene.getNbTriangles(); ++i) {
    const tVector corner = scene.getVertex(i, 0);
    const bool isInHole = std::any_of(centres.begin(), centres.end(), [&](const tVector& centre) {
      const tVector away = difference(corner, centre);
      return dot(away, away) < scene.mRadius * scene.mRadius / 2500.0f;
    });
    if (isInHole) continue;
    for (int k = 0; k < 3; ++k) indices.push_back(scene.getIndices()[3 * i + k]);
  }
  return makeScene(scene.mName + " with holes",
                   qz::qzTriMesh(*scene.mMesh.getVertexBuffer(), qz::qzIndexBuffer(std::move(indices))));
}

/// Points in a closed mesh, beside CGAL.
void compareContains(const qzScene& scene, const qzIndex& index, const std::vector<qzPlaceSet>& sets, int rounds,
                     qzReport& report) {
  qzCgalSides cgal(scene);
  cgal.build();
  for (const qzPlaceSet& set : sets) {
    const tPlaces& places = set.mPlaces;
    std::vector<std::uint32_t> own(places.size()), answers(places.size());
    std::vector<double> windings(places.size());
    std::vector<qzContestant> contestants = {
        {index.getName(), double(places.size()), [&] { return index.findContained(places, own); }},
        {index.getName() + " batch", double(places.size()), [&] { return index.findWindings(places, windings); },
         [&] {
           std::size_t same = 0;
           for (std::size_t i = 0; i < own.size(); ++i) same += (std::fabs(windings[i]) > 0.5) == (own[i] != 0);
           return double(same) / double(own.size());
         }},
        {cgal.getName(), double(places.size()), [&] { return cgal.findContained(places, answers); },
         [&] {
           std::size_t same = 0;
           // To CGAL, what lies in two solids is outside.
           for (std::size_t i = 0; i < own.size(); ++i) same += std::lround(windings[i]) % 2 == int(answers[i]) ? 1 : 0;
           return double(same) / double(own.size());
         }}};
    const std::string name = "index/contains/" + set.mName;
    const std::vector<qzTiming> timings =
        report.compare({name, scene.mName, scene.getNbTriangles(), "point", rounds, 0.999}, contestants,
                       [&] { return fingerprintOf(own); });
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "to CGAL", timesAsFast(timings[0], timings[2]),
                     "times as fast");
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "batch to CGAL", timesAsFast(timings[1], timings[2]),
                     "times as fast");
  }
}

/// Winding numbers of a mesh with a boundary, beside the sum over all triangles.
void compareWindings(const qzScene& scene, const qzIndex& index, const std::vector<qzPlaceSet>& sets,
                     const qzSettings& settings, qzReport& report) {
  for (const qzPlaceSet& set : sets) {
    // Fewer in larger meshes: a point takes time in proportion to the triangles, or to the edges of the boundary.
    const auto limited = [&](double most) {
      const auto count = static_cast<std::size_t>(std::max(4.0, most / double(scene.getNbTriangles())));
      return tPlaces(set.mPlaces.begin(), set.mPlaces.begin() + std::ptrdiff_t(std::min(count, set.mPlaces.size())));
    };
    const tPlaces places = limited(2e8), few = limited(5e6);
    std::vector<double> each(places.size()), batch(places.size()), sums(few.size());
    const auto plain = [&] {
      const qzStopwatch watch;
      for (std::size_t i = 0; i < few.size(); ++i) sums[i] = plainSum(scene, few[i]);
      return watch.getSeconds();
    };
    const std::vector<qzContestant> contestants = {
        {index.getName(), double(places.size()), [&] { return index.findWindingsEach(places, each); }},
        {index.getName() + " batch", double(places.size()), [&] { return index.findWindings(places, batch); },
         [&] { return fingerprintOf(batch) == fingerprintOf(each) ? 1.0 : 0.0; }},
        {"plain sum", double(few.size()), plain, [&] {
           std::size_t same = 0;
           for (std::size_t i = 0; i < few.size(); ++i) same += std::fabs(sums[i] - each[i]) < 1e-6 ? 1 : 0;
           return double(same) / double(few.size());
         }}};
    const std::string name = "index/winding/" + set.mName;
    const std::vector<qzTiming> timings =
        report.compare({name, scene.mName, scene.getNbTriangles(), "point", settings.mRounds, 1.0}, contestants,
                       [&] { return fingerprintOf(each); });
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "to the plain sum", timesAsFast(timings[0], timings[2]),
                     "times as fast");
    report.addFigure(name, scene.mName, scene.getNbTriangles(), "batch to the plain sum",
                     timesAsFast(timings[1], timings[2]), "times as fast");
  }
}

/// The first question for the boundary, relative to building the index.
void reportBoundary(const qzScene& scene, qzIndex& index, qzReport& report) {
  std::vector<double> shares;
  for (int round = 0; round < 3; ++round) {
    const double build = index.build();
    const qzStopwatch watch;
    index.getIndex().isClosed();
    shares.push_back(100 * watch.getSeconds() / build);
  }
  report.addFigure("index/boundary", scene.mName, scene.getNbTriangles(), index.getName(), median(shares),
                   "% of a build");
}

}  // namespace

void measureIndexInside(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  const int gridSide = static_cast<int>(std::lround(std::cbrt(2.6 * settings.mPlaces)));
  qzIndex index(scene);
  reportBoundary(scene, index, report);
  if (!index.getIndex().isClosed()) {
    compareWindings(scene, index, makePlaceSets(scene, settings.mPlaces, gridSide), settings, report);
    return;
  }
  compareContains(scene, index, makePlaceSets(scene, settings.mPlaces, gridSide), settings.mRounds, report);
  const qzScene open = withHoles(scene);
  qzIndex openIndex(open);
  openIndex.build();
  compareWindings(open, openIndex, makePlaceSets(open, settings.mPlaces, gridSide), settings, report);
}

}  // namespace qzBench
