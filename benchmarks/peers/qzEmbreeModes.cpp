#include <benchmarks/peers/qzEmbreeModes.h>

#include <algorithm>
#include <limits>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Rays whose answers are asked for between two looks at the clock. A multiple of all widths; 320 KiB with their hits.
constexpr std::size_t kBlock = 4096;

// RTCRay and RTCHit and their packets are arrays of these many 32-bit fields, of one value per ray each.
constexpr std::size_t kRayFields = sizeof(RTCRay) / 4, kHitFields = sizeof(RTCHit) / 4;
static_assert(sizeof(RTCRayHit16) == 64 * (kRayFields + kHitFields) && sizeof(RTCRay16) == 64 * kRayFields);

/// A block of rays in packets of width, with or without room for their hits.
class tBlock {
 public:
  tBlock(unsigned width, bool hasHits)
      : mWidth(width), mHasHits(hasHits), mStride((kRayFields + (hasHits ? kHitFields : 0)) * 4 * width) {}

  std::size_t getStride() const { return mStride; }
  void* getPacket(std::size_t packet) { return mBytes + packet * mStride; }

  /// Rays from begin up to end, at most kBlock; the last packet is filled up with rays that hit nothing.
  void fill(const qzRay* begin, const qzRay* end) {
    const std::size_t count = static_cast<std::size_t>(end - begin);
    for (std::size_t i = 0; i < count || i % mWidth != 0; ++i) {
      const unsigned lane = static_cast<unsigned>(i % mWidth);
      RTCRayN* const rays = getRays(i);
      const qzRay& ray = begin[std::min(i, count - 1)];
      RTCRayN_org_x(rays, mWidth, lane) = ray.mOrigin[0];
      RTCRayN_org_y(rays, mWidth, lane) = ray.mOrigin[1];
      RTCRayN_org_z(rays, mWidth, lane) = ray.mOrigin[2];
      RTCRayN_dir_x(rays, mWidth, lane) = ray.mDirection[0];
      RTCRayN_dir_y(rays, mWidth, lane) = ray.mDirection[1];
      RTCRayN_dir_z(rays, mWidth, lane) = ray.mDirection[2];
      RTCRayN_tnear(rays, mWidth, lane) = i < count ? 0.0f : kInfinity;
      RTCRayN_tfar(rays, mWidth, lane) = i < count ? kInfinity : -kInfinity;
      RTCRayN_time(rays, mWidth, lane) = 0.0f;
      RTCRayN_mask(rays, mWidth, lane) = 0xFFFFFFFFu;
      RTCRayN_id(rays, mWidth, lane) = 0;
      RTCRayN_flags(rays, mWidth, lane) = 0;
      if (!mHasHits) continue;
      RTCHitN* const hits = getHits(i);
      RTCHitN_geomID(hits, mWidth, lane) = RTC_INVALID_GEOMETRY_ID;
      RTCHitN_primID(hits, mWidth, lane) = RTC_INVALID_GEOMETRY_ID;
      RTCHitN_instID(hits, mWidth, lane, 0) = RTC_INVALID_GEOMETRY_ID;
    }
  }

  float getDistance(std::size_t i) { return RTCRayN_tfar(getRays(i), mWidth, static_cast<unsigned>(i % mWidth)); }
  unsigned getTriangle(std::size_t i) { return RTCHitN_primID(getHits(i), mWidth, static_cast<unsigned>(i % mWidth)); }

 private:
  RTCRayN* getRays(std::size_t i) { return static_cast<RTCRayN*>(getPacket(i / mWidth)); }
  RTCHitN* getHits(std::size_t i) {
    return reinterpret_cast<RTCHitN*>(static_cast<unsigned char*>(getPacket(i / mWidth)) + 4 * kRayFields * mWidth);
  }

  unsigned mWidth;
  bool mHasHits;
  std::size_t mStride;
  alignas(64) unsigned char mBytes[kBlock * 4 * (kRayFields + kHitFields)];
};

/// Validity of the lanes of a packet: the first count ones.
struct alignas(64) tValid {
  int mLanes[16];
  explicit tValid(std::size_t count) {
    for (std::size_t lane = 0; lane < 16; ++lane) mLanes[lane] = lane < count ? -1 : 0;
  }
};

void intersect(RTCScene scene, RTCIntersectContext& context, const qzEmbreeMode& mode, tBlock& block,
               std::size_t count) {
  const std::size_t nbPackets = (count + mode.mWidth - 1) / mode.mWidth;
  if (mode.mIsStream && mode.mWidth == 1) {
    rtcIntersect1M(scene, &context, static_cast<RTCRayHit*>(block.getPacket(0)), static_cast<unsigned>(count),
                   block.getStride());
  } else if (mode.mIsStream) {
    rtcIntersectNM(scene, &context, static_cast<RTCRayHitN*>(block.getPacket(0)), mode.mWidth,
                   static_cast<unsigned>(nbPackets), block.getStride());
  } else if (mode.mWidth == 1) {
    for (std::size_t i = 0; i < count; ++i) rtcIntersect1(scene, &context, static_cast<RTCRayHit*>(block.getPacket(i)));
  } else {
    const tValid all(mode.mWidth), last(count - (nbPackets - 1) * mode.mWidth);
    for (std::size_t i = 0; i < nbPackets; ++i) {
      const int* const valid = (i + 1 < nbPackets ? all : last).mLanes;
      void* const packet = block.getPacket(i);
      if (mode.mWidth == 4) rtcIntersect4(valid, scene, &context, static_cast<RTCRayHit4*>(packet));
      if (mode.mWidth == 8) rtcIntersect8(valid, scene, &context, static_cast<RTCRayHit8*>(packet));
      if (mode.mWidth == 16) rtcIntersect16(valid, scene, &context, static_cast<RTCRayHit16*>(packet));
    }
  }
}

