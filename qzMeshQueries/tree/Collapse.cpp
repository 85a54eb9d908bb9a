#include <qzMeshQueries/tree/Collapse.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzMeshQueries/tree/BlockContent.h>
#include <qzMeshQueries/tree/NodeArea.h>
#include <qzMeshQueries/tree/Threads.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

// Relative times of a visit.
constexpr float kNodeCost = 1.0f, kBlockCost = 1.2f;

// What the collapse chose for a binary node. For i = 2 to 16: how many of at most i roots the left child gets, or 0 if
// a single root is no worse. Whether that single root is a block, and how many vertices the block has.
//
//     bit 0          i = 2           bit 1   whether it is a block
//     bits 4 to 7    i = 3   ...     bits 56 to 59   i = 16       bits 60 to 63   number of vertices - 1
class Choice {
 public:
  explicit Choice(std::uint64_t bits = 0) : mBits(bits) {}
  std::uint64_t bits() const { return mBits; }

  void setLeft(int i, unsigned nbLeft) { mBits |= std::uint64_t(nbLeft) << 4 * (i - 2); }
  void setLeftFrom(int i, unsigned nbLeft) {  // for i and above; i > 2
    mBits |= ((kAllOnes << 4 * (i - 2)) & ~kVertexBits) * nbLeft;
  }
  int left(int i) const { return int(mBits >> 4 * (i - 2)) & (i == 2 ? 1 : 15); }
  void setBlock() { mBits |= 2; }
  bool isBlock() const { return (mBits & 2) != 0; }
  void setNbVertices(int count) { mBits |= std::uint64_t(count - 1) << 60; }
  int nbVertices() const { return int(mBits >> 60) + 1; }

 private:
  static constexpr std::uint64_t kVertexBits = std::uint64_t(15) << 60, kAllOnes = 0x1111111111111111u;
  std::uint64_t mBits;
};

// The lowest bits of a cost hold the number of roots on the left, so that a minimum of costs also selects that number.
constexpr std::uint32_t kNumberBits = 15;

float withNumber(float cost, unsigned number) {
  std::uint32_t bits;
  std::memcpy(&bits, &cost, 4);
  bits = (bits & ~kNumberBits) | number;
  std::memcpy(&cost, &bits, 4);
  return cost;
}

unsigned numberIn(float cost) {
  std::uint32_t bits;
  std::memcpy(&bits, &cost, 4);
  return bits & kNumberBits;
}

// The costs of two forests side by side, for i >= 2, with numbers; cost[0] stays unset.
void sideBySide(const Forest& left, const Forest& right, Forest& both) {
  both.size = std::min(kNodeWidth, left.size + right.size);
  if (both.size == 2) {
    both.cost[1] = withNumber(left.cost[0] + right.cost[0], 1);
    return;
  }
  std::fill_n(both.cost + 1, both.size - 1, std::numeric_limits<float>::infinity());
  for (int k = 1; k <= left.size; ++k) {
    const int end = std::min(right.size, both.size - k);
    float* const costs = both.cost + k;  // costs[j] is that of k + j + 1 roots
    for (int j = 0; j < end; ++j)
      costs[j] = std::min(costs[j], withNumber(left.cost[k - 1] + right.cost[j], unsigned(k)));
  }
}

// Chooses for an inner node whose children have these forests.
void choose(float area, bool isBlock, const Forest& left, const Forest& right, Forest& forest, Choice& choice) {
  sideBySide(left, right, forest);
  const int size = forest.size;
  const float asNode = area * kNodeCost + forest.cost[size - 1], asBlock = area * kBlockCost;
  isBlock = isBlock && asBlock <= asNode;
  if (isBlock) choice.setBlock();
  forest.cost[0] = isBlock ? asBlock : asNode;
  for (int i = 2; i <= size; ++i) {
    unsigned nbLeft = numberIn(forest.cost[i - 1]);
    // A wide node must split the binary node that it is made of, even if rounding makes one root as cheap.
    const bool mustSplit = i == size && !isBlock;
    if (forest.cost[0] <= forest.cost[i - 1] && !mustSplit) {
      forest.cost[i - 1] = forest.cost[0];
      nbLeft = 0;
    }
    choice.setLeft(i, nbLeft);
    if (i == size && size < kNodeWidth) choice.setLeftFrom(i + 1, nbLeft);
  }
}

