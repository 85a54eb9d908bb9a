// The linear builder in two dimensions.

#include <qzCommonAddOns/builders/qzLinearGenericBVH2DBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>

#include <benchmarks/core/qzFingerprint.h>
#include <benchmarks/core/qzRandom.h>
#include <benchmarks/suites/qzBenchmarks.h>

namespace qzBench {

namespace {

/// The builder with small random boxes in the unit square as primitives, each represented by its centre.
class tRandomBoxes : public qzLinearGenericBVH2DBuilder {
 public:
  explicit tRandomBoxes(int nbPoints) {
    qzRandom random(5);
    for (int i = 0; i < nbPoints; ++i) {
      const Wm4::Vector2<float> point(random.unit(), random.unit());
      const float half = 1e-4f * random.unit();
      mPoints.push_back(point);
      mBBoxes.push_back(qzBBox2D::Make(Wm4::Vector2<float>(point[0] - half, point[1] - half),
                                       Wm4::Vector2<float>(point[0] + half, point[1] + half)));
    }
    mBounds = qzBBox2D::Make(Wm4::Vector2<float>(0.0f, 0.0f), Wm4::Vector2<float>(1.0f, 1.0f));
    mNbPrimitives = static_cast<unsigned>(nbPoints);
  }

  double timedBuild(qzGenericBVH2D& bvh) {
    mIndices.resize(mNbPrimitives);
    expectDefaultFloatMode();
    const qzStopwatch watch;
    build(bvh, 16);
    return watch.getSeconds();
  }
};

}  // namespace

void measurePlane(const qzSettings& settings, qzReport& report) {
  for (int size = 10000; size <= settings.mLargestPlane; size *= 10) {
    tRandomBoxes builder(size);
    std::string check;
    const auto build = [&] {
      qzGenericBVH2D bvh;
      const double seconds = builder.timedBuild(bvh);
      check = fingerprintOf(bvh.getNodes());
      return seconds;
    };
    report.compare({"build 2D", "points", size, "point", settings.mRounds},
                   {{"2D linear builder", double(size), build}}, [&] { return check; });
  }
}

}  // namespace qzBench
