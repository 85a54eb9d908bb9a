#include "plain/qzBruteForceCaster.h"

#include "support/qzVectors.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qzPlain {

namespace {

using qzTest::cross;
using qzTest::dot;
using qzTest::minus;
using tVector = Wm4::Vector3<double>;

tVector vectorOf(const Wm4::Vector3<float>& v) {
  return tVector(double(v[0]), double(v[1]), double(v[2]));
}
double length(const tVector& a) {
  return std::sqrt(dot(a, a));
}

constexpr double kMargin = 1e-3;        // of distances
constexpr double kWeightMargin = 2e-3;  // of weights; the library takes 1e-4 outside for inside
constexpr double kGrazing = 0.02;       // cosine between normal and ray
constexpr double kNeedle = 0.003;       // smallest height of a triangle, in scene units

/// The line's intersection with one triangle's plane.
struct tMeeting {
  double mDistance;  // what is to be smallest: s or |s|
  double mWeights[3];
  double mSmallestWeight;
  unsigned int mTriangle;
};

tBruteForceHit castAtAll(const qz::qzTriMesh& mesh, const tVector& origin, const tVector& direction, double low,
                         double high, tSides sides, bool symmetric) {
  const int* indices = mesh.getIndexBuffer()->getIndices();
  const int nbTriangles = mesh.getIndexBuffer()->getNbIndices() / 3;
  tBruteForceHit hit;

  // Every triangle that the line hits or nearly hits, on an accepted side and near the interval.
  std::vector<tMeeting> meetings;
  for (int triangle = 0; triangle < nbTriangles; ++triangle) {
    tVector corner[3];
    for (int v = 0; v < 3; ++v) corner[v] = vectorOf(mesh.getVertexBuffer()->Position3(indices[3 * triangle + v]));
    const tVector e1 = minus(corner[1], corner[0]), e2 = minus(corner[2], corner[0]), normal = cross(e1, e2);
    if (!(length(normal) > 0.0)) continue;

    const double facing = dot(normal, direction);
    const double longest = std::max({length(e1), length(e2), length(minus(e2, e1))});
    const bool isGrazing = std::fabs(facing) < kGrazing * length(normal) * length(direction);
    const bool isNeedle = length(normal) < kNeedle * longest;
    if (isGrazing || isNeedle) {
      const double distanceToLine = length(cross(minus(corner[0], origin), direction)) / length(direction);
      if (distanceToLine < 1.1 * longest) hit.mClear = false;
      continue;
    }
    if ((sides == eFrontSide && facing > 0.0) || (sides == eBackSide && facing < 0.0)) continue;

    const tVector toOrigin = minus(origin, corner[0]), q = cross(direction, e2), r = cross(toOrigin, e1);
    const double determinant = dot(e1, q);
    const double u = dot(toOrigin, q) / determinant, v = dot(direction, r) / determinant;
    const double s = dot(e2, r) / determinant;
    const double smallest = std::min({1.0 - u - v, u, v});
    if (smallest < -kWeightMargin || s < low - kMargin || s > high + kMargin) continue;
    meetings.push_back(
        {symmetric ? std::fabs(s) : s, {1.0 - u - v, u, v}, smallest, static_cast<unsigned int>(triangle)});
    if (std::fabs(s - low) < kMargin || std::fabs(s - high) < kMargin) hit.mClear = false;
  }

  for (const tMeeting& meeting : meetings) {
    if (meeting.mSmallestWeight < 0.0 || (hit.mHit && meeting.mDistance >= hit.mT)) continue;
    hit.mHit = true;
    hit.mT = meeting.mDistance;
    std::copy(meeting.mWeights, meeting.mWeights + 3, hit.mWeights);
    hit.mTriangle = meeting.mTriangle;
  }

  for (const tMeeting& meeting : meetings) {
    const bool isTheHit = hit.mHit && meeting.mTriangle == hit.mTriangle;
    const bool isOutOfReach = hit.mHit && meeting.mDistance > hit.mT + kMargin;
    if (isTheHit ? meeting.mSmallestWeight < kWeightMargin : !isOutOfReach) hit.mClear = false;
  }
  return hit;
}

}  // namespace

tBruteForceHit castAtAll(const qz::qzTriMesh& mesh, const Wm4::Vector3<float>& origin,
                         const Wm4::Vector3<float>& direction, double tMin, double t, tSides sides) {
  return castAtAll(mesh, vectorOf(origin), vectorOf(direction), tMin, t, sides, false);
}

tBruteForceHit castAtAllSymmetric(const qz::qzTriMesh& mesh, const Wm4::Vector3<float>& origin,
                                  const Wm4::Vector3<float>& direction, double t) {
  return castAtAll(mesh, vectorOf(origin), vectorOf(direction), -t, t, eFrontSide, true);
}

}  // namespace qzPlain
