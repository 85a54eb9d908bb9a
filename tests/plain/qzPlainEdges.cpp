#include "plain/qzPlainEdges.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <utility>

namespace qzPlain {

bool isClosed(const qzMeshQueries::Mesh& mesh) {
  using tPlace = std::array<float, 3>;
  const auto placeOf = [&](std::size_t corner) {
    const float* const p = mesh.vertices + 3 * std::size_t(mesh.triangles[corner]);
    return tPlace{p[0] + 0.0f, p[1] + 0.0f, p[2] + 0.0f};  // a sum with 0 is never -0
  };
  std::map<std::pair<tPlace, tPlace>, int> balance;
  for (std::size_t i = 0; i < 3 * mesh.triangleCount; ++i) {
    const tPlace from = placeOf(i), to = placeOf(i % 3 == 2 ? i - 2 : i + 1);
    if (from < to) ++balance[{from, to}];
    if (to < from) --balance[{to, from}];
  }
  return std::all_of(balance.begin(), balance.end(), [](const auto& entry) { return entry.second == 0; });
}

}  // namespace qzPlain
