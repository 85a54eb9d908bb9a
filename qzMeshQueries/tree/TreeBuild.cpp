#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>
#include <qzMeshQueries/tree/TreeBuild.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace qzMeshQueries::detail {

namespace {

struct Box {
  float min[3], max[3];
  Box() {
    std::fill(min, min + 3, std::numeric_limits<float>::infinity());
    std::fill(max, max + 3, -std::numeric_limits<float>::infinity());
  }
  void add(const float* p) {
    for (int i = 0; i < 3; ++i) min[i] = std::min(min[i], p[i]), max[i] = std::max(max[i], p[i]);
  }
};

class Builder {
 public:
  explicit Builder(const Mesh& mesh) : mMesh(mesh), mOrder(mesh.triangleCount) {
    std::iota(mOrder.begin(), mOrder.end(), 0u);
  }

  WideTree build() {
    if (!mOrder.empty()) {
      mNodes.emplace_back();
      fill(0, 0, mOrder.size());
    }
    WideTree tree;
    tree.nodes = AlignedArray<WideNode>(mNodes.size());
    std::copy(mNodes.begin(), mNodes.end(), tree.nodes.begin());
    tree.blocks = AlignedArray<std::uint8_t>(mBlocks.size() + kBlockSlack);
    std::memset(tree.blocks.data(), 0, tree.blocks.size());
    if (!mBlocks.empty()) std::memcpy(tree.blocks.data(), mBlocks.data(), mBlocks.size());
    tree.vertexNumbers = AlignedArray<std::uint32_t>(mVertexNumbers.size());
    std::copy(mVertexNumbers.begin(), mVertexNumbers.end(), tree.vertexNumbers.begin());
    const Box box = boxOf(0, mOrder.size());
    std::copy(box.min, box.min + 3, tree.min);
    std::copy(box.max, box.max + 3, tree.max);
    tree.blockCount = mBlockCount;
    return tree;
  }

 private:
  struct Range {
    std::size_t begin, end;
  };

  const float* corner(std::uint32_t triangle, int i) const {
    return mMesh.vertices + 3 * std::size_t(mMesh.triangles[3 * std::size_t(triangle) + i]);
  }

  Box boxOf(std::size_t begin, std::size_t end) const {
    Box box;
    for (std::size_t i = begin; i < end; ++i)
      for (int c = 0; c < 3; ++c) box.add(corner(mOrder[i], c));
    return box;
  }

  std::vector<std::uint32_t> verticesOf(Range range) const {
    std::vector<std::uint32_t> vertices;
    for (std::size_t i = range.begin; i < range.end; ++i)
      for (int c = 0; c < 3; ++c) vertices.push_back(mMesh.triangles[3 * std::size_t(mOrder[i]) + c]);
    std::sort(vertices.begin(), vertices.end());
    vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
    return vertices;
  }

  bool fits(Range range) const {
    return range.end - range.begin <= kMaxBlockTriangles && verticesOf(range).size() <= kMaxBlockVertices;
  }

  // Halves a range along the longest axis of its box.
  std::size_t split(Range range) {
    const Box box = boxOf(range.begin, range.end);
    int axis = 0;
    for (int i = 1; i < 3; ++i)
      if (box.max[i] - box.min[i] > box.max[axis] - box.min[axis]) axis = i;
    const auto centre = [&](std::uint32_t t) {
      return double(corner(t, 0)[axis]) + double(corner(t, 1)[axis]) + double(corner(t, 2)[axis]);
    };
    const std::size_t middle = range.begin + (range.end - range.begin) / 2;
    const auto first = mOrder.begin();
    std::nth_element(first + std::ptrdiff_t(range.begin), first + std::ptrdiff_t(middle),
                     first + std::ptrdiff_t(range.end), [&](std::uint32_t p, std::uint32_t q) {
                       const double x = centre(p), y = centre(q);
                       return x != y ? x < y : p < q;
                     });
    return middle;
  }

