// Memory of a hierarchy and of its build.

#include <benchmarks/peers/qzEmbree.h>
#include <benchmarks/peers/qzOurs.h>
#include <benchmarks/suites/qzBenchmarks.h>
#include <benchmarks/suites/qzMemoryCount.h>

namespace qzBench {

void measureMemory(const qzScene& scene, const qzSettings&, qzReport& report) {
  const auto add = [&](const char* benchmark, const std::string& name, long long bytes, long long peak) {
    const double nbTriangles = scene.getNbTriangles();
    report.addFigure(benchmark, scene.mName, scene.getNbTriangles(), name, double(bytes) / nbTriangles,
                     "bytes/triangle");
    report.addFigure(benchmark, scene.mName, scene.getNbTriangles(), name + " peak", double(peak) / nbTriangles,
                     "bytes/triangle");
  };

  qzOurs ours(scene);
  {
    const qzMemoryCount count;
    ours.build();
    add("memory", ours.getName(), count.getBytes(), count.getPeakBytes());
  }
  ours.release();
  for (RTCBuildQuality quality : {RTC_BUILD_QUALITY_LOW, RTC_BUILD_QUALITY_MEDIUM}) {
    qzEmbree embree(scene, quality, "");
    {
      const qzMemoryCount count;
      embree.build();
      add("memory", embree.getName(), count.getBytes(), count.getPeakBytes());
    }
    add("memory/own count", embree.getName(), embree.getBytes(), embree.getPeakBytes());
  }
}

}  // namespace qzBench
