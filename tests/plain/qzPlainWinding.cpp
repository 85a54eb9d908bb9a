#include "plain/qzPlainWinding.h"

#include <qzMeshQueries/kernel/EdgeAngle.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "plain/qzPlainRayQueries.h"

namespace qzPlain {

using namespace qzMeshQueries;

namespace {

using tPlace = std::array<float, 3>;

const float* cornerOf(const Mesh& mesh, std::size_t corner) {
  return mesh.vertices + 3 * std::size_t(mesh.triangles[corner]);
}

tPlace placeOf(const Mesh& mesh, std::size_t corner) {
  const float* const p = cornerOf(mesh, corner);
  return {p[0] + 0.0f, p[1] + 0.0f, p[2] + 0.0f};  // a sum with 0 is never -0
}

}  // namespace

tWinding::tWinding(const Mesh& mesh) : mMesh(mesh) {
  std::map<std::pair<tPlace, tPlace>, int> balance;
  for (std::size_t i = 0; i < 3 * mesh.triangleCount; ++i) {
    const tPlace from = placeOf(mesh, i), to = placeOf(mesh, i % 3 == 2 ? i - 2 : i + 1);
    if (from == to) continue;
    ++balance[{from, to}];
    --balance[{to, from}];
  }
  std::map<tPlace, std::multiset<tPlace>> leaving;
  for (const auto& [edge, count] : balance)
    for (int i = 0; i < count; ++i) {
      leaving[edge.first].insert(edge.second);
      ++mNbEdges;
    }
  // Chains: from the first place with an edge left, always to the first place, until there is no way on.
  for (auto& [first, others] : leaving)
    while (!others.empty()) {
      tPlace place = first;
      for (;;) {
        const auto found = leaving.find(place);
        if (found == leaving.end() || found->second.empty()) break;
        mSteps.push_back({place, true});
        place = *found->second.begin();
        found->second.erase(found->second.begin());
      }
      mSteps.push_back({place, false});
    }
  while (mSteps.size() % detail::kTurnings != 0) mSteps.push_back({{}, false});
}

double tWinding::windingNumber(const float point[3]) const {
  detail::RayFrame frame;
  const Ray ray = detail::windingRay(point);
  if (!detail::makeRayFrame(ray, frame)) return 0;
  detail::Turning sums[detail::kTurnings];
  for (std::size_t i = 0; i < mSteps.size(); ++i) {
    detail::EdgeTurn turn = {1, 0, 0};
    if (mSteps[i].isEdge) {
      const float *const from = mSteps[i].place.data(), *const to = mSteps[i + 1].place.data();
      turn = detail::turnOf(frame, from, to, detail::project(from, point), detail::project(to, point));
    }
    detail::add(sums[i % detail::kTurnings], turn);
  }
  return detail::windingOf(tRayQueries(mMesh).crossings(ray), detail::joinTurnings(sums));
}

namespace {

struct tVector {
  long double x, y, z;
};
tVector operator-(const tVector& a, const tVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
tVector operator+(const tVector& a, const tVector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
tVector operator*(long double s, const tVector& a) {
  return {s * a.x, s * a.y, s * a.z};
}
long double dot(const tVector& a, const tVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
tVector cross(const tVector& a, const tVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
long double lengthOf(const tVector& a) {
  return std::sqrt(dot(a, a));
}
tVector vectorOf(const float p[3]) {
  return {p[0], p[1], p[2]};
}

long double distanceFromSegment(const tVector& a, const tVector& b) {
  const tVector along = b - a;
  const long double square = dot(along, along);
  const long double s = square > 0 ? std::clamp(-dot(a, along) / square, 0.0L, 1.0L) : 0.0L;
  return lengthOf(a + s * along);
}

}  // namespace

long double solidAngles(const Mesh& mesh, const float point[3]) {
  long double sum = 0;
  for (std::size_t i = 0; i < 3 * mesh.triangleCount; i += 3) {
    const tVector p = vectorOf(point);
    const tVector a = vectorOf(cornerOf(mesh, i)) - p, b = vectorOf(cornerOf(mesh, i + 1)) - p,
                  c = vectorOf(cornerOf(mesh, i + 2)) - p;
    const long double lengthA = lengthOf(a), lengthB = lengthOf(b), lengthC = lengthOf(c);
    const long double volume = dot(a, cross(b, c));
    sum += std::atan2(volume,
                      lengthA * lengthB * lengthC + dot(a, b) * lengthC + dot(b, c) * lengthA + dot(c, a) * lengthB);
  }
  return sum / (2 * std::acos(-1.0L));
}

long double distanceFrom(const Mesh& mesh, const float point[3]) {
  long double least = std::numeric_limits<long double>::infinity();
  for (std::size_t i = 0; i < 3 * mesh.triangleCount; i += 3) {
    const tVector p = vectorOf(point);
    const tVector corners[3] = {vectorOf(cornerOf(mesh, i)) - p, vectorOf(cornerOf(mesh, i + 1)) - p,
                                vectorOf(cornerOf(mesh, i + 2)) - p};
    const tVector normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    bool isAbove = dot(normal, normal) > 0;
    for (int k = 0; k < 3; ++k) {
      const tVector &a = corners[k], &b = corners[(k + 1) % 3];
      least = std::min(least, distanceFromSegment(a, b));
      isAbove = isAbove && dot(cross(normal, b - a), a) <= 0;
    }
    if (isAbove) least = std::min(least, std::fabs(dot(normal, corners[0])) / lengthOf(normal));
  }
  return least;
}

}  // namespace qzPlain