class PartChooser {
 public:
  PartChooser(const Corners& corners, const BinaryPart& part, float extent)
      : mCorners(corners), mPart(part), mArea(extent) {}

  void choose(std::uint32_t number, Forest& forest) const {
    const BinaryNode& node = mPart.nodes[number];
    const float area = mArea.of(node.lanes());
    Choice made;
    if (node.isInner()) {
      Forest left, right;
      choose(node.leftChild(), left);
      choose(node.leftChild() + 1, right);
      detail::choose(area, fitsBlock(number, made), left, right, forest, made);
    } else {
      fitsBlock(number, made);
      made.setBlock();
      forest.size = 1;
      forest.cost[0] = area * kBlockCost;
    }
    mPart.choices[number] = made.bits();
  }

 private:
  // Notes the number of vertices of what fits.
  bool fitsBlock(std::uint32_t number, Choice& made) const {
    if (mPart.nodes[number].count > std::uint32_t(kMaxBlockTriangles)) return false;
    const int nbVertices = mCorners.rangeOf(mPart.nodes, number).nbVertices();
    if (nbVertices > kMaxBlockVertices) return false;
    made.setNbVertices(nbVertices);
    return true;
  }

  const Corners& mCorners;
  const BinaryPart& mPart;
  NodeArea mArea;
};

// Appends the roots of a subtree as a forest of at most so many.
template <class Add>
void forEachRoot(const BinaryNode* nodes, const std::uint64_t* choices, std::uint32_t number, int nbRoots,
                 const Add& add) {
  const int nbLeft = nbRoots > 1 && nodes[number].isInner() ? Choice(choices[number]).left(nbRoots) : 0;
  if (nbLeft == 0) return add(number);
  forEachRoot(nodes, choices, nodes[number].leftChild(), nbLeft, add);
  forEachRoot(nodes, choices, nodes[number].leftChild() + 1, nbRoots - nbLeft, add);
}

struct Roots {
  std::uint32_t numbers[kNodeWidth];
  int size = 0;
};

// Places in the arrays of the wide tree.
struct Places {
  std::size_t nodes = 0, blocks = 0, blockBytes = 0, vertices = 0;

  void add(const Places& other) {
    nodes += other.nodes;
    blocks += other.blocks;
    blockBytes += other.blockBytes;
    vertices += other.vertices;
  }
};

// Visits the wide nodes and blocks below some roots in the order in which they are written: blocks before nodes, each
// node before what is below it.
template <class Visitor>
class PartWalk {
 public:
  PartWalk(const BinaryPart& part, Visitor& visitor) : mPart(part), mVisitor(visitor) {}

  // The roots become children of parent, from lane on.
  void walk(const Roots& roots, WideNode* parent, int lane) {
    for (int i = 0; i < roots.size; ++i)
      if (isBlock(roots.numbers[i])) setChild(parent, lane + i, roots.numbers[i], mVisitor.block(roots.numbers[i]));
    for (int i = 0; i < roots.size; ++i) {
      if (isBlock(roots.numbers[i])) continue;
      const std::uint32_t number = mVisitor.nextNode();
      setChild(parent, lane + i, roots.numbers[i], number);
      const Roots below = rootsOf(roots.numbers[i], kNodeWidth);
      WideNode* const node = mVisitor.begin(number, below.size);
      walk(below, node, 0);
    }
  }

  Roots rootsOf(std::uint32_t number, int nbRoots) const {
    Roots roots;
    forEachRoot(mPart.nodes, mPart.choices, number, nbRoots,
                [&](std::uint32_t root) { roots.numbers[roots.size++] = root; });
    return roots;
  }

