#pragma once
// Embree 3, one thread, single rays.

#include <embree3/rtcore.h>

#include <string>
#include <vector>

#include <benchmarks/scenes/qzRays.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

class qzEmbree {
 public:
  /// isa is Embree's own word for an instruction set, "sse4.2" say, or empty for what a user gets.
  qzEmbree(const qzScene& scene, RTCBuildQuality quality, const std::string& isa,
           RTCSceneFlags flags = RTC_SCENE_FLAG_NONE);
  ~qzEmbree();
  qzEmbree(const qzEmbree&) = delete;
  qzEmbree& operator=(const qzEmbree&) = delete;

  std::string getName() const;

  /// Builds anew from the buffers in memory; returns the processor seconds of the commit.
  double build();
  /// Releases what build made.
  void release();
  /// Seconds for the first answers.size() rays.
  double trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;
  /// The nearest hit beyond the distance tNear, as far as its rounding goes: the hit may also be a little before it.
  qzAnswer castBeyond(float tNear, const qzRay& ray) const;

  /// By Embree's own account, of the last build: bytes of the finished structure, most bytes at one time.
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
