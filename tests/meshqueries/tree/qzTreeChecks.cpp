#include "meshqueries/tree/qzTreeChecks.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <vector>

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;

namespace qzTest {

namespace {

struct Box {
  float min[3], max[3];

  Box() {
    std::fill(min, min + 3, std::numeric_limits<float>::infinity());
    std::fill(max, max + 3, -std::numeric_limits<float>::infinity());
  }
  void add(const float* low, const float* high) {
    for (int i = 0; i < 3; ++i) {
      min[i] = std::min(min[i], low[i]);
      max[i] = std::max(max[i], high[i]);
    }
  }
  bool operator==(const Box& o) const { return std::equal(min, min + 3, o.min) && std::equal(max, max + 3, o.max); }
};

class Checker {
 public:
  Checker(const WideTree& tree, const Mesh& mesh) : mTree(tree), mMesh(mesh) {}

  std::string run() {
    if (mMesh.triangleCount == 0) {
      need(mTree.nodes.size() == 0 && mTree.blockCount == 0, "an empty mesh has no nodes");
      return mFault;
    }
    mNodeUses.assign(mTree.nodes.size(), 0);
    mTriangleUses.assign(mMesh.triangleCount, 0);
    std::size_t place = 0, firstVertex = 0;
    for (std::size_t i = 0; i < mTree.blockCount && place + kBlockSlack < mTree.blocks.size(); ++i) {
      mBlockPlaces.insert(std::uint32_t(place / kBlockUnit));
      const Block block = {reinterpret_cast<const BlockHead*>(mTree.blocks.data() + place)};
      need(block.head->firstVertex == firstVertex, "vertex numbers in the order of the blocks");
      firstVertex += std::uint32_t(block.vertexCount());
      place += blockSize(std::size_t(block.triangleCount()), std::size_t(block.vertexCount()));
    }
    need(place + kBlockSlack == mTree.blocks.size(), "blocks follow each other and fill their array");
    need(mBlockPlaces.size() == mTree.blockCount, "as many blocks as were counted");
    need(firstVertex == mTree.vertexNumbers.size(), "as many vertex numbers as vertices of blocks");
    if (!mFault.empty()) return mFault;
    for (std::size_t i = place; i < mTree.blocks.size(); ++i) need(mTree.blocks[i] == 0, "zeros behind the blocks");

    mNodeUses[0] = 1;
    const Box box = checkNode(0, 1);
    need(std::equal(box.min, box.min + 3, mTree.min) && std::equal(box.max, box.max + 3, mTree.max),
         "the box of the tree is that of its triangles");
    need(mBlockPlaces.empty(), "each block is a child");
    need(std::all_of(mNodeUses.begin(), mNodeUses.end(), [](int uses) { return uses == 1; }), "each node is one child");
    need(std::all_of(mTriangleUses.begin(), mTriangleUses.end(), [](int uses) { return uses == 1; }),
         "each triangle is in one block");
    return mFault;
  }

 private:
  void need(bool isTrue, const char* what) {
    if (!isTrue && mFault.empty()) mFault = what;
  }

  Box checkNode(std::uint32_t number, int level) {
    Box all;
    need(level <= kMaxTreeLevels, "not too deep");
    if (!mFault.empty()) return all;
    const WideNode& node = mTree.nodes[number];
    int nbChildren = 0;
    while (nbChildren < kNodeWidth && node.bounds[0][nbChildren] <= node.bounds[1][nbChildren]) ++nbChildren;
    need(nbChildren > 0, "a node has children");
    for (int lane = 0; lane < kNodeWidth; ++lane) {
      Box box;
      for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = node.bounds[2 * axis][lane];
        box.max[axis] = node.bounds[2 * axis + 1][lane];
      }
      if (lane >= nbChildren) {
        need(box == Box() && node.child[lane] == 0, "unused lanes are empty and last");
        continue;
      }
      const Box found = checkChild(node.child[lane], level);
      if (!mFault.empty()) return all;
      need(found == box, "the box of a child is exactly that of its vertices");
      all.add(box.min, box.max);
    }
    return all;
  }

  Box checkChild(std::uint32_t child, int level) {
    if ((child & kIsBlock) != 0) {
      need(mBlockPlaces.erase(child & ~kIsBlock) == 1, "a child is a block that is no other's child");
      return mFault.empty() ? checkBlock(mTree.block(child)) : Box();
    }
    need(child < mTree.nodes.size() && mNodeUses[child]++ == 0, "a child is a node that is no other's child");
    return mFault.empty() ? checkNode(child, level + 1) : Box();
  }

