// The top is split level by level, with all threads on each level: bins and partitions of its nodes are made of those of
// chunks. Then each part is a task.

#include <qzMeshQueries/tree/BinaryBuild.h>
#include <qzMeshQueries/tree/Threads.h>
#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <utility>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

// Halves the items, whose number is at least two, along the longest axis of their centres. Returns the number on the left.
std::uint32_t splitAtMedian(BinaryNode* items, std::uint32_t count, const CentreBox& centres) {
  alignas(16) float extent[4];
  store(extent, centres.max - centres.min);
  const int axis = extent[0] >= extent[1] && extent[0] >= extent[2] ? 0 : extent[1] >= extent[2] ? 1 : 2;
  const auto centreOf = [axis](const BinaryNode& item) { return item.box[axis] + item.box[axis + 3]; };
  std::nth_element(items, items + count / 2, items + count, [&](const BinaryNode& p, const BinaryNode& q) {
    const float x = centreOf(p), y = centreOf(q);
    return x != y ? x < y : p.first < q.first;
  });
  return count / 2;
}

CentreBox centresOf(const BinaryNode* items, std::size_t count) {
  CentreBox centres;
  for (std::size_t i = 0; i < count; ++i) centres.add(CentreBox::centreOf(items[i].lanes()));
  return centres;
}

// A range of items that is to be split.
struct Open {
  std::uint32_t node;
  std::uint32_t begin, end;
  CentreBox centres;

  std::uint32_t count() const { return end - begin; }
};

class PartBuilder {
 public:
  PartBuilder(BinaryTree& tree, PartScratch& scratch) : mTree(tree), mNodes(scratch.nodes.data()) {}

  // The items of a node stand in from; other is an array of the same places, to be used in turn.
  void build(const Open& open, int level, BinaryNode* from, BinaryNode* other) {
    const std::uint32_t count = open.count();
    BinaryNode& node = mNodes[open.node];
    node.count = count;
    if (count <= kMaxLeafTriangles) {
      tBoxLanes box;
      for (std::uint32_t i = open.begin; i < open.end; ++i) {
        box.unite(from[i].lanes());
        mTree.order[mFirst + i] = from[i].first;
      }
      node.setBox(box);
      node.first = mFirst + open.begin;
      return;
    }
    Sides sides;
    const BinGrid grid(open.centres, count);
    Bins bins(grid.nbBins());
    bins.add(grid, from + open.begin, count);
    const BinSplit split = bins.best();
    if (split.axis >= 0) sides = partition(grid, split, from + open.begin, count, other + open.begin, other + open.end);
    if (split.axis < 0 || !levelAllows(level + 1, std::max(sides.nbLeft, count - sides.nbLeft))) {
      sides.nbLeft = splitAtMedian(from + open.begin, count, open.centres);
      sides.left = centresOf(from + open.begin, sides.nbLeft);
      sides.right = centresOf(from + open.begin + sides.nbLeft, count - sides.nbLeft);
      std::swap(from, other);
    }
    const std::uint32_t left = mSize, middle = open.begin + sides.nbLeft;
    mSize += 2;
    node.first = BinaryNode::kIsInner | left;
    build({left, open.begin, middle, sides.left}, level + 1, other, from);
    build({left + 1, middle, open.end, sides.right}, level + 1, other, from);
    tBoxLanes box = mNodes[left].lanes();
    box.unite(mNodes[left + 1].lanes());
    node.setBox(box);
  }

  // Builds a part of items that begin with those at from. Returns the number of nodes.
  std::uint32_t buildPart(const BinaryPart& part, int level, BinaryNode* from, BinaryNode* other) {
    mFirst = part.begin;
    mSize = 1;
    const std::uint32_t count = part.end - part.begin;
    build({0, 0, count, centresOf(from, count)}, level, from, other);
    return mSize;
  }

 private:
  BinaryTree& mTree;
  BinaryNode* mNodes;
  std::uint32_t mFirst = 0, mSize = 0;
};

// What is known of a part before it is built.
struct PartStart {
  int level;
  BinaryNode* items;
};

class TopBuilder {
 public:
  TopBuilder(BinaryTree& tree, BuildWatch& watch) : mTree(tree), mWatch(watch) {}

  void build(const CentreBox& centres) {
    const auto n = std::uint32_t(mTree.memory.size());
    if (n > kMaxPartTriangles) mOther = AlignedArray<BinaryNode>(n);
    BinaryNode *from = mTree.memory.data(), *to = mOther.data();
    mTree.top.resize(1);
    std::vector<Open> open, next;
    place({0, 0, n, centres}, 1, from, open);
    for (int level = 1; !open.empty(); ++level) {
      splitLevel(open, level, from, to, next);
      open.swap(next);
      next.clear();
      std::swap(from, to);
    }
  }

  const PartStart& start(std::size_t part) const { return mStarts[part]; }

 private:
  // A part of a node's items, with which one task works at a time.
  struct Chunk {
    std::size_t open = 0;
    std::uint32_t begin = 0, end = 0;
    std::uint32_t leftBefore = 0;
    Bins bins{BinGrid::kMaxBins};
    Sides sides;
  };

