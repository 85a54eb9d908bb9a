#pragma once
// Compares the hits that a contestant reports along a ray with the exact ones.

#include <vector>

#include <benchmarks/edges/qzExactRay.h>

namespace qzBench {

/// The exact intersection of a ray with the surface around its target: usually one point, or several at distances that
/// floats cannot separate.
struct qzTruth {
  double mBegin, mEnd;           ///< distances of the first and last point
  bool mIsThrough;               ///< whether the ray certainly crosses the surface, and does not just touch it
  int mNbPoints;                 ///< a shared edge or vertex that is hit exactly is one
  double mGapBefore, mGapAfter;  ///< to the adjacent points on the same triangles, infinite if there are none
};

/// The intersection of the ray with the triangles that is nearest to distance. mNbPoints is 0 if there is none.
qzTruth truthOf(const qzScene& scene, const qzRay& ray, const std::vector<int>& triangles, double distance);

/// The result of a ray at its target.
enum qzVerdict {
  eFound,    ///< as many hits as points
  eSlipped,  ///< crosses the surface without a hit
  eTwice,    ///< more hits than points
  eFewer,    ///< a hit, but fewer than points: the next query began behind a second point
};

/// Counts of one contestant. Rays that only touch the surface, within the accuracy of floats, do not count.
struct qzTally {
  long long mNbRays = 0;                   ///< rays that cross the surface at the target
  long long mNbSlipped = 0, mNbTwice = 0;  ///< of these
  long long mNbMissing = 0;                ///< rays that miss all triangles at the target
  long long mNbFalseHits = 0;              ///< of these, with a reported hit on one of them
  std::vector<float> mErrors;              ///< distance errors, of rays with one point and one hit

  /// hits: all hits along the ray, in ascending order.
  qzVerdict add(const qzTruth& truth, const std::vector<int>& triangles, const std::vector<qzAnswer>& hits);
};

}  // namespace qzBench
