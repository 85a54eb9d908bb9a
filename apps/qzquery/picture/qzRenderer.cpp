#include <apps/qzquery/picture/qzRenderer.h>

#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzVectorMath.h>
#include <toolkit/query/qzRayCast.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace qzQuery {

namespace {

using tVector = qzToolkit::tVector3d;
using qzToolkit::along;
using qzToolkit::cross;
using qzToolkit::difference;
using qzToolkit::dot;
using qzToolkit::qzHit;
using qzToolkit::qzRay;
using qzToolkit::toDouble;
using qzToolkit::toFloat;

constexpr double kPi = 3.14159265358979323846;
constexpr int kRowsInBlock = 4;

// The look. Colours are linear light.
constexpr tVector kBackground = {0.86, 0.88, 0.90};
constexpr tVector kSurface = {0.46, 0.52, 0.60};
constexpr tVector kNear = {0.01, 0.03, 0.10};       // of eDepth
constexpr double kOcclusionReach = 0.08;            // of ambient occlusion on the mesh, in diagonals of the mesh
constexpr double kShadowReach = 0.35;               // of the shadow on the floor, likewise
constexpr int kOcclusionRays = 2, kShadowRays = 2;  // per camera ray that needs them

// Colour scale of eCost, from few to many nodes.
constexpr tVector kHeat[] = {{0.00, 0.00, 0.02}, {0.04, 0.02, 0.22}, {0.30, 0.02, 0.25},
                             {0.75, 0.10, 0.08}, {0.95, 0.45, 0.03}, {1.00, 0.95, 0.55}};

tVector mixed(const tVector& a, const tVector& b, double partOfB) {
  tVector result;
  for (std::size_t i = 0; i < 3; ++i) result[i] = a[i] + partOfB * (b[i] - a[i]);
  return result;
}

tVector heat(double part) {
  constexpr int kLast = static_cast<int>(std::size(kHeat)) - 1;
  const double position = std::clamp(part, 0.0, 1.0) * kLast;
  const int index = std::min(static_cast<int>(position), kLast - 1);
  return mixed(kHeat[index], kHeat[index + 1], position - index);
}

qzRay rayThrough(const qzToolkit::qzCamera& camera, double x, double y) {
  qzRay ray;
  ray.mOrigin = camera.getOrigin();
  ray.mDirection = camera.getDirection(x, y);
  return ray;
}

/// Distance of a hit along the line of sight of the camera.
double depthOf(const qzHit& hit, const qzRay& ray, const qzToolkit::qzCamera& camera) {
  return -hit.mDistance * dot(toDouble(ray.mDirection), camera.getBackward());
}

}  // namespace

/// Pseudo-random numbers in [0, 1) that depend on the number of the pixel only.
class qzRenderer::tRandom {
 public:
  explicit tRandom(std::size_t pixel) : mState(pixel), mPair{next(), next()} {}

  double next() {  // splitmix64
    std::uint64_t z = mState += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1p-53;
  }

  /// The next point of a low-discrepancy sequence in the unit square, which gives less noise than independent points.
  std::array<double, 2> nextPair() {
    mPair = {std::fmod(mPair[0] + 0.7548776662466927, 1.0), std::fmod(mPair[1] + 0.5698402909980532, 1.0)};
    return mPair;
  }

 private:
  std::uint64_t mState;
  std::array<double, 2> mPair;
};

qzRenderer::qzRenderer(const qz::qzTriMesh& mesh, const qzToolkit::qzHierarchy& hierarchy,
                       std::vector<qzToolkit::qzCamera> cameras, qzToolkit::qzCamera::tUp up, tShading shading)
    : mMesh(mesh),
      mHierarchy(hierarchy),
      mCameras(std::move(cameras)),
      mShading(shading),
      mUpAxis(up == qzToolkit::qzCamera::eUpY ? 1 : 2) {
  const qzBBox box = qzToolkit::boxOf(mesh);
  const tVector low = toDouble(box.getMinPoint()), high = toDouble(box.getMaxPoint());
  mCenter = mixed(low, high, 0.5);
  mSize = std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
  mFloor = low[mUpAxis];
}

/// Calls function from several threads for every pixel that is in a view: with its column and row in the sheet, the
/// camera, and its position in the view.
template <class tFunction>
void qzRenderer::forEachPixel(const qzSheet& sheet, const qzToolkit::qzThreads& threads,
                              const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress,
                              const tFunction& function) const {
  const auto nbRows = static_cast<std::size_t>(sheet.getHeight());
  threads.forEachBlock(nbRows, kRowsInBlock, &cancel, [&](std::size_t begin, std::size_t end) {
    for (int row = static_cast<int>(begin); row < static_cast<int>(end); ++row) {
      for (int column = 0; column < sheet.getWidth(); ++column) {
        const int view = sheet.getView(column, row);
        if (view >= sheet.getNbViews()) break;  // the rest of the row is empty
        function(column, row, mCameras[static_cast<std::size_t>(view)], column % sheet.getViewWidth(),
                 row % sheet.getViewHeight());
      }
    }
    progress.advance(end - begin);
  });
}

