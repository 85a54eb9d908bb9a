#include <qzMeshQueries/tree/Edges.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace qzMeshQueries::detail {

namespace {

// Numbers the places at which there are vertices.
class Places {
 public:
  explicit Places(std::size_t maxCount) {
    std::size_t size = 16;
    while (size < 2 * maxCount) size *= 2;
    mTable.assign(size, 0);
  }

  std::uint32_t numberOf(const std::array<float, 3>& position) {
    const std::size_t mask = mTable.size() - 1;
    for (std::size_t slot = hashOf(position) & mask;; slot = (slot + 1) & mask) {
      const std::uint32_t number = mTable[slot];  // + 1; 0: free
      if (number == 0) {
        mPositions.push_back(position);
        return mTable[slot] = std::uint32_t(mPositions.size()), std::uint32_t(mPositions.size() - 1);
      }
      if (mPositions[number - 1] == position) return number - 1;
    }
  }

  const std::vector<std::array<float, 3>>& positions() const { return mPositions; }

 private:
  static std::size_t hashOf(const std::array<float, 3>& position) {
    std::uint64_t hash = 0;
    for (const float x : position) {
      std::uint32_t bits;
      std::memcpy(&bits, &x, 4);
      hash = (hash ^ bits) * 0x9E3779B97F4A7C15u;
      hash ^= hash >> 29;
    }
    return std::size_t(hash ^ hash >> 32);
  }

  std::vector<std::uint32_t> mTable;
  std::vector<std::array<float, 3>> mPositions;
};

// Calls visit(from, to) for every edge of every triangle, by the places of its ends.
template <class Visit>
void forEachEdge(const WideTree& tree, const AlignedArray<std::uint32_t>& places, const Visit& visit) {
  const std::uint32_t* own = places.data();
  forEachBlock(tree, [&](const Block& block) {
    for (int i = 0; i < block.triangleCount(); ++i)
      for (int side = 0; side < 3; ++side) {
        const std::uint32_t from = own[block.corners(side)[i]], to = own[block.corners((side + 1) % 3)[i]];
        if (from != to) visit(from, to);
      }
    own += block.vertexCount();
  });
}

struct Edge {
  std::uint32_t from, to;  // numbers of places
};

// The edges of the boundary, in any order.
std::vector<Edge> findBoundaryEdges(const WideTree& tree, std::vector<std::array<float, 3>>& positions) {
  // The place of each vertex of each block. A sum with 0 makes both zeros one.
  AlignedArray<std::uint32_t> placeOf(tree.vertexNumbers.size());
  {
    Places places(tree.vertexNumbers.size());
    std::size_t i = 0;
    forEachBlock(tree, [&](const Block& block) {
      for (int k = 0; k < block.vertexCount(); ++k)
        placeOf[i++] = places.numberOf({block.row(0)[k] + 0.0f, block.row(1)[k] + 0.0f, block.row(2)[k] + 0.0f});
    });
    positions = places.positions();
  }
  const std::size_t nbPlaces = positions.size();

  // The other ends of all edges between a place and one of a larger number: those that leave the place from the start of
  // its range on, those that come to it from the end backwards.
  std::vector<std::uint32_t> starts(nbPlaces + 1);
  forEachEdge(tree, placeOf, [&](std::uint32_t from, std::uint32_t to) { ++starts[std::min(from, to)]; });
  std::uint32_t sum = 0;
  for (std::uint32_t& start : starts) start = sum += start;
  // starts[i] is where range i ends; placing edges from the end backwards leaves there where the leaving ones end.
  AlignedArray<std::uint32_t> others(sum);
  std::vector<std::uint32_t> nbLeaving(nbPlaces);
  forEachEdge(tree, placeOf, [&](std::uint32_t from, std::uint32_t to) {
    if (from < to)
      ++nbLeaving[from];
    else
      others[--starts[to]] = from;
  });
  // Now starts[i] is where the coming ones of range i begin.
  std::vector<std::uint32_t> placed(nbPlaces);
  forEachEdge(tree, placeOf, [&](std::uint32_t from, std::uint32_t to) {
    if (from < to) others[starts[from] - nbLeaving[from] + placed[from]++] = to;
  });

  std::vector<Edge> edges;
  for (std::uint32_t i = 0; i < nbPlaces; ++i) {
    std::uint32_t* const middle = others.data() + starts[i];
    std::uint32_t* leaving = middle - nbLeaving[i];
    std::uint32_t* const end = i + 1 < nbPlaces ? others.data() + starts[i + 1] - nbLeaving[i + 1] : others.end();
    std::sort(leaving, middle);
    std::sort(middle, end);
    // What is left of each when pairs are taken away.
    std::uint32_t* coming = middle;
    while (leaving != middle || coming != end) {
      if (coming == end || (leaving != middle && *leaving < *coming)) {
        edges.push_back({i, *leaving++});
      } else if (leaving == middle || *coming < *leaving) {
        edges.push_back({*coming++, i});
      } else {
        ++leaving;
        ++coming;
      }
    }
  }
  return edges;
}

// Numbers the places that are ends of edges anew, by their order, and keeps only these.
void orderPlaces(std::vector<Edge>& edges, std::vector<std::array<float, 3>>& positions) {
  std::vector<std::uint32_t> used;
  used.reserve(2 * edges.size());
  for (const Edge& edge : edges) used.push_back(edge.from);  // as many begin at a place as end there
  std::sort(used.begin(), used.end(), [&](std::uint32_t a, std::uint32_t b) { return positions[a] < positions[b]; });
  used.erase(std::unique(used.begin(), used.end()), used.end());
  std::vector<std::uint32_t> numberOf(positions.size());
  std::vector<std::array<float, 3>> kept(used.size());
  for (std::uint32_t i = 0; i < used.size(); ++i) {
    numberOf[used[i]] = i;
    kept[i] = positions[used[i]];
  }
  for (Edge& edge : edges) edge = {numberOf[edge.from], numberOf[edge.to]};
  positions.swap(kept);
}

}  // namespace