  void place(const Open& open, int level, BinaryNode* items, std::vector<Open>& next) {
    BinaryNode& node = mTree.top[open.node];
    node.count = open.count();
    if (open.count() > kMaxPartTriangles) {
      next.push_back(open);
      return;
    }
    node.first = std::uint32_t(mTree.parts.size());
    mTree.parts.emplace_back();
    mTree.parts.back().begin = open.begin;
    mTree.parts.back().end = open.end;
    mStarts.push_back({level, items + open.begin});
  }

  // Splits all open nodes, whose items stand in from; those of their children will stand in to.
  void splitLevel(const std::vector<Open>& open, int level, BinaryNode* from, BinaryNode* to, std::vector<Open>& next) {
    std::vector<BinGrid> grids;
    std::vector<Chunk> chunks;
    std::vector<std::size_t> firstChunks;
    for (std::size_t i = 0; i < open.size(); ++i) {
      grids.emplace_back(open[i].centres, open[i].count());
      firstChunks.push_back(chunks.size());
      for (std::uint32_t begin = open[i].begin; begin < open[i].end;) {
        const std::uint32_t end = begin + std::min(std::uint32_t(kTrianglesPerPoll), open[i].end - begin);
        chunks.emplace_back();
        chunks.back().open = i;
        chunks.back().begin = begin;
        chunks.back().end = end;
        begin = end;
      }
    }
    firstChunks.push_back(chunks.size());
    forEach(chunks.size(), [&](std::size_t i) {
      Chunk& chunk = chunks[i];
      chunk.bins.add(grids[chunk.open], from + chunk.begin, chunk.end - chunk.begin);
      mWatch.done(chunk.end - chunk.begin);
    });
    std::vector<BinSplit> splits(open.size());
    std::vector<std::uint32_t> nbLeft(open.size());
    forEach(open.size(), [&](std::size_t i) {
      Bins bins(BinGrid::kMaxBins);
      for (std::size_t k = firstChunks[i]; k < firstChunks[i + 1]; ++k) bins.add(chunks[k].bins);
      splits[i] = bins.best();
      if (splits[i].axis < 0) return;
      for (std::size_t k = firstChunks[i]; k < firstChunks[i + 1]; ++k) {
        chunks[k].leftBefore = nbLeft[i];
        nbLeft[i] += chunks[k].bins.countUpTo(splits[i]);
      }
      if (!levelAllows(level + 1, std::max(nbLeft[i], open[i].count() - nbLeft[i]))) splits[i].axis = -1;
    });
    forEach(chunks.size(), [&](std::size_t i) {
      Chunk& chunk = chunks[i];
      const Open& node = open[chunk.open];
      if (splits[chunk.open].axis < 0) return;
      const std::uint32_t rightBefore = chunk.begin - node.begin - chunk.leftBefore;
      chunk.sides = partition(grids[chunk.open], splits[chunk.open], from + chunk.begin, chunk.end - chunk.begin,
                              to + node.begin + chunk.leftBefore, to + node.end - rightBefore);
      mWatch.done(chunk.end - chunk.begin);
    });
    for (std::size_t i = 0; i < open.size(); ++i) {
      const Open& node = open[i];
      CentreBox left, right;
      if (splits[i].axis >= 0) {
        for (std::size_t k = firstChunks[i]; k < firstChunks[i + 1]; ++k) {
          left.add(chunks[k].sides.left);
          right.add(chunks[k].sides.right);
        }
      } else {
        nbLeft[i] = splitAtMedian(from + node.begin, node.count(), node.centres);
        std::copy(from + node.begin, from + node.end, to + node.begin);
        left = centresOf(to + node.begin, nbLeft[i]);
        right = centresOf(to + node.begin + nbLeft[i], node.count() - nbLeft[i]);
      }
      const auto child = std::uint32_t(mTree.top.size());
      const std::uint32_t middle = node.begin + nbLeft[i];
      mTree.top.resize(mTree.top.size() + 2);
      mTree.top[node.node].first = BinaryNode::kIsInner | child;
      place({child, node.begin, middle, left}, level + 1, to, next);
      place({child + 1, middle, node.end, right}, level + 1, to, next);
    }
  }

  BinaryTree& mTree;
  BuildWatch& mWatch;
  AlignedArray<BinaryNode> mOther;
  std::vector<PartStart> mStarts;
};

}  // namespace

BinaryTree buildBySurfaceArea(BuildStart start, BuildWatch& watch, const OnPart& onPart) {
  const std::size_t n = start.items.size();
  BinaryTree tree;
  tree.memory = std::move(start.items);
  TopBuilder top(tree, watch);
  top.build(start.centres);

  tree.order = AlignedArray<std::uint32_t>(n);
  tree.choices = AlignedArray<std::uint64_t>(n);
  tbb::enumerable_thread_specific<PartScratch> scratches;
  forEach(tree.parts.size(), [&](std::size_t i) {
    PartScratch& scratch = scratches.local();
    BinaryPart& part = tree.parts[i];
    const PartStart& of = top.start(i);
    const std::uint32_t size = PartBuilder(tree, scratch).buildPart(part, of.level, of.items, scratch.items.data());
    keepNodes(tree, part, scratch, size);
    onPart(tree, part);
    watch.done(part.end - part.begin);
  });
  uniteTop(tree);
  return tree;
}

}  // namespace qzMeshQueries::detail
