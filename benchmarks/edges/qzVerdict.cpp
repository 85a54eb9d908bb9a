#include <benchmarks/edges/qzVerdict.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzBench {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Error bound of a crossing's distance in floats: some units in the last place of the coordinates, more at grazing
/// angles.
double uncertaintyOf(const qzCrossing& crossing, double largestCoordinate) {
  return 16.0 * 0x1p-24 * largestCoordinate / std::max(std::fabs(crossing.mCosine), 1e-6);
}

/// Largest coordinate of the ray's origin and the scene's box.
double largestCoordinate(const qzScene& scene, const qzRay& ray) {
  double largest = 0.0;
  for (int axis = 0; axis < 3; ++axis)
    largest = std::max({largest, std::fabs(double(ray.mOrigin[axis])), std::fabs(double(scene.mMin[axis])),
                        std::fabs(double(scene.mMax[axis]))});
  return largest;
}

/// The ray's crossings of the triangles, by distance.
std::vector<qzCrossing> crossingsOf(const qzScene& scene, const qzRay& ray, const std::vector<int>& triangles) {
  std::vector<qzCrossing> crossings;
  for (int triangle : triangles)
    if (const std::optional<qzCrossing> crossing = crossingOf(ray, scene, triangle)) crossings.push_back(*crossing);
  std::sort(crossings.begin(), crossings.end(),
            [](const qzCrossing& a, const qzCrossing& b) { return a.mDistance < b.mDistance; });
  return crossings;
}

/// Merges crossings from begin on into one group, as long as the error bounds of their distances overlap. Sets end to
/// the first crossing behind the group. The gaps are left infinite.
qzTruth groupFrom(const std::vector<qzCrossing>& crossings, std::size_t begin, double largest, std::size_t& end) {
  qzTruth group{crossings[begin].mDistance, crossings[begin].mDistance, false, 0, kInfinity, kInfinity};
  double reach = kInfinity;
  int sides = 0;
  bool isClear = true;
  for (end = begin; end < crossings.size(); ++end) {
    const qzCrossing& next = crossings[end];
    const double uncertainty = uncertaintyOf(next, largest);
    if (next.mDistance - uncertainty > reach) break;
    const int side = next.mCosine > 0.0 ? 1 : -1;
    const bool isSamePoint = end > begin && crossings[end - 1].mIsOnEdge && next.mIsOnEdge &&
                             next.mDistance - crossings[end - 1].mDistance <= 1e-14 * std::fabs(next.mDistance);
    if (isSamePoint) {
      isClear &= (crossings[end - 1].mCosine > 0.0) == (next.mCosine > 0.0);
    } else {
      ++group.mNbPoints;
      sides += side;
    }
    group.mEnd = next.mDistance;
    reach = std::max(end > begin ? reach : -kInfinity, next.mDistance + uncertainty);
  }
  group.mIsThrough = isClear && sides != 0;
  return group;
}

}  // namespace

qzTruth truthOf(const qzScene& scene, const qzRay& ray, const std::vector<int>& triangles, double distance) {
  const std::vector<qzCrossing> crossings = crossingsOf(scene, ray, triangles);
  const double largest = largestCoordinate(scene, ray);
  qzTruth nearest{0.0, 0.0, false, 0, kInfinity, kInfinity};
  double nearestGap = kInfinity, endBefore = -kInfinity;
  bool isNearestBefore = false;  // whether the previous group is the nearest so far
  for (std::size_t i = 0, end; i < crossings.size(); i = end) {
    qzTruth group = groupFrom(crossings, i, largest, end);
    group.mGapBefore = group.mBegin - endBefore;
    endBefore = group.mEnd;
    if (isNearestBefore) nearest.mGapAfter = group.mBegin - nearest.mEnd;
    const double gap = std::max({0.0, group.mBegin - distance, distance - group.mEnd});
    isNearestBefore = gap < nearestGap;
    if (!isNearestBefore) continue;
    nearestGap = gap;
    nearest = group;
  }
  return nearest;
}

qzVerdict qzTally::add(const qzTruth& truth, const std::vector<int>& triangles, const std::vector<qzAnswer>& hits) {
  const auto isAtTarget = [&triangles](const qzAnswer& hit) {
    return std::binary_search(triangles.begin(), triangles.end(), static_cast<int>(hit.mTriangle));
  };
  if (truth.mNbPoints == 0) {
    ++mNbMissing;
    mNbFalseHits += std::any_of(hits.begin(), hits.end(), isAtTarget) ? 1 : 0;
    return eFound;
  }
  if (!truth.mIsThrough) return eFound;
  ++mNbRays;
  // Hits that are nearer to this point than to the adjacent ones.
  int nbHits = 0;
  double error = 0.0;
  for (const qzAnswer& hit : hits) {
    const double t = double(hit.mDistance);
    if (!isAtTarget(hit) || t < truth.mBegin - truth.mGapBefore / 2.0 || t > truth.mEnd + truth.mGapAfter / 2.0)
      continue;
    error = std::fabs(t - truth.mBegin);
    ++nbHits;
  }
  if (nbHits == 1 && truth.mNbPoints == 1) mErrors.push_back(static_cast<float>(error));
  if (nbHits == 0) return ++mNbSlipped, eSlipped;
  if (nbHits < truth.mNbPoints) return eFewer;
  if (nbHits == truth.mNbPoints) return eFound;
  return ++mNbTwice, eTwice;
}

}  // namespace qzBench
