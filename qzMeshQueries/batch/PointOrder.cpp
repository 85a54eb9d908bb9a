#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>
#include <qzCommonAddOns/qzDetail/morton/qzRadixSort.h>
#include <qzMeshQueries/batch/PointOrder.h>

#include <algorithm>

namespace qzMeshQueries::detail {

std::vector<std::uint32_t> orderOfPoints(const float (*points)[3], std::size_t count, const float min[3],
                                         const float max[3]) {
  constexpr float kCells = 1 << 10;
  const double edge = std::max(
      {double(max[0]) - double(min[0]), double(max[1]) - double(min[1]), double(max[2]) - double(min[2]), 0x1p-100});
  const auto scale = static_cast<float>(double(kCells) / edge);
  std::vector<std::uint32_t> codes(count), order(count);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t cells[3];
    for (int axis = 0; axis < 3; ++axis) {
      // A NaN is in the first cell.
      const float cell = (points[i][axis] - min[axis]) * scale;
      cells[axis] = cell > 0 ? static_cast<std::uint32_t>(std::min(cell, kCells - 1)) : 0;
    }
    codes[i] = static_cast<std::uint32_t>(qzDetail::encodeMorton3(cells[0], cells[1], cells[2]));
  }
  if (count > 0) qzDetail::sortByCode(codes.data(), order.data(), static_cast<std::uint32_t>(count));
  return order;
}

}  // namespace qzMeshQueries::detail
