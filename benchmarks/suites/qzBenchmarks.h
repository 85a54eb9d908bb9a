#pragma once
// The measurements. Each adds its lines to the report.

#include <benchmarks/core/qzReport.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

struct qzSettings {
  int mRounds = 9;               ///< how often every contestant runs
  int mRaySide = 512;            ///< the camera shoots its square of rays, and as many chords are shot
  double mSecondsPerRun = 0.1;   ///< about what a run over queries of uncertain cost may take
  int mLargestPlane = 10000000;  ///< points of the largest two-dimensional build
};

/// From a mesh in memory to the finished hierarchy, against Embree and CGAL.
void measureBuild(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Bytes per triangle of the finished hierarchy, and most bytes at a time while it is built, against Embree.
void measureMemory(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// The nearest hit of camera rays, of bounces from their hits and of chords, against Embree and CGAL.
void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Builds and rays of the surface-area builder, against Embree's MEDIUM quality and the linear builder.
void measureSurfaceArea(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Two threads on one hierarchy against one.
void measureThreads(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Whether the mesh reaches into boxes and frusta, against Bullet and FCL.
void measureHulls(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// The linear builder with somebody who could cancel, against nobody.
void measureCancel(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// The linear builder in two dimensions, from ten thousand points on.
void measurePlane(const qzSettings& settings, qzReport& report);

}  // namespace qzBench
