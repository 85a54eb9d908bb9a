#include <benchmarks/peers/qzEmbree.h>

#include <pmmintrin.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

namespace {

RTCRayHit queryOf(const qzRay& ray, float tNear) {
  RTCRayHit query;
  query.ray.org_x = ray.mOrigin[0];
  query.ray.org_y = ray.mOrigin[1];
  query.ray.org_z = ray.mOrigin[2];
  query.ray.tnear = tNear;
  query.ray.dir_x = ray.mDirection[0];
  query.ray.dir_y = ray.mDirection[1];
  query.ray.dir_z = ray.mDirection[2];
  query.ray.time = 0.0f;
  query.ray.tfar = std::numeric_limits<float>::infinity();
  query.ray.mask = 0xFFFFFFFFu;
  query.ray.id = 0;
  query.ray.flags = 0;
  query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
  query.hit.primID = RTC_INVALID_GEOMETRY_ID;
  return query;
}

/// What the callback of a point query works on.
struct tPointQuery {
  const Wm4::Vector3<float>* mPositions;
  const int* mIndices;
  qzNearest mNearest;
};

/// The squared distance of triangle (a, b, c) from the origin, by the regions of its vertices, edges and inside.
float squaredDistance(const tVector& a, const tVector& b, const tVector& c) {
  const tVector ab = difference(b, a), ac = difference(c, a);
  const float abA = -dot(ab, a), acA = -dot(ac, a);
  if (abA <= 0.0f && acA <= 0.0f) return dot(a, a);
  const float abB = -dot(ab, b), acB = -dot(ac, b);
  if (abB >= 0.0f && acB <= abB) return dot(b, b);
  const float abC = -dot(ab, c), acC = -dot(ac, c);
  if (acC >= 0.0f && abC <= acC) return dot(c, c);
  const auto onEdge = [](const tVector& from, const tVector& edge, float t) {
    const tVector place = along(from, t, edge);
    return dot(place, place);
  };
  const float weightC = abA * acB - abB * acA;
  if (weightC <= 0.0f && abA >= 0.0f && abB <= 0.0f) return onEdge(a, ab, abA / (abA - abB));
  const float weightB = abC * acA - abA * acC;
  if (weightB <= 0.0f && acA >= 0.0f && acC <= 0.0f) return onEdge(a, ac, acA / (acA - acC));
  const float weightA = abB * acC - abC * acB;
  if (weightA <= 0.0f && acB >= abB && abC >= acC)
    return onEdge(b, difference(c, b), (acB - abB) / ((acB - abB) + (abC - acC)));
  const float sum = weightA + weightB + weightC;
  const tVector place = along(along(a, weightB / sum, ab), weightC / sum, ac);
  return dot(place, place);
}

bool visitTriangle(RTCPointQueryFunctionArguments* args) {
  tPointQuery& own = *static_cast<tPointQuery*>(args->userPtr);
  const tVector point(args->query->x, args->query->y, args->query->z);
  const int* const corners = own.mIndices + 3 * std::size_t(args->primID);
  const float distance = std::sqrt(squaredDistance(difference(own.mPositions[corners[0]], point),
                                                   difference(own.mPositions[corners[1]], point),
                                                   difference(own.mPositions[corners[2]], point)));
  if (!(distance < args->query->radius)) return false;
  args->query->radius = distance;
  own.mNearest = {distance, args->primID};
  return true;
}

}  // namespace

qzFlushDenormals::qzFlushDenormals() : mBefore(_mm_getcsr()) {
  _MM_SET_FLUSH_ZERO_MODE(_MM_FLUSH_ZERO_ON);
  _MM_SET_DENORMALS_ZERO_MODE(_MM_DENORMALS_ZERO_ON);
}

qzFlushDenormals::~qzFlushDenormals() {
  _mm_setcsr(mBefore);
}