qzToolkit::qzImage qzRenderer::render(const qzSheet& sheet, int nbSamples, const qzToolkit::qzThreads& threads,
                                      const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress,
                                      tStatistics& statistics) const {
  const int width = sheet.getWidth(), height = sheet.getHeight();
  qzToolkit::qzImage image(width, height, kBackground);
  const auto indexOf = [width](int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  };
  std::vector<float> visits(mShading == tShading::eCost ? indexOf(0, height) : 0);
  std::atomic<std::size_t> nbHits{0};
  const auto shootPixel = [&](int column, int row, const qzToolkit::qzCamera& camera, int x, int y) {
    tRandom random(static_cast<std::size_t>(y) * static_cast<std::size_t>(sheet.getViewWidth()) +
                   static_cast<std::size_t>(x));
    tColor color{};
    double nbVisits = 0.0;
    std::size_t nbHitsHere = 0;
    for (int i = 0; i < nbSamples * nbSamples; ++i) {  // stratified: one sample in each cell of the pixel
      const double dx = (i % nbSamples + random.next()) / nbSamples, dy = (i / nbSamples + random.next()) / nbSamples;
      const tSample sample = shoot(camera, (x + dx) / sheet.getViewWidth(), (y + dy) / sheet.getViewHeight(), random);
      color = along(color, 1.0 / (nbSamples * nbSamples), sample.mColor);
      nbVisits += sample.mNbVisits;
      nbHitsHere += sample.mIsHit;
    }
    image.setPixel(column, row, color);
    if (!visits.empty()) visits[indexOf(column, row)] = static_cast<float>(nbVisits / (nbSamples * nbSamples));
    nbHits += nbHitsHere;
  };
  forEachPixel(sheet, threads, cancel, progress, shootPixel);

  const std::size_t nbPixels = static_cast<std::size_t>(sheet.getNbViews()) *
                               static_cast<std::size_t>(sheet.getViewWidth()) *
                               static_cast<std::size_t>(sheet.getViewHeight());
  statistics = {};
  statistics.mNbRays = nbPixels * static_cast<std::size_t>(nbSamples * nbSamples);
  statistics.mNbHits = nbHits;
  if (mShading == tShading::eCost) {
    double sum = 0.0;
    for (float v : visits) sum += v;
    statistics.mMeanVisits = sum / static_cast<double>(nbPixels);
    statistics.mMaxPixelVisits = *std::max_element(visits.begin(), visits.end());
    const double scale = 1.0 / std::max(1.0, statistics.mMaxPixelVisits);
    for (int y = 0; y < height; ++y) {
      qzToolkit::throwIfCanceled(&cancel);
      for (int x = 0; x < width; ++x) image.setPixel(x, y, heat(visits[indexOf(x, y)] * scale));
    }
  }
  return image;
}

qzToolkit::qzFloatMap qzRenderer::measureDepth(const qzSheet& sheet, const qzToolkit::qzThreads& threads,
                                               const qzToolkit::tCancel& cancel,
                                               qzToolkit::qzProgress& progress) const {
  qzToolkit::qzFloatMap depths(sheet.getWidth(), sheet.getHeight(), std::numeric_limits<float>::infinity());
  const auto measurePixel = [&](int column, int row, const qzToolkit::qzCamera& camera, int x, int y) {
    const qzRay ray = rayThrough(camera, (x + 0.5) / sheet.getViewWidth(), (y + 0.5) / sheet.getViewHeight());
    const qzHit hit = castRay(mHierarchy, ray, qzQBVH::eIntersectBothFaces);
    if (hit.isHit()) depths.setPixel(column, row, static_cast<float>(depthOf(hit, ray, camera)));
  };
  forEachPixel(sheet, threads, cancel, progress, measurePixel);
  return depths;
}

qzRenderer::tSample qzRenderer::shoot(const qzToolkit::qzCamera& camera, double x, double y, tRandom& random) const {
  const qzRay ray = rayThrough(camera, x, y);
  tSample sample;
  const qzHit hit = mShading == tShading::eCost
                        ? mHierarchy.castRayCounting(ray, qzQBVH::eIntersectBothFaces, sample.mNbVisits)
                        : castRay(mHierarchy, ray, qzQBVH::eIntersectBothFaces);
  sample.mIsHit = hit.isHit();
  sample.mColor = hit.isHit() ? shadeHit(camera, ray, hit, random) : shadeBackground(ray, random);
  return sample;
}