void occlude(RTCScene scene, RTCIntersectContext& context, const qzEmbreeMode& mode, tBlock& block, std::size_t count) {
  const std::size_t nbPackets = (count + mode.mWidth - 1) / mode.mWidth;
  if (mode.mIsStream && mode.mWidth == 1) {
    rtcOccluded1M(scene, &context, static_cast<RTCRay*>(block.getPacket(0)), static_cast<unsigned>(count),
                  block.getStride());
  } else if (mode.mIsStream) {
    rtcOccludedNM(scene, &context, static_cast<RTCRayN*>(block.getPacket(0)), mode.mWidth,
                  static_cast<unsigned>(nbPackets), block.getStride());
  } else if (mode.mWidth == 1) {
    for (std::size_t i = 0; i < count; ++i) rtcOccluded1(scene, &context, static_cast<RTCRay*>(block.getPacket(i)));
  } else {
    const tValid all(mode.mWidth), last(count - (nbPackets - 1) * mode.mWidth);
    for (std::size_t i = 0; i < nbPackets; ++i) {
      const int* const valid = (i + 1 < nbPackets ? all : last).mLanes;
      void* const packet = block.getPacket(i);
      if (mode.mWidth == 4) rtcOccluded4(valid, scene, &context, static_cast<RTCRay4*>(packet));
      if (mode.mWidth == 8) rtcOccluded8(valid, scene, &context, static_cast<RTCRay8*>(packet));
      if (mode.mWidth == 16) rtcOccluded16(valid, scene, &context, static_cast<RTCRay16*>(packet));
    }
  }
}

/// Casts all rays block by block; read is called with the block and the numbers of its first and its number of rays.
template <class Cast, class Read>
double castBlocks(const qzEmbree& embree, const qzEmbreeMode& mode, const std::vector<qzRay>& rays, std::size_t count,
                  bool hasHits, const Cast& cast, const Read& read) {
  const qzFlushDenormals floatMode;
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  context.flags = mode.mIsCoherent ? RTC_INTERSECT_CONTEXT_FLAG_COHERENT : RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
  tBlock block(mode.mWidth, hasHits);
  double seconds = 0.0;
  for (std::size_t begin = 0; begin < count; begin += kBlock) {
    const std::size_t own = std::min(kBlock, count - begin);
    block.fill(rays.data() + begin, rays.data() + begin + own);
    const qzStopwatch watch;
    cast(embree.getScene(), context, mode, block, own);
    seconds += watch.getSeconds();
    read(block, begin, own);
  }
  return seconds;
}

}  // namespace

std::string qzEmbreeMode::getName() const {
  if (mWidth == 1 && !mIsStream) return "single";
  std::string name = mWidth == 1 ? "stream" : "packets of " + std::to_string(mWidth);
  if (mWidth != 1 && mIsStream) name = "stream of " + name;
  return name + (mIsCoherent ? ", coherent" : "");
}

std::vector<qzEmbreeMode> embreeModes() {
  std::vector<qzEmbreeMode> modes = {{1, false, false}};
  for (const bool isCoherent : {false, true}) {
    modes.push_back({1, true, isCoherent});
    for (const unsigned width : {4u, 8u, 16u})
      for (const bool isStream : {false, true}) modes.push_back({width, isStream, isCoherent});
  }
  return modes;
}

double traceMany(const qzEmbree& embree, const qzEmbreeMode& mode, const std::vector<qzRay>& rays,
                 std::vector<qzAnswer>& answers) {
  return castBlocks(embree, mode, rays, answers.size(), true, intersect,
                    [&answers](tBlock& block, std::size_t begin, std::size_t count) {
                      for (std::size_t i = 0; i < count; ++i)
                        answers[begin + i] = {block.getDistance(i), block.getTriangle(i)};
                    });
}

double occludeMany(const qzEmbree& embree, const qzEmbreeMode& mode, const std::vector<qzRay>& rays,
                   std::vector<char>& answers) {
  return castBlocks(embree, mode, rays, answers.size(), false, occlude,
                    [&answers](tBlock& block, std::size_t begin, std::size_t count) {
                      for (std::size_t i = 0; i < count; ++i) answers[begin + i] = block.getDistance(i) < 0.0f;
                    });
}

}  // namespace qzBench