qzEmbree::qzEmbree(const qzScene& scene, RTCBuildQuality quality, const std::string& isa, RTCSceneFlags flags)
    : mMeshes(scene), mQuality(quality), mIsa(isa), mFlags(flags) {
  mDevice = rtcNewDevice(("threads=1" + (isa.empty() ? "" : ",isa=" + isa)).c_str());
  if (mDevice == nullptr) throw std::runtime_error("Embree gives no device for '" + isa + "'");
  rtcSetDeviceMemoryMonitorFunction(mDevice, &countMemory, this);
}

qzEmbree::~qzEmbree() {
  release();
  rtcReleaseDevice(mDevice);
}

void qzEmbree::release() {
  if (mScene != nullptr) rtcReleaseScene(mScene);
  mScene = nullptr;
}

std::string qzEmbree::getName() const {
  return std::string("Embree ") + (mQuality == RTC_BUILD_QUALITY_LOW ? "LOW" : "MEDIUM") + (mIsa.empty() ? "" : " ") +
         mIsa + ((mFlags & RTC_SCENE_FLAG_ROBUST) != 0 ? " robust" : "");
}

bool qzEmbree::countMemory(void* self, ssize_t bytes, bool) {
  qzEmbree& embree = *static_cast<qzEmbree*>(self);
  embree.mBytes += bytes;
  embree.mPeakBytes = std::max(embree.mPeakBytes, embree.mBytes);
  return true;
}

double qzEmbree::build() {
  const qzFlushDenormals mode;
  release();
  mScene = rtcNewScene(mDevice);
  rtcSetSceneBuildQuality(mScene, mQuality);
  rtcSetSceneFlags(mScene, mFlags);
  RTCGeometry geometry = rtcNewGeometry(mDevice, RTC_GEOMETRY_TYPE_TRIANGLE);
  rtcSetGeometryBuildQuality(geometry, mQuality);
  rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mMeshes.mPositions.data(), 0, 12,
                             static_cast<std::size_t>(mMeshes.getNbVertices()));
  rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mMeshes.getIndices(), 0, 12,
                             static_cast<std::size_t>(mMeshes.getNbTriangles()));
  rtcCommitGeometry(geometry);
  rtcAttachGeometry(mScene, geometry);
  rtcReleaseGeometry(geometry);

  mBytes = mPeakBytes = 0;
  const qzStopwatch watch;
  rtcCommitScene(mScene);
  const double seconds = watch.getSeconds();
  if (const RTCError error = rtcGetDeviceError(mDevice); error != RTC_ERROR_NONE)
    throw std::runtime_error(getName() + " reports error " + std::to_string(error));
  return seconds;
}

double qzEmbree::trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const {
  const qzFlushDenormals mode;
  const qzStopwatch watch;
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);  // incoherent, the default
  for (std::size_t i = 0; i < answers.size(); ++i) {
    RTCRayHit query = queryOf(rays[i], 0.0f);
    rtcIntersect1(mScene, &context, &query);
    answers[i] = {query.ray.tfar, query.hit.primID};
  }
  return watch.getSeconds();
}

double qzEmbree::findNearest(const std::vector<qzPlace>& places, std::vector<qzNearest>& answers) const {
  const qzFlushDenormals mode;
  const qzStopwatch watch;
  RTCPointQueryContext context;
  rtcInitPointQueryContext(&context);
  for (std::size_t i = 0; i < answers.size(); ++i) {
    tPointQuery own = {
        mMeshes.mPositions.data(), mMeshes.getIndices(), {std::numeric_limits<float>::infinity(), 0xFFFFFFFFu}};
    RTCPointQuery query;
    query.x = places[i][0];
    query.y = places[i][1];
    query.z = places[i][2];
    query.time = 0.0f;
    query.radius = std::numeric_limits<float>::infinity();
    rtcPointQuery(mScene, &query, &context, &visitTriangle, &own);
    answers[i] = own.mNearest;
  }
  return watch.getSeconds();
}

qzAnswer qzEmbree::castBeyond(float tNear, const qzRay& ray) const {
  const qzFlushDenormals mode;
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  RTCRayHit query = queryOf(ray, tNear);
  rtcIntersect1(mScene, &context, &query);
  return {query.ray.tfar, query.hit.primID};
}

}  // namespace qzBench
