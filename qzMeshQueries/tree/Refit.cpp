#include <qzMeshQueries/tree/Refit.h>

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <algorithm>
#include <limits>

namespace qzMeshQueries::detail {

namespace {

struct Box {
  float min[3], max[3];

  Box() {
    std::fill_n(min, 3, std::numeric_limits<float>::infinity());
    std::fill_n(max, 3, -std::numeric_limits<float>::infinity());
  }
  void add(int axis, float low, float high) {
    min[axis] = std::min(min[axis], low);
    max[axis] = std::max(max[axis], high);
  }
};

int nbChildren(const WideNode& node) {
  int count = 0;
  while (count < kNodeWidth && node.bounds[0][count] <= node.bounds[1][count]) ++count;
  return count;
}

Box boxOf(const WideNode& node) {
  Box box;
  const int count = nbChildren(node);
  for (int axis = 0; axis < 3; ++axis)
    for (int lane = 0; lane < count; ++lane)
      box.add(axis, node.bounds[2 * axis][lane], node.bounds[2 * axis + 1][lane]);
  return box;
}

class Refit {
 public:
  Refit(WideTree& tree, const float* vertices) : mTree(tree), mVertices(vertices) {}

  void run() {
    // Children have higher numbers than their parent.
    for (std::size_t i = mTree.nodes.size(); i-- > 0;) refit(mTree.nodes[i]);
    if (mTree.nodes.size() == 0) return;
    const Box all = boxOf(mTree.nodes[0]);
    std::copy_n(all.min, 3, mTree.min);
    std::copy_n(all.max, 3, mTree.max);
  }

 private:
  void refit(WideNode& node) {
    const int count = nbChildren(node);
    for (int lane = 0; lane < count; ++lane)
      if ((node.child[lane] & kIsBlock) != 0) prefetchVertices(mTree.block(node.child[lane]));
    for (int lane = 0; lane < count; ++lane) {
      const std::uint32_t child = node.child[lane];
      const Box box = (child & kIsBlock) != 0 ? refitBlock(child) : boxOf(mTree.nodes[child]);
      for (int axis = 0; axis < 3; ++axis) {
        node.bounds[2 * axis][lane] = box.min[axis];
        node.bounds[2 * axis + 1][lane] = box.max[axis];
      }
    }
  }

  const std::uint32_t* numbersOf(const Block& block) const { return &mTree.vertexNumbers[block.head->firstVertex]; }

  void prefetchVertices(const Block& block) const {
    const std::uint32_t* const numbers = numbersOf(block);
    for (int i = 0; i < block.vertexCount(); ++i) qzDetail::prefetchLine(mVertices + 3 * std::size_t(numbers[i]));
  }

  Box refitBlock(std::uint32_t child) {
    const Block block = mTree.block(child);
    const std::uint32_t* const numbers = numbersOf(block);
    auto* const rows =
        reinterpret_cast<float*>(mTree.blocks.data() + std::size_t(child & ~kIsBlock) * kBlockUnit + sizeof(BlockHead));
    const int count = block.vertexCount();
    Box box;
    for (int i = 0; i < count; ++i)
      for (int axis = 0; axis < 3; ++axis) {
        const float coordinate = mVertices[3 * std::size_t(numbers[i]) + std::size_t(axis)];
        rows[axis * count + i] = coordinate;
        // A sum with 0 is never -0.
        box.add(axis, coordinate + 0.0f, coordinate + 0.0f);
      }
    return box;
  }

  WideTree& mTree;
  const float* mVertices;
};

double areaOf(const Box& box) {
  const double x = double(box.max[0]) - box.min[0], y = double(box.max[1]) - box.min[1],
               z = double(box.max[2]) - box.min[2];
  return x * y + y * z + z * x;
}

}  // namespace

void refit(WideTree& tree, const float* vertices) {
  Refit(tree, vertices).run();
}

double costOf(const WideTree& tree) {
  if (tree.nodes.size() == 0) return 0;
  double sum = 0;
  for (const WideNode& node : tree.nodes)
    for (int lane = 0; lane < nbChildren(node); ++lane) {
      Box box;
      for (int axis = 0; axis < 3; ++axis) box.add(axis, node.bounds[2 * axis][lane], node.bounds[2 * axis + 1][lane]);
      sum += areaOf(box);
    }
  const double whole = areaOf(boxOf(tree.nodes[0]));
  return whole > 0 ? sum / whole : 0;
}

}  // namespace qzMeshQueries::detail
