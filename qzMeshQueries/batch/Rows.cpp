#include <qzMeshQueries/batch/Batches.h>

#include <cmath>

namespace qzMeshQueries::detail {

namespace {

// How far the points at t = 1 of two rays are apart.
float step(const Ray& p, const Ray& q) {
  float sum = 0;
  for (int i = 0; i < 3; ++i) sum += std::fabs((q.origin[i] + q.direction[i]) - (p.origin[i] + p.direction[i]));
  return sum;
}

}  // namespace

std::size_t findRowLength(const Ray* rays, std::size_t count) {
  constexpr std::size_t kLongest = 1 << 14;
  if (count < 16) return 0;
  const float usual = step(rays[0], rays[1]);
  std::size_t length = 0;
  for (std::size_t i = 2; i < std::min(count, kLongest); ++i)
    if (!(step(rays[i - 1], rays[i]) < 4 * usual)) {
      length = i;
      break;
    }
  const bool isRow = length >= 4 && 2 * length < count && step(rays[length], rays[length + 1]) < 4 * usual &&
                     !(step(rays[2 * length - 1], rays[2 * length]) < 4 * usual);
  return isRow ? length : 0;
}

}  // namespace qzMeshQueries::detail
