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

  std::size_t count() const { return mPositions.size(); }

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
    for (int i = 0; i < block.head->triangleCount; ++i)
      for (int side = 0; side < 3; ++side) {
        const std::uint32_t from = own[block.head->corner[side][i]], to = own[block.head->corner[(side + 1) % 3][i]];
        if (from != to) visit(from, to);
      }
    own += block.head->vertexCount;
  });
}

}  // namespace

bool isClosed(const WideTree& tree) {
  // The place of each vertex of each block. A sum with 0 makes both zeros one.
  AlignedArray<std::uint32_t> placeOf(tree.vertexNumbers.size());
  std::size_t nbPlaces = 0;
  {
    Places places(tree.vertexNumbers.size());
    std::size_t i = 0;
    forEachBlock(tree, [&](const Block& block) {
      for (int k = 0; k < block.head->vertexCount; ++k)
        placeOf[i++] = places.numberOf({block.row(0)[k] + 0.0f, block.row(1)[k] + 0.0f, block.row(2)[k] + 0.0f});
    });
    nbPlaces = places.count();
  }

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
  for (std::size_t i = 0; i < nbPlaces; ++i) {
    std::uint32_t* const middle = others.data() + starts[i];
    std::uint32_t* const begin = middle - nbLeaving[i];
    std::uint32_t* const end = i + 1 < nbPlaces ? others.data() + starts[i + 1] - nbLeaving[i + 1] : others.end();
    if (middle - begin != end - middle) return false;
    std::sort(begin, middle);
    std::sort(middle, end);
    if (!std::equal(begin, middle, middle)) return false;
  }
  return true;
}

}  // namespace qzMeshQueries::detail