  Box checkBlock(const Block& block) {
    const int n = block.triangleCount(), m = block.vertexCount();
    Box box;
    need(n >= 1 && n <= kMaxBlockTriangles, "a block has one to sixteen triangles");
    need(m >= 1 && m <= kMaxBlockVertices, "a block has one to sixteen vertices");
    need(block.head->unused == 0, "the unused part of a head is 0");
    if (!mFault.empty()) return box;
    const std::uint32_t* vertices = &mTree.vertexNumbers[block.head->firstVertex];
    need(std::set<std::uint32_t>(vertices, vertices + m).size() == std::size_t(m), "a vertex stands in a block once");
    for (int i = 0; i < m; ++i)
      for (int axis = 0; axis < 3; ++axis)
        need(block.row(axis)[i] == mMesh.vertices[3 * std::size_t(vertices[i]) + std::size_t(axis)],
             "a vertex has the coordinates of the mesh");
    std::set<int> used;
    for (int i = 0; i < n; ++i) {
      const std::uint32_t number = block.numbers()[i];
      need(number < mMesh.triangleCount && (i == 0 || number > block.numbers()[i - 1]), "numbers ascend");
      if (!mFault.empty()) return box;
      ++mTriangleUses[number];
      for (int c = 0; c < 3; ++c) {
        const int corner = block.corners(int(c))[i];
        need(corner < m && vertices[corner] == mMesh.triangles[3 * std::size_t(number) + std::size_t(c)],
             "a corner is the vertex of the mesh");
        used.insert(corner);
        float position[3];
        block.corner(i, c, position);
        box.add(position, position);
      }
    }
    need(used.size() == std::size_t(m), "each vertex is used");
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(block.head);
    const std::size_t numbers = placeOfNumbers(std::size_t(n), std::size_t(m)), end = numbers + 4 * std::size_t(n);
    for (std::size_t i = sizeof(BlockHead) + 12 * std::size_t(m) + 3 * std::size_t(n); i < numbers; ++i)
      need(bytes[i] == 0, "zeros up to the numbers");
    for (std::size_t i = end; i < blockSize(std::size_t(n), std::size_t(m)); ++i)
      need(bytes[i] == 0, "zeros up to the next block");
    return box;
  }

  const WideTree& mTree;
  const Mesh& mMesh;
  std::string mFault;
  std::set<std::uint32_t> mBlockPlaces;
  std::vector<int> mNodeUses, mTriangleUses;
};

int levelsBelow(const WideTree& tree, std::uint32_t number) {
  int levels = 0;
  for (int lane = 0; lane < kNodeWidth; ++lane) {
    const WideNode& node = tree.nodes[number];
    if (!(node.bounds[0][lane] <= node.bounds[1][lane])) break;
    if ((node.child[lane] & kIsBlock) == 0) levels = std::max(levels, levelsBelow(tree, node.child[lane]));
  }
  return 1 + levels;
}

template <class T>
bool haveSameBytes(const AlignedArray<T>& a, const AlignedArray<T>& b) {
  return a.size() == b.size() && (a.size() == 0 || std::memcmp(a.data(), b.data(), a.bytes()) == 0);
}

}  // namespace

std::string faultOf(const WideTree& tree, const Mesh& mesh) {
  return Checker(tree, mesh).run();
}

int nbLevels(const WideTree& tree) {
  return tree.nodes.size() == 0 ? 0 : levelsBelow(tree, 0);
}

double nbMetChildren(const WideTree& tree) {
  const auto areaOf = [](const float* min, const float* max) {
    const double x = double(max[0]) - min[0], y = double(max[1]) - min[1], z = double(max[2]) - min[2];
    return x * y + y * z + z * x;
  };
  double sum = 0;
  for (const WideNode& node : tree.nodes)
    for (int lane = 0; lane < kNodeWidth && node.bounds[0][lane] <= node.bounds[1][lane]; ++lane) {
      float min[3], max[3];
      for (int axis = 0; axis < 3; ++axis) {
        min[axis] = node.bounds[2 * axis][lane];
        max[axis] = node.bounds[2 * axis + 1][lane];
      }
      sum += areaOf(min, max);
    }
  return sum / areaOf(tree.min, tree.max);
}

bool areSame(const WideTree& a, const WideTree& b) {
  return haveSameBytes(a.nodes, b.nodes) && haveSameBytes(a.blocks, b.blocks) &&
         haveSameBytes(a.vertexNumbers, b.vertexNumbers) && a.blockCount == b.blockCount &&
         std::memcmp(a.min, b.min, sizeof(a.min)) == 0 && std::memcmp(a.max, b.max, sizeof(a.max)) == 0;
}

}  // namespace qzTest
