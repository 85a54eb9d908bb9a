// Builds of a hierarchy over a mesh.

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzContests.h>

namespace qzBench {

namespace {

struct tNeverCancelled : qz::qzCancelInterfaceReadOnly {
  bool isCanceled() const override { return false; }
};

}  // namespace

void measureBuild(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  qzOurs ours(scene);
  std::deque<qzEmbree> embrees = makeEmbrees(scene);
  std::deque<qzCgal> cgals = makeCgals(scene);
  std::vector<qzContestant> contestants = {buildContest(ours, scene)};
  for (qzEmbree& embree : embrees) contestants.push_back(buildContest(embree, scene));
  for (qzCgal& cgal : cgals) contestants.push_back(buildContest(cgal, scene));

  report.compare({"build", scene.mName, scene.getNbTriangles(), "triangle", settings.mRounds}, contestants, [&ours] {
    ours.build();
    return ours.getBuildCheck();
  });
}

void measureCancel(const qzScene& scene, const qzSettings& settings, qzReport& report) {
  const qzBVHTriangleContainer triangles(scene.mMesh);
  const tNeverCancelled never;
  qzFingerprint fingerprints[2];
  const auto build = [&](const qz::qzCancelInterfaceReadOnly* cancel) {
    expectDefaultFloatMode();
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH bvh;
    const qzStopwatch watch;
    builder.build(triangles, bvh, cancel, 20);
    const double seconds = watch.getSeconds();
    qzFingerprint& fingerprint = fingerprints[cancel != nullptr];
    fingerprint = {};
    fingerprint.add(bvh.getNodes().data(), bvh.getNodes().size() * sizeof bvh.getNodes()[0]);
    for (unsigned i = 0; i < triangles.getQuantity(); ++i) {
      const unsigned primitive = bvh.getPrimitive(i);
      fingerprint.add(&primitive, sizeof primitive);
    }
    return seconds;
  };
  const double nbTriangles = scene.getNbTriangles();
  report.compare({"cancel", scene.mName, scene.getNbTriangles(), "triangle", settings.mRounds, 1.0},
                 {{"no cancel interface", nbTriangles, [&] { return build(nullptr); }},
                  {"cancel interface", nbTriangles, [&] { return build(&never); },
                   [&] { return fingerprints[0].getText() == fingerprints[1].getText() ? 1.0 : 0.0; }}},
                 [&] { return fingerprints[0].getText(); });
}

}  // namespace qzBench
