#include <benchmarks/edges/qzVerdict.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzBench {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// How well a float knows the distance of a crossing: some units of the last digit of the coordinates, the more the
/// flatter the ray comes in.
double uncertaintyOf(const qzCrossing& crossing, double largestCoordinate) {
  return 16.0 * 0x1p-24 * largestCoordinate / std::max(std::fabs(crossing.mCosine), 1e-6);
}

}  // namespace

qzTruth truthOf(const qzScene& scene, const qzRay& ray, const std::vector<int>& triangles, double distance) {
  std::vector<qzCrossing> crossings;
  for (int triangle : triangles)
    if (const std::optional<qzCrossing> crossing = crossingOf(ray, scene, triangle)) crossings.push_back(*crossing);
  std::sort(crossings.begin(), crossings.end(),
            [](const qzCrossing& a, const qzCrossing& b) { return a.mDistance < b.mDistance; });
  double largest = 0.0;
  for (int axis = 0; axis < 3; ++axis)
    largest = std::max({largest, std::fabs(double(ray.mOrigin[axis])), std::fabs(double(scene.mMin[axis])),
                        std::fabs(double(scene.mMax[axis]))});

  qzTruth nearest{0.0, 0.0, false, 0, kInfinity, kInfinity};
  double nearestGap = kInfinity, endBefore = -kInfinity;
  bool isNearestBefore = false;
  for (std::size_t i = 0, end; i < crossings.size(); i = end) {
    qzTruth group{crossings[i].mDistance, crossings[i].mDistance, false, 0, kInfinity, kInfinity};
    double reach = kInfinity;
    int sides = 0;
    bool isClear = true;
    for (end = i; end < crossings.size(); ++end) {
      const qzCrossing& next = crossings[end];
      const double uncertainty = uncertaintyOf(next, largest);
      if (next.mDistance - uncertainty > reach) break;
      const int side = next.mCosine > 0.0 ? 1 : -1;
      const bool isSamePoint = end > i && crossings[end - 1].mIsOnEdge && next.mIsOnEdge &&
                               next.mDistance - crossings[end - 1].mDistance <= 1e-14 * std::fabs(next.mDistance);
      if (isSamePoint) {
        isClear &= (crossings[end - 1].mCosine > 0.0) == (next.mCosine > 0.0);
      } else {
        ++group.mNbPoints;
        sides += side;
      }
      group.mEnd = next.mDistance;
      reach = std::max(end > i ? reach : -kInfinity, next.mDistance + uncertainty);
    }
    group.mIsThrough = isClear && sides != 0;
    group.mGapBefore = group.mBegin - endBefore;
    endBefore = group.mEnd;
    if (isNearestBefore) nearest.mGapAfter = group.mBegin - nearest.mEnd;
    isNearestBefore = false;
    const double gap = std::max({0.0, group.mBegin - distance, distance - group.mEnd});
    if (gap >= nearestGap) continue;
    nearestGap = gap;
    nearest = group;
    isNearestBefore = true;
  }
  return nearest;
}

qzVerdict qzTally::add(const qzTruth& truth, const std::vector<int>& triangles, const std::vector<qzAnswer>& hits) {
  const auto isAtTarget = [&triangles](const qzAnswer& hit) {
    return std::binary_search(triangles.begin(), triangles.end(), static_cast<int>(hit.mTriangle));
  };
  if (truth.mNbPoints == 0) {
    ++mNbPassing;
    mNbBeside += std::any_of(hits.begin(), hits.end(), isAtTarget) ? 1 : 0;
    return eFound;
  }
  if (!truth.mIsThrough) return eFound;
  ++mNbRays;
  // A hit belongs to the points that it is nearest to.
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
