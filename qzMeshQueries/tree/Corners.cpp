#include <qzMeshQueries/tree/Corners.h>

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace qzMeshQueries::detail {

Corners::Corners()
    : mVertices(std::size_t(kMaxCorners)), mBefore(std::size_t(kMaxCorners)), mTable(std::size_t(1) << kTableBits) {}

void Corners::read(const Mesh& mesh, const BinaryTree& tree, const BinaryPart& part) {
  mTriangles = &tree.order[part.begin];
  mBegin = part.begin;
  const std::uint32_t nbTriangles = part.end - part.begin;
  constexpr std::uint32_t kAhead = 32;
  for (std::uint32_t i = 0; i < nbTriangles; ++i) {
    qzDetail::prefetchLine(mesh.triangles + 3 * std::size_t(mTriangles[std::min(i + kAhead, nbTriangles - 1)]));
    std::memcpy(&mVertices[3 * std::size_t(i)], mesh.triangles + 3 * std::size_t(mTriangles[i]),
                3 * sizeof(std::uint32_t));
  }

  const std::uint32_t nbCorners = 3 * nbTriangles;
  for (std::uint32_t begin = 0; begin < nbCorners; begin += kSegment) {
    // A segment begins with the corners before it that a range may have in common with it.
    const std::uint32_t start = begin - std::min(begin, kMaxRange), end = std::min(begin + kSegment, nbCorners);
    if (mNext == 0 || mNext > std::numeric_limits<std::uint32_t>::max() - kSegment - kMaxRange) {
      std::memset(mTable.data(), 0, mTable.bytes());
      mNext = 1;
    }
    const std::uint32_t first = mNext;
    Slot* const table = mTable.data();
    for (std::uint32_t i = start; i < end; ++i) {
      const std::uint32_t vertex = mVertices[i];
      std::uint32_t slot = vertex * 0x9E3779B1u >> (32 - kTableBits);
      while (table[slot].corner >= first && table[slot].vertex != vertex) slot = (slot + 1) % (1u << kTableBits);
      const std::uint32_t found = table[slot].corner;
      if (i >= begin) mBefore[i] = found >= first ? std::int32_t(start + (found - first)) : -1;
      table[slot] = {vertex, first + (i - start)};
    }
    mNext = first + (end - start);
  }
}

Corners::Range Corners::rangeOf(const BinaryNode* nodes, std::uint32_t number) const {
  std::uint32_t leaf = number;
  while (nodes[leaf].isInner()) leaf = nodes[leaf].leftChild();
  const std::uint32_t first = nodes[leaf].first - mBegin;
  return {mTriangles + first, &mVertices[3 * std::size_t(first)], &mBefore[3 * std::size_t(first)],
          std::int32_t(3 * first), int(nodes[number].count)};
}

}  // namespace qzMeshQueries::detail