 private:
  bool isBlock(std::uint32_t number) const { return Choice(mPart.choices[number]).isBlock(); }
  void setChild(WideNode* parent, int lane, std::uint32_t number, std::uint32_t child);

  const BinaryPart& mPart;
  Visitor& mVisitor;
};

void setLane(WideNode& node, int lane, const BinaryNode& child, std::uint32_t number) {
  for (int axis = 0; axis < 3; ++axis) {
    node.bounds[2 * axis][lane] = child.box[axis];
    node.bounds[2 * axis + 1][lane] = child.box[axis + 3];
  }
  node.child[lane] = number;
}

template <class Visitor>
void PartWalk<Visitor>::setChild(WideNode* parent, int lane, std::uint32_t number, std::uint32_t child) {
  if (parent != nullptr) setLane(*parent, lane, mPart.nodes[number], child);
}

void clearLanes(WideNode& node, int first) {
  for (int lane = first; lane < kNodeWidth; ++lane) {
    for (int row = 0; row < 6; ++row)
      node.bounds[row][lane] = (row % 2 == 0 ? 1.0f : -1.0f) * std::numeric_limits<float>::infinity();
    node.child[lane] = 0;
  }
}

// Counts what a part will need.
struct Counter {
  const BinaryPart& part;
  Places places;

  std::uint32_t nextNode() {
    ++places.nodes;
    return 0;
  }
  WideNode* begin(std::uint32_t, int) { return nullptr; }
  std::uint32_t block(std::uint32_t number) {
    const std::uint32_t nbTriangles = part.nodes[number].count;
    const int nbVertices = Choice(part.choices[number]).nbVertices();
    ++places.blocks;
    places.blockBytes += blockSize(nbTriangles, std::size_t(nbVertices));
    places.vertices += std::size_t(nbVertices);
    return 0;
  }
};

struct Writer {
  const Mesh& mesh;
  const Corners& corners;
  const BinaryPart& part;
  WideTree& wide;
  Places places;

  std::uint32_t nextNode() { return std::uint32_t(places.nodes++); }
  WideNode* begin(std::uint32_t number, int nbChildren) {
    WideNode& node = wide.nodes[number];
    clearLanes(node, nbChildren);
    return &node;
  }
  std::uint32_t block(std::uint32_t number) {
    const BlockContent content(corners.rangeOf(part.nodes, number));
    content.write(mesh, &wide.blocks[places.blockBytes], &wide.vertexNumbers[places.vertices],
                  std::uint32_t(places.vertices));
    const auto place = std::uint32_t(places.blockBytes / kBlockUnit);
    ++places.blocks;
    places.blockBytes += blockSize(std::size_t(content.nbTriangles()), std::size_t(content.nbVertices()));
    places.vertices += std::size_t(content.nbVertices());
    return kIsBlock | place;
  }
};

// The wide nodes that reach above parts.
class TopCollapse {
 public:
  // Roots that a part contributes to a node of the top.
  struct Share {
    std::uint32_t part, node;
    int lane;
    Roots roots;
  };

  TopCollapse(BinaryTree& tree, float extent) : mTree(tree), mArea(extent), mChoices(tree.top.size()) {
    choose(0);
    addNode(0);
  }

  std::size_t nbNodes() const { return mNodes.size(); }
  const std::vector<Share>& shares() const { return mShares; }  ///< one for each part
  void write(WideNode* nodes) const { std::copy(mNodes.begin(), mNodes.end(), nodes); }

 private:
  Forest choose(std::uint32_t number) {
    const BinaryNode& node = mTree.top[number];
    if (!node.isInner()) return mTree.parts[node.first].forest;
    const Forest left = choose(node.leftChild()), right = choose(node.leftChild() + 1);
    Choice made;
    Forest forest;
    detail::choose(mArea.of(node.lanes()), false, left, right, forest, made);
    mChoices[number] = made.bits();
    return forest;
  }

