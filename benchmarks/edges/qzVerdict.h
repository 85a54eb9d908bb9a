#pragma once
// Holds the hits that a query reports along a ray against those that there are.

#include <vector>

#include <benchmarks/edges/qzExactRay.h>

namespace qzBench {

/// Where a ray meets the surface around the target, decided exactly: points so close together that floats can hardly
/// tell their distances apart, which is one point as a rule.
struct qzTruth {
  double mBegin, mEnd;           ///< from the first point to the last one
  bool mIsThrough;               ///< whether the ray changes sides there for sure, and does not just touch
  int mNbPoints;                 ///< a shared edge or corner met exactly is one
  double mGapBefore, mGapAfter;  ///< to the next points of the same triangles, infinite when there are none
};

/// The points that lie nearest to distance, of those that ray and triangles have in common; none: mNbPoints is 0.
qzTruth truthOf(const qzScene& scene, const qzRay& ray, const std::vector<int>& triangles, double distance);

/// What became of a ray at its target.
enum qzVerdict {
  eFound,    ///< as many hits as points
  eSlipped,  ///< passes through the surface without a hit
  eTwice,    ///< more hits than points
  eFewer,    ///< a hit, but fewer than points: two lie so close together that one is passed over
};

/// Counts of one contestant. Rays that only touch the surface within the accuracy of floats count nowhere.
struct qzTally {
  long long mNbRays = 0;                   ///< which pass through the surface at the target
  long long mNbSlipped = 0, mNbTwice = 0;  ///< of these
  long long mNbPassing = 0;                ///< rays that pass by all triangles at the target
  long long mNbBeside = 0;                 ///< of these, with a hit on one of them
  std::vector<float> mErrors;              ///< from the hit to the point, where there is one of each

  /// hits in ascending order, all along the ray.
  qzVerdict add(const qzTruth& truth, const std::vector<int>& triangles, const std::vector<qzAnswer>& hits);
};

}  // namespace qzBench
