#include <apps/qzquery/picture/qzRenderer.h>

#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzVectorMath.h>

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
constexpr std::size_t kRaysInBatch = 4096;  // or those of one pixel

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

qzRenderer::qzRenderer(const qz::qzTriMesh& mesh, qzToolkit::tBatchCaster cast, const qzToolkit::qzHierarchy& hierarchy,
                       std::vector<qzToolkit::qzCamera> cameras, qzToolkit::qzCamera::tUp up, tShading shading)
    : mMesh(mesh),
      mCast(std::move(cast)),
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

/// A pixel that is in a view: its place in the sheet, and its camera and place in the view.
struct qzRenderer::tPixel {
  int mColumn, mRow;
  const qzToolkit::qzCamera* mCamera;
  int mX, mY;
};

/// Calls function from several threads with all pixels that are in a view, in batches of at most nbPixelsInBatch.
template <class tFunction>
void qzRenderer::forEachBatch(const qzSheet& sheet, std::size_t nbPixelsInBatch, const qzToolkit::qzThreads& threads,
                              const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress,
                              const tFunction& function) const {
  const auto nbRows = static_cast<std::size_t>(sheet.getHeight());
  threads.forEachBlock(nbRows, kRowsInBlock, &cancel, [&](std::size_t begin, std::size_t end) {
    std::vector<tPixel> pixels;
    for (int row = static_cast<int>(begin); row < static_cast<int>(end); ++row) {
      for (int column = 0; column < sheet.getWidth(); ++column) {
        const int view = sheet.getView(column, row);
        if (view >= sheet.getNbViews()) break;  // the rest of the row is empty
        pixels.push_back({column, row, &mCameras[static_cast<std::size_t>(view)], column % sheet.getViewWidth(),
                          row % sheet.getViewHeight()});
        if (pixels.size() < nbPixelsInBatch) continue;
        function(pixels);
        pixels.clear();
      }
    }
    if (!pixels.empty()) function(pixels);
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
  const auto samplesAside = static_cast<std::size_t>(nbSamples), nbSamplesOfPixel = samplesAside * samplesAside;
  const auto shootPixels = [&](const std::vector<tPixel>& pixels) {
    std::vector<tRandom> randoms;
    std::vector<qzRay> rays;
    for (const tPixel& pixel : pixels) {
      tRandom& random =
          randoms.emplace_back(static_cast<std::size_t>(pixel.mY) * static_cast<std::size_t>(sheet.getViewWidth()) +
                               static_cast<std::size_t>(pixel.mX));
      for (int i = 0; i < nbSamples * nbSamples; ++i) {  // stratified: one sample in each cell of the pixel
        const double dx = (i % nbSamples + random.next()) / nbSamples, dy = (i / nbSamples + random.next()) / nbSamples;
        rays.push_back(rayThrough(*pixel.mCamera, (pixel.mX + dx) / sheet.getViewWidth(),
                                  (pixel.mY + dy) / sheet.getViewHeight()));
      }
    }
    std::vector<unsigned> nbVisits(visits.empty() ? 0 : rays.size());
    const std::vector<qzHit> hits = visits.empty() ? cast(rays) : castCounting(rays, nbVisits);

    std::vector<tSample> samples;
    std::vector<qzRay> feelers;  // of all samples
    for (std::size_t i = 0; i < rays.size(); ++i) {
      const std::size_t no = i / nbSamplesOfPixel;
      samples.push_back(hits[i].isHit() ? shadeHit(*pixels[no].mCamera, rays[i], hits[i], randoms[no], feelers)
                                        : shadeBackground(rays[i], randoms[no], feelers));
    }
    const std::vector<qzHit> occluders = cast(feelers);
    const qzHit* nextOccluder = occluders.data();
    std::size_t nbHitsHere = 0;
    for (std::size_t no = 0; no < pixels.size(); ++no) {
      tColor color{};
      double sumOfVisits = 0.0;
      for (std::size_t i = no * nbSamplesOfPixel; i < (no + 1) * nbSamplesOfPixel; ++i) {
        color = along(color, 1.0 / (nbSamples * nbSamples), colorOf(samples[i], nextOccluder));
        nextOccluder += samples[i].mNbFeelers;
        nbHitsHere += hits[i].isHit();
        if (!nbVisits.empty()) sumOfVisits += nbVisits[i];
      }
      image.setPixel(pixels[no].mColumn, pixels[no].mRow, color);
      if (!visits.empty()) {
        visits[indexOf(pixels[no].mColumn, pixels[no].mRow)] =
            static_cast<float>(sumOfVisits / (nbSamples * nbSamples));
      }
    }
    nbHits += nbHitsHere;
  };
  forEachBatch(sheet, std::max<std::size_t>(kRaysInBatch / nbSamplesOfPixel, 1), threads, cancel, progress,
               shootPixels);

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
  const auto measurePixels = [&](const std::vector<tPixel>& pixels) {
    std::vector<qzRay> rays;
    for (const tPixel& pixel : pixels) {
      rays.push_back(rayThrough(*pixel.mCamera, (pixel.mX + 0.5) / sheet.getViewWidth(),
                                (pixel.mY + 0.5) / sheet.getViewHeight()));
    }
    const std::vector<qzHit> hits = cast(rays);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      if (!hits[i].isHit()) continue;
      depths.setPixel(pixels[i].mColumn, pixels[i].mRow,
                      static_cast<float>(depthOf(hits[i], rays[i], *pixels[i].mCamera)));
    }
  };
  forEachBatch(sheet, kRaysInBatch, threads, cancel, progress, measurePixels);
  return depths;
}

std::vector<qzHit> qzRenderer::cast(const std::vector<qzRay>& rays) const {
  std::vector<qzHit> hits(rays.size());
  mCast(rays.data(), rays.size(), hits.data());
  return hits;
}

std::vector<qzHit> qzRenderer::castCounting(const std::vector<qzRay>& rays, std::vector<unsigned>& nbVisits) const {
  std::vector<qzHit> hits;
  for (std::size_t i = 0; i < rays.size(); ++i) {
    hits.push_back(mHierarchy.castRayCounting(rays[i], qzQBVH::eIntersectBothFaces, nbVisits[i]));
  }
  return hits;
}

qzRenderer::tSample qzRenderer::shadeHit(const qzToolkit::qzCamera& camera, const qzRay& ray, const qzHit& hit,
                                         tRandom& random, std::vector<qzRay>& feelers) const {
  const tVector direction = toDouble(ray.mDirection), normal = normalTowards(ray, hit.mTriangle);
  tSample sample;
  switch (mShading) {
    case tShading::eFacing: {
      // A light at the camera, one from above, and ambient light.
      const double facing = -dot(normal, direction);
      const double fromAbove = std::max(0.0, dot(normal, camera.getUp()));
      sample.mColor = kSurface;
      sample.mLightIfOpen = 0.06 + 0.85 * facing * facing + 0.55 * fromAbove * fromAbove;
      sample.mLightAlways = 0.015;
      sample.mReach = kOcclusionReach * mSize;
      sample.mNbFeelers = kOcclusionRays;
      addFeelers(sample, along(toDouble(ray.mOrigin), hit.mDistance, direction), normal, random, feelers);
      break;
    }
    case tShading::eNormal:
      for (std::size_t axis = 0; axis < 3; ++axis) sample.mColor[axis] = std::pow(0.5 + 0.5 * normal[axis], 2.2);
      break;
    case tShading::eDepth: {
      const double nearest = camera.getNearest(), farthest = camera.getFarthest();
      const double range =
          farthest > nearest ? farthest - nearest : 1.0;  // flat and facing the camera: any range will do
      const double part = (depthOf(hit, ray, camera) - nearest) / range;
      sample.mColor = mixed(kNear, kBackground, 0.9 * std::clamp(part, 0.0, 1.0));
      break;
    }
    case tShading::eCost:
      break;
  }
  return sample;
}

qzRenderer::tSample qzRenderer::shadeBackground(const qzRay& ray, tRandom& random, std::vector<qzRay>& feelers) const {
  tSample sample;
  sample.mColor = kBackground;
  if (mShading != tShading::eFacing) return sample;
  const tVector origin = toDouble(ray.mOrigin), direction = toDouble(ray.mDirection);
  const double distance = (mFloor - origin[mUpAxis]) / direction[mUpAxis];
  if (!(direction[mUpAxis] < 0.0 && distance > 0.0)) return sample;
  const tVector point = along(origin, distance, direction);
  const double fromMiddle = std::hypot(point[0] - mCenter[0], point[1] - mCenter[1], point[2] - mCenter[2]);
  if (fromMiddle > (0.5 + kShadowReach) * mSize) return sample;  // beyond the reach of the shadow
  tVector up{};
  up[mUpAxis] = 1.0;
  sample.mLightIfOpen = 0.75;
  sample.mLightAlways = 0.25;
  sample.mReach = kShadowReach * mSize;
  sample.mNbFeelers = kShadowRays;
  addFeelers(sample, point, up, random, feelers);
  return sample;
}

/// The colour of a sample, whose feelers end at occluders.
qzRenderer::tColor qzRenderer::colorOf(const tSample& sample, const qzHit* occluders) {
  if (sample.mNbFeelers == 0) return sample.mColor;
  // 1 unoccluded, 0 enclosed. Occluders count less the farther they are, and not at all beyond reach.
  double sum = 0.0;
  for (int i = 0; i < sample.mNbFeelers; ++i) {
    sum += occluders[i].isHit() ? occluders[i].mDistance / sample.mReach : 1.0;
  }
  const double light = sum / sample.mNbFeelers * sample.mLightIfOpen + sample.mLightAlways;
  return {sample.mColor[0] * light, sample.mColor[1] * light, sample.mColor[2] * light};
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

/// Appends the rays of a sample that look for occluders of a point on a surface.
void qzRenderer::addFeelers(const tSample& sample, const tVector& point, const tVector& normal, tRandom& random,
                            std::vector<qzRay>& feelers) const {
  const tVector side = std::abs(normal[0]) < 0.6 ? tVector{1, 0, 0} : tVector{0, 1, 0};
  tVector tangent = cross(normal, side);
  const double length = std::sqrt(dot(tangent, tangent));
  for (double& component : tangent) component /= length;
  const tVector bitangent = cross(normal, tangent);

  for (int i = 0; i < sample.mNbFeelers; ++i) {
    // Cosine-weighted direction about the normal.
    const auto [turn, squaredRadius] = random.nextPair();
    const double angle = 2.0 * kPi * turn, radius = std::sqrt(squaredRadius);
    tVector direction = along(tVector{}, std::sqrt(1.0 - squaredRadius), normal);
    direction = along(direction, radius * std::cos(angle), tangent);
    direction = along(direction, radius * std::sin(angle), bitangent);
    qzRay ray;
    ray.mOrigin = toFloat(along(point, 1e-4 * mSize, normal));  // off the surface, against self-occlusion
    ray.mDirection = toFloat(direction);
    ray.mTMax = static_cast<float>(sample.mReach);
    feelers.push_back(ray);
  }
}

}  // namespace qzQuery
