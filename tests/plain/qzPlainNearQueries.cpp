#include "plain/qzPlainNearQueries.h"

#include <qzMeshQueries/kernel/PointTriangle.h>
#include <qzMeshQueries/kernel/Regions.h>

#include <cstddef>

namespace qzPlain {

using namespace qzMeshQueries;

namespace {

/// Calls visit(a, b, c, number) for every triangle, in their order.
template <class Visit>
void forEachTriangle(const Mesh& mesh, std::uint32_t firstTriangle, Visit visit) {
  for (std::size_t i = 0; i < mesh.triangleCount; ++i) {
    const float* corners[3];
    for (std::size_t k = 0; k < 3; ++k) corners[k] = mesh.vertices + 3 * std::size_t(mesh.triangles[3 * i + k]);
    visit(corners[0], corners[1], corners[2], firstTriangle + static_cast<std::uint32_t>(i));
  }
}

}  // namespace

Nearest tNearQueries::nearest(const float point[3], float maxDistance) const {
  Nearest nearest = detail::nothingNear();
  if (!detail::isValidPoint(point)) return nearest;
  forEachTriangle(mMesh, mFirstTriangle, [&](const float* a, const float* b, const float* c, std::uint32_t number) {
    const float distance = detail::distanceTo(point, a, b, c);
    if (distance <= maxDistance && (!nearest || distance < nearest.distance))  // of equal distance, the first stays
      nearest = detail::nearestOn(point, a, b, c, number);
  });
  return nearest;
}

std::vector<std::uint32_t> tNearQueries::trianglesInBox(const float min[3], const float max[3]) const {
  std::vector<std::uint32_t> numbers;
  detail::RegionBox box;
  if (!detail::makeRegionBox(min, max, box)) return numbers;
  forEachTriangle(mMesh, mFirstTriangle, [&](const float* a, const float* b, const float* c, std::uint32_t number) {
    if (detail::liesInBox(box, a, b, c)) numbers.push_back(number);
  });
  return numbers;
}

std::vector<std::uint32_t> tNearQueries::trianglesInSphere(const float center[3], float radius) const {
  std::vector<std::uint32_t> numbers;
  if (!detail::isValidPoint(center)) return numbers;
  forEachTriangle(mMesh, mFirstTriangle, [&](const float* a, const float* b, const float* c, std::uint32_t number) {
    if (detail::distanceTo(center, a, b, c) <= radius) numbers.push_back(number);
  });
  return numbers;
}

std::vector<std::uint32_t> tNearQueries::trianglesInRegion(const float (*planes)[4], std::size_t count) const {
  std::vector<std::uint32_t> numbers;
  forEachTriangle(mMesh, mFirstTriangle, [&](const float* a, const float* b, const float* c, std::uint32_t number) {
    if (detail::liesInRegion(planes, count, a, b, c)) numbers.push_back(number);
  });
  return numbers;
}

}  // namespace qzPlain