Boundary findBoundary(const WideTree& tree) {
  Boundary boundary;
  std::vector<std::array<float, 3>> positions;
  std::vector<Edge> edges = findBoundaryEdges(tree, positions);
  if (edges.empty()) return boundary;
  orderPlaces(edges, positions);
  std::sort(edges.begin(), edges.end(),
            [](const Edge& a, const Edge& b) { return a.from != b.from ? a.from < b.from : a.to < b.to; });

  // Edges from starts[i] to starts[i + 1] leave place i; those before next[i] are in a chain.
  std::vector<std::size_t> starts(positions.size() + 1);
  for (const Edge& edge : edges) ++starts[edge.from + 1];
  for (std::size_t i = 0; i < positions.size(); ++i) starts[i + 1] += starts[i];
  std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
  constexpr std::uint64_t kIsLast = std::uint64_t(1) << 32;  // of a chain
  std::vector<std::uint64_t> steps;                          // places
  steps.reserve(edges.size() + edges.size() / 3 + 1);
  for (std::uint32_t first = 0; first < positions.size(); ++first)
    while (next[first] < starts[first + 1]) {
      std::uint32_t place = first;
      while (next[place] < starts[place + 1]) {
        steps.push_back(place);
        place = edges[next[place]++].to;
      }
      steps.push_back(place | kIsLast);
    }

  boundary.edgeCount = edges.size();
  const std::size_t nbGroups = (steps.size() + Boundary::kGroup - 1) / Boundary::kGroup;
  for (AlignedArray<float>& row : boundary.rows) {
    row = AlignedArray<float>(nbGroups * Boundary::kGroup);
    std::fill(row.begin() + steps.size(), row.end(), 0.0f);
  }
  boundary.isEdge = AlignedArray<std::uint16_t>(nbGroups);
  std::fill(boundary.isEdge.begin(), boundary.isEdge.end(), std::uint16_t(0));
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::array<float, 3>& position = positions[std::uint32_t(steps[i])];
    for (std::size_t axis = 0; axis < 3; ++axis) boundary.rows[axis][i] = position[axis];
    if ((steps[i] & kIsLast) == 0) boundary.isEdge[i / Boundary::kGroup] |= std::uint16_t(1u << (i % Boundary::kGroup));
  }
  return boundary;
}

}  // namespace qzMeshQueries::detail