qzRenderer::tColor qzRenderer::shadeHit(const qzToolkit::qzCamera& camera, const qzRay& ray, const qzHit& hit,
                                        tRandom& random) const {
  const tVector direction = toDouble(ray.mDirection), normal = normalTowards(ray, hit.mTriangle);
  switch (mShading) {
    case tShading::eFacing: {
      // A light at the camera, one from above, and ambient light.
      const double facing = -dot(normal, direction);
      const double fromAbove = std::max(0.0, dot(normal, camera.getUp()));
      const tVector point = along(toDouble(ray.mOrigin), hit.mDistance, direction);
      const double open = unoccluded(point, normal, kOcclusionReach * mSize, kOcclusionRays, random);
      const double light = open * (0.06 + 0.85 * facing * facing + 0.55 * fromAbove * fromAbove) + 0.015;
      return {kSurface[0] * light, kSurface[1] * light, kSurface[2] * light};
    }
    case tShading::eNormal: {
      tColor color;
      for (std::size_t axis = 0; axis < 3; ++axis) color[axis] = std::pow(0.5 + 0.5 * normal[axis], 2.2);
      return color;
    }
    case tShading::eDepth: {
      const double nearest = camera.getNearest(), farthest = camera.getFarthest();
      const double range =
          farthest > nearest ? farthest - nearest : 1.0;  // flat and facing the camera: any range will do
      const double part = (depthOf(hit, ray, camera) - nearest) / range;
      return mixed(kNear, kBackground, 0.9 * std::clamp(part, 0.0, 1.0));
    }
    case tShading::eCost:
      break;
  }
  return {};
}

qzRenderer::tColor qzRenderer::shadeBackground(const qzRay& ray, tRandom& random) const {
  if (mShading != tShading::eFacing) return kBackground;
  const tVector origin = toDouble(ray.mOrigin), direction = toDouble(ray.mDirection);
  const double distance = (mFloor - origin[mUpAxis]) / direction[mUpAxis];
  if (!(direction[mUpAxis] < 0.0 && distance > 0.0)) return kBackground;
  const tVector point = along(origin, distance, direction);
  const double fromMiddle = std::hypot(point[0] - mCenter[0], point[1] - mCenter[1], point[2] - mCenter[2]);
  if (fromMiddle > (0.5 + kShadowReach) * mSize) return kBackground;  // beyond the reach of the shadow
  tVector up{};
  up[mUpAxis] = 1.0;
  const double light = 0.25 + 0.75 * unoccluded(point, up, kShadowReach * mSize, kShadowRays, random);
  return {kBackground[0] * light, kBackground[1] * light, kBackground[2] * light};
}

/// Unit normal on the side that the ray comes from.
qzRenderer::tVector qzRenderer::normalTowards(const qzRay& ray, int triangle) const {
  const auto corners = qzToolkit::cornersOf(mMesh, static_cast<std::size_t>(triangle));
  const tVector a = toDouble(corners[0]), b = toDouble(corners[1]), c = toDouble(corners[2]);
  const tVector normal = cross(difference(b, a), difference(c, a));
  const double length = std::sqrt(dot(normal, normal));
  const double sign = dot(normal, toDouble(ray.mDirection)) > 0.0 ? -1.0 : 1.0;
  return {sign * normal[0] / length, sign * normal[1] / length, sign * normal[2] / length};
}

/// Ambient occlusion of a point: 1 unoccluded, 0 enclosed. Occluders count less the farther they are, and not at all
/// beyond reach.
double qzRenderer::unoccluded(const tVector& point, const tVector& normal, double reach, int nbRays,
                              tRandom& random) const {
  const tVector side = std::abs(normal[0]) < 0.6 ? tVector{1, 0, 0} : tVector{0, 1, 0};
  tVector tangent = cross(normal, side);
  const double length = std::sqrt(dot(tangent, tangent));
  for (double& component : tangent) component /= length;
  const tVector bitangent = cross(normal, tangent);

  double sum = 0.0;
  for (int i = 0; i < nbRays; ++i) {
    // Cosine-weighted direction about the normal.
    const auto [turn, squaredRadius] = random.nextPair();
    const double angle = 2.0 * kPi * turn, radius = std::sqrt(squaredRadius);
    tVector direction = along(tVector{}, std::sqrt(1.0 - squaredRadius), normal);
    direction = along(direction, radius * std::cos(angle), tangent);
    direction = along(direction, radius * std::sin(angle), bitangent);
    qzRay ray;
    ray.mOrigin = toFloat(along(point, 1e-4 * mSize, normal));  // off the surface, against self-occlusion
    ray.mDirection = toFloat(direction);
    ray.mTMax = static_cast<float>(reach);
    const qzHit hit = castRay(mHierarchy, ray, qzQBVH::eIntersectBothFaces);
    sum += hit.isHit() ? hit.mDistance / reach : 1.0;
  }
  return sum / nbRays;
}

}  // namespace qzQuery