  // Makes a wide node of a node of the top.
  std::uint32_t addNode(std::uint32_t number) {
    const auto wide = std::uint32_t(mNodes.size());
    mNodes.emplace_back();
    Lanes lanes;
    lanes.wide = wide;
    addRoots(number, kNodeWidth, lanes);
    clearLanes(mNodes[wide], lanes.size);
    for (int i = 0; i < lanes.nbInner; ++i) {
      const std::uint32_t child = addNode(lanes.inner[i].number);
      setLane(mNodes[wide], lanes.inner[i].lane, mTree.top[lanes.inner[i].number], child);
    }
    return wide;
  }

  struct Lanes {
    std::uint32_t wide = 0;
    int size = 0, nbInner = 0;
    struct {
      std::uint32_t number;
      int lane;
    } inner[kNodeWidth];  // children that are nodes of the top
  };

  void addRoots(std::uint32_t number, int nbRoots, Lanes& lanes) {
    const BinaryNode& node = mTree.top[number];
    if (!node.isInner()) {
      const BinaryPart& part = mTree.parts[node.first];
      Share share{node.first, lanes.wide, lanes.size, {}};
      forEachRoot(part.nodes, part.choices, 0, nbRoots,
                  [&](std::uint32_t root) { share.roots.numbers[share.roots.size++] = root; });
      lanes.size += share.roots.size;
      mShares.push_back(share);
      return;
    }
    const int nbLeft = nbRoots > 1 ? Choice(mChoices[number]).left(nbRoots) : 0;
    if (nbLeft == 0) {
      lanes.inner[lanes.nbInner++] = {number, lanes.size++};
      return;
    }
    addRoots(node.leftChild(), nbLeft, lanes);
    addRoots(node.leftChild() + 1, nbRoots - nbLeft, lanes);
  }

  BinaryTree& mTree;
  NodeArea mArea;
  std::vector<std::uint64_t> mChoices;
  std::vector<WideNode> mNodes;
  std::vector<Share> mShares;
};

}  // namespace

void Collapse::choose(const BinaryTree& tree, BinaryPart& part) {
  Corners& corners = mCorners.local();
  corners.read(mMesh, tree, part);
  PartChooser(corners, part, mExtent).choose(0, part.forest);
}

WideTree Collapse::write(BinaryTree& tree, BuildWatch& watch) {
  const TopCollapse top(tree, mExtent);
  const std::vector<TopCollapse::Share>& shares = top.shares();
  const auto forEachShare = [&](const auto& work) {
    forEach(shares.size(), [&](std::size_t i) {
      const tFloatMode mode;
      const BinaryPart& part = tree.parts[shares[i].part];
      work(i, shares[i], part);
      watch.done(part.end - part.begin);
    });
  };

  std::vector<Places> places(shares.size());
  forEachShare([&](std::size_t i, const TopCollapse::Share& share, const BinaryPart& part) {
    Counter counter{part, {}};
    PartWalk<Counter>(part, counter).walk(share.roots, nullptr, 0);
    places[i] = counter.places;
  });
  Places all;
  all.nodes = top.nbNodes();
  for (Places& own : places) {
    const Places needs = own;
    own = all;
    all.add(needs);
  }
  if (all.blockBytes / kBlockUnit >= kIsBlock || all.vertices > std::numeric_limits<std::uint32_t>::max())
    throw std::length_error("the mesh has too many triangles");

  WideTree wide;
  wide.nodes = AlignedArray<WideNode>(all.nodes);
  wide.blocks = AlignedArray<std::uint8_t>(all.blockBytes + kBlockSlack);
  wide.vertexNumbers = AlignedArray<std::uint32_t>(all.vertices);
  wide.blockCount = all.blocks;
  std::memset(&wide.blocks[all.blockBytes], 0, kBlockSlack);
  top.write(wide.nodes.data());
  forEachShare([&](std::size_t i, const TopCollapse::Share& share, const BinaryPart& part) {
    Corners& corners = mCorners.local();
    corners.read(mMesh, tree, part);
    Writer writer{mMesh, corners, part, wide, places[i]};
    PartWalk<Writer>(part, writer).walk(share.roots, &wide.nodes[share.node], share.lane);
  });
  return wide;
}

}  // namespace qzMeshQueries::detail