  void fill(std::size_t number, std::size_t begin, std::size_t end) {
    std::vector<Range> children = {{begin, end}};
    while (children.size() < std::size_t(kNodeWidth)) {
      auto largest = children.end();
      for (auto it = children.begin(); it != children.end(); ++it)
        if (!fits(*it) && (largest == children.end() || it->end - it->begin > largest->end - largest->begin))
          largest = it;
      if (largest == children.end()) break;
      const Range range = *largest;
      const std::size_t middle = split(range);
      *largest = {range.begin, middle};
      children.push_back({middle, range.end});
    }
    for (int lane = 0; lane < kNodeWidth; ++lane) {
      const bool isUsed = std::size_t(lane) < children.size();
      const Box box = isUsed ? boxOf(children[lane].begin, children[lane].end) : Box();
      for (int axis = 0; axis < 3; ++axis) {
        mNodes[number].bounds[2 * axis][lane] = box.min[axis];
        mNodes[number].bounds[2 * axis + 1][lane] = box.max[axis];
      }
      mNodes[number].child[lane] = 0;
      if (!isUsed) continue;
      if (fits(children[lane])) {
        mNodes[number].child[lane] = writeBlock(children[lane]);
      } else {
        const std::size_t child = mNodes.size();
        mNodes.emplace_back();
        mNodes[number].child[lane] = std::uint32_t(child);
        fill(child, children[lane].begin, children[lane].end);
      }
    }
  }

  std::uint32_t writeBlock(Range range) {
    std::sort(mOrder.begin() + std::ptrdiff_t(range.begin), mOrder.begin() + std::ptrdiff_t(range.end));
    const std::vector<std::uint32_t> vertices = verticesOf(range);
    const std::size_t n = range.end - range.begin, m = vertices.size(), place = mBlocks.size();
    mBlocks.resize(place + blockSize(n, m));
    BlockHead head = {};
    head.triangleCount = std::uint8_t(n);
    head.vertexCount = std::uint8_t(m);
    head.firstVertex = std::uint32_t(mVertexNumbers.size());
    for (std::size_t i = 0; i < n; ++i)
      for (int c = 0; c < 3; ++c)
        head.corner[c][i] =
            std::uint8_t(std::lower_bound(vertices.begin(), vertices.end(),
                                          mMesh.triangles[3 * std::size_t(mOrder[range.begin + i]) + c]) -
                         vertices.begin());
    std::memcpy(&mBlocks[place], &head, sizeof(head));
    std::uint8_t* rows = &mBlocks[place + sizeof(head)];
    for (std::size_t axis = 0; axis < 3; ++axis)
      for (std::size_t i = 0; i < m; ++i)
        std::memcpy(rows + 4 * (axis * m + i), &mMesh.vertices[3 * std::size_t(vertices[i]) + axis], 4);
    for (std::size_t i = 0; i < n; ++i) std::memcpy(rows + 12 * m + 4 * i, &mOrder[range.begin + i], 4);
    mVertexNumbers.insert(mVertexNumbers.end(), vertices.begin(), vertices.end());
    ++mBlockCount;
    if (place / kBlockUnit >= kIsBlock) throw std::length_error("the mesh has too many triangles");
    return kIsBlock + std::uint32_t(place / kBlockUnit);
  }

  const Mesh& mMesh;
  std::vector<std::uint32_t> mOrder;
  std::vector<WideNode> mNodes;
  std::vector<std::uint8_t> mBlocks;
  std::vector<std::uint32_t> mVertexNumbers;
  std::size_t mBlockCount = 0;
};

}  // namespace

WideTree buildTree(const Mesh& mesh, const BuildOptions& options) {
  if (options.cancel != nullptr && qzDetail::isCanceled(*options.cancel)) throw Cancelled();
  WideTree tree = Builder(mesh).build();
  if (options.progress) options.progress(1.0);
  return tree;
}

}  // namespace qzMeshQueries::detail
