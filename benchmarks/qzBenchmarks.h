#pragma once
// The measurements, each of one scene.

#include "qzReport.h"
#include "qzScene.h"

namespace qzBench {

struct qzSettings {
  int mRounds = 9;     ///< how often every contestant runs
  int mRaySide = 512;  ///< the camera shoots its square of rays, and as many chords are shot
};

/// From a mesh in memory to the finished hierarchy, against Embree and CGAL.
void measureBuild(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// The nearest hit of camera rays, of bounces from their hits and of chords, against Embree and CGAL.
void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report);

}  // namespace qzBench
