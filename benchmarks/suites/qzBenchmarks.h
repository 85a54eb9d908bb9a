#pragma once
// The measurements of qzBench. Each adds its lines to the report.

#include <benchmarks/core/qzReport.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

struct qzSettings {
  int mRounds = 9;                             ///< runs of every contestant
  int mRaySide = 512;                          ///< its square is the number of camera rays, and of chords
  double mSecondsPerRun = 0.1;                 ///< target for runs whose cost per query varies widely
  int mLargestPlane = 10000000;                ///< points of the largest two-dimensional build
  int mMostRegions = 4000;                     ///< of a run over regions
  int mPlaces = 100000;                        ///< of a run over points; those of a run over a grid are about as many
  std::string mLargestTerrain = "terrain10M";  ///< of the growth by size
};

/// From a mesh in memory to the finished hierarchy, against Embree and CGAL.
void measureBuild(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Bytes per triangle of the finished hierarchy, and the peak during the build, against Embree.
void measureMemory(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Nearest hits of camera rays, bounces and chords, against Embree and CGAL.
void measureRays(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Builds and rays with the surface-area builder, against Embree's MEDIUM quality and the linear builder.
void measureSurfaceArea(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// Two threads that query one hierarchy, against one thread.
void measureThreads(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: closest hits one by one and in batches, and any hit in batches, against every mode of Embree.
void measureIndexRays(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: nearest points one by one and in batches, against Embree and CGAL, and triangles in boxes, against CGAL.
void measureIndexNear(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: which points a closed mesh contains, against CGAL, and winding numbers of a mesh with a boundary, which a
/// closed one gets by holes, against the sum over all triangles.
void measureIndexInside(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: builds of all qualities on one thread, against Embree.
void measureIndexBuild(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: bytes per triangle of the finished index, and the peak during the build, against Embree.
void measureIndexMemory(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: builds and batches on two threads, against one.
void measureIndexThreads(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// MeshIndex: closest hits of chords in terrains from ten thousand triangles upwards, against Embree.
void measureIndexGrowth(const qzSettings& settings, qzReport& report);

/// Intersection of the mesh with boxes and frusta, against Bullet and FCL.
void measureHulls(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// The linear builder with a cancel interface that never cancels, against none.
void measureCancel(const qzScene& scene, const qzSettings& settings, qzReport& report);

/// The linear builder in two dimensions, from ten thousand points upwards.
void measurePlane(const qzSettings& settings, qzReport& report);

}  // namespace qzBench
