#include <qzMeshQueries/tree/Edges.h>

#include <algorithm>
#include <array>
#include <vector>

namespace qzMeshQueries::detail {

namespace {

struct Place {
  std::array<float, 3> position;
  std::uint32_t vertex;
};

}  // namespace

bool isClosed(const WideTree& tree) {
  // The vertices of all blocks, sorted by position; equal ones get the number of the first.
  std::vector<Place> places;
  places.reserve(tree.vertexNumbers.size());
  forEachBlock(tree, [&](const Block& block) {
    for (int i = 0; i < block.head->vertexCount; ++i)
      places.push_back(
          {{block.row(0)[i] + 0.0f, block.row(1)[i] + 0.0f, block.row(2)[i] + 0.0f}, std::uint32_t(places.size())});
  });
  std::sort(places.begin(), places.end(), [](const Place& p, const Place& q) { return p.position < q.position; });
  std::vector<std::uint32_t> number(places.size());
  for (std::size_t i = 0, first = 0; i < places.size(); ++i) {
    if (places[i].position != places[first].position) first = i;
    number[places[i].vertex] = std::uint32_t(first);
  }

  // Each edge as a pair of numbers, the smaller one first, with the direction in the last bit. Sorted, the uses of an edge
  // stand together.
  std::vector<std::pair<std::uint64_t, int>> edges;
  std::size_t firstVertex = 0;
  forEachBlock(tree, [&](const Block& block) {
    for (int i = 0; i < block.head->triangleCount; ++i)
      for (int side = 0; side < 3; ++side) {
        const std::uint64_t from = number[firstVertex + block.head->corner[side][i]];
        const std::uint64_t to = number[firstVertex + block.head->corner[(side + 1) % 3][i]];
        if (from < to) edges.emplace_back(from << 32 | to, 1);
        if (from > to) edges.emplace_back(to << 32 | from, -1);
      }
    firstVertex += block.head->vertexCount;
  });
  std::sort(edges.begin(), edges.end());
  long long balance = 0;
  for (std::size_t i = 0; i < edges.size(); ++i) {
    if (i > 0 && edges[i].first != edges[i - 1].first && balance != 0) return false;
    balance += edges[i].second;
  }
  return balance == 0;
}

}  // namespace qzMeshQueries::detail
