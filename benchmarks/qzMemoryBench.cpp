// Memory of a build.

#include "qzBenchmarks.h"
#include "qzEmbree.h"
#include "qzMemory.h"
#include "qzOurs.h"

namespace qzBench {

void measureMemory(const qzScene& scene, const qzSettings&, qzReport& report) {
  const auto add = [&](const std::string& name, long long bytes, long long peak) {
    const double nbTriangles = scene.getNbTriangles();
    report.addFigure("memory", scene.mName, scene.getNbTriangles(), name, double(bytes) / nbTriangles,
                     "bytes/triangle");
    report.addFigure("memory", scene.mName, scene.getNbTriangles(), name + " peak", double(peak) / nbTriangles,
                     "bytes/triangle");
  };

  qzOurs ours(scene);
  {
    const qzMemoryCount count;
    ours.build();
    add(ours.getName(), count.getBytes(), count.getPeakBytes());
  }
  ours.release();
  for (RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM}) {
    qzEmbree embree(scene, quality, "");
    {
      const qzMemoryCount count;
      embree.build();
      add(embree.getName(), count.getBytes(), count.getPeakBytes());
    }
    add(embree.getName() + ", own", embree.getBytes(), embree.getPeakBytes());
  }
}

}  // namespace qzBench
