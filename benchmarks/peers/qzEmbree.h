#pragma once
// Embree 3, one thread, single rays; qzEmbreeModes.h has its other modes.

#include <embree3/rtcore.h>

#include <string>
#include <vector>

#include <benchmarks/scenes/qzPlaces.h>
#include <benchmarks/scenes/qzRays.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// Sets the floating-point mode that Embree's manual recommends while it lives, and restores the previous one.
class qzFlushDenormals {
 public:
  qzFlushDenormals();
  ~qzFlushDenormals();
  qzFlushDenormals(const qzFlushDenormals&) = delete;
  qzFlushDenormals& operator=(const qzFlushDenormals&) = delete;

 private:
  unsigned mBefore;
};

class qzEmbree {
 public:
  /// isa is Embree's name of an instruction set, such as "sse4.2"; empty for the best that the processor has.
  qzEmbree(const qzScene& scene, RTCBuildQuality quality, const std::string& isa,
           RTCSceneFlags flags = RTC_SCENE_FLAG_NONE);
  ~qzEmbree();
  qzEmbree(const qzEmbree&) = delete;
  qzEmbree& operator=(const qzEmbree&) = delete;

  std::string getName() const;

  /// Builds the hierarchy from buffers in memory; returns the seconds of the commit.
  double build();
  /// Releases the hierarchy.
  void release();
  /// Nearest hits of the first answers.size() rays; returns the seconds.
  double trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;
  /// The nearest hit beyond the distance tNear; by rounding it may lie slightly before it.
  qzAnswer castBeyond(float tNear, const qzRay& ray) const;

  /// Nearest triangles of the first answers.size() places, by point queries with a callback; returns the seconds.
  double findNearest(const std::vector<qzPlace>& places, std::vector<qzNearest>& answers) const;

  RTCScene getScene() const { return mScene; }  ///< null unless built

  /// By Embree's memory monitor, for the last build: bytes of the finished structure, and peak bytes during the build.
  long long getBytes() const { return mBytes; }
  long long getPeakBytes() const { return mPeakBytes; }

 private:
  static bool countMemory(void* self, ssize_t bytes, bool isAfterwards);

  const qzScene& mMeshes;
  RTCBuildQuality mQuality;
  std::string mIsa;
  RTCSceneFlags mFlags;
  RTCDevice mDevice;
  RTCScene mScene = nullptr;
  long long mBytes = 0, mPeakBytes = 0;
};

}  // namespace qzBench
