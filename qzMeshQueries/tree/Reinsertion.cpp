#include <qzMeshQueries/tree/Reinsertion.h>

#include <qzMeshQueries/tree/NodeArea.h>
#include <qzMeshQueries/tree/Threads.h>
#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

constexpr std::uint32_t kNowhere = 0xFFFFFFFFu;

// A node and the place that is best for it: it becomes the sibling of target.
struct Move {
  std::uint32_t node = 0, target = kNowhere;
  float gain = 0;  // by which the sum of the areas of all inner nodes falls
};

// Polls from loops over nodes, now and then.
class NodePolls {
 public:
  explicit NodePolls(BuildWatch& watch) : mWatch(watch) {}
  void operator()() {
    if (++mCount % (std::uint32_t(1) << 16) == 0) mWatch.done(0);
  }

 private:
  BuildWatch& mWatch;
  std::uint32_t mCount = 0;
};

// All nodes in one array; the root is node 0, siblings stand together, the left one at an odd number.
class Optimizer {
 public:
  Optimizer(const BinaryTree& tree, float extent, BuildWatch& watch) : mArea(extent) {
    std::size_t size = tree.top.size();
    std::vector<std::size_t> starts(tree.parts.size());
    for (std::size_t i = 0; i < tree.parts.size(); ++i) {
      starts[i] = size;
      size += tree.parts[i].size - 1;  // its root is a leaf of the top
    }
    mNodes = AlignedArray<BinaryNode>(size);
    mParents = AlignedArray<std::uint32_t>(size);
    mParents[0] = kNowhere;
    for (std::size_t i = 0; i < tree.top.size(); ++i) {
      const BinaryNode& node = tree.top[i];
      if (node.isInner())
        put(i, node, 0);
      else
        put(i, tree.parts[node.first].nodes[0], starts[node.first] - 1);
    }
    forEach(tree.parts.size(), [&](std::size_t i) {
      for (std::size_t k = 1; k < tree.parts[i].size; ++k)
        put(starts[i] + k - 1, tree.parts[i].nodes[k], starts[i] - 1);
      watch.done(0);
    });
  }

  std::uint32_t nbNodes() const { return std::uint32_t(mNodes.size()); }
  const BinaryNode& node(std::uint32_t number) const { return mNodes[number]; }

  void pass(BuildWatch& watch) {
    NodePolls poll(watch);
    const std::vector<std::uint32_t> largest = largestNodes(poll);
    std::vector<Move> moves(largest.size());
    const double perNode = double(mNodes[0].count) / double(largest.size() + 1);
    constexpr std::size_t kNodesPerPoll = 64;
    forEach((largest.size() + kNodesPerPoll - 1) / kNodesPerPoll, [&](std::size_t chunk) {
      const std::size_t begin = chunk * kNodesPerPoll, end = std::min(begin + kNodesPerPoll, largest.size());
      for (std::size_t i = begin; i < end; ++i) moves[i] = bestMove(largest[i]);
      watch.done(perNode * double(end - begin));
    });
    moves.erase(std::remove_if(moves.begin(), moves.end(), [](const Move& move) { return move.target == kNowhere; }),
                moves.end());
    std::sort(moves.begin(), moves.end(), [&](const Move& p, const Move& q) {
      poll();
      return p.gain != q.gain ? p.gain > q.gain : p.node < q.node;
    });
    std::vector<bool> isTouched(mNodes.size());
    for (const Move& move : moves) {
      poll();
      // A move counts on these being as they were.
      const std::uint32_t involved[] = {move.node, siblingOf(move.node), mParents[move.node], move.target,
                                        move.target == 0 ? 0 : mParents[move.target]};
      if (std::any_of(std::begin(involved), std::end(involved), [&](std::uint32_t i) { return isTouched[i]; }))
        continue;
      for (const std::uint32_t i : involved) isTouched[i] = true;
      make(move);
    }
  }

  int nbLevels(NodePolls& poll, std::uint32_t number = 0, int level = 1) const {
    poll();
    if (level > kMaxBinaryLevels || !mNodes[number].isInner()) return level;
    const std::uint32_t left = mNodes[number].leftChild();
    return std::max(nbLevels(poll, left, level + 1), nbLevels(poll, left + 1, level + 1));
  }

 private:
  void put(std::size_t number, BinaryNode node, std::size_t offset) {
    if (node.isInner()) {
      const auto left = std::uint32_t(node.leftChild() + offset);
      node.first = BinaryNode::kIsInner | left;
      mParents[left] = mParents[left + 1] = std::uint32_t(number);
    }
    mNodes[number] = node;
  }

  static std::uint32_t siblingOf(std::uint32_t number) { return number % 2 == 1 ? number + 1 : number - 1; }
  float areaOf(std::uint32_t number) const { return mArea.of(mNodes[number].lanes()); }

  // Those that have a grandparent, by area.
  std::vector<std::uint32_t> largestNodes(NodePolls& poll) const {
    struct Candidate {
      float area;
      std::uint32_t number;
    };
    const auto isBefore = [&](const Candidate& p, const Candidate& q) {
      poll();
      return p.area != q.area ? p.area > q.area : p.number < q.number;
    };
    std::vector<Candidate> all;
    all.reserve(mNodes.size());
    for (std::uint32_t i = 1; i < nbNodes(); ++i) {
      poll();
      if (mParents[i] != 0) all.push_back({areaOf(i), i});
    }
    const std::size_t count = std::min(all.size(), std::size_t(1 + kReinsertionShare * double(all.size())));
    std::nth_element(all.begin(), all.begin() + std::ptrdiff_t(count), all.end(), isBefore);
    all.resize(count);
    std::sort(all.begin(), all.end(), isBefore);
    std::vector<std::uint32_t> numbers;
    for (const Candidate& candidate : all) numbers.push_back(candidate.number);
    return numbers;
  }

  // Searches the whole tree, from the node's sibling upwards, for the place where the areas of inner nodes grow least.
  // Subtrees are left out where the growth on the way already exceeds the best.
  Move bestMove(std::uint32_t number) const {
    const tBoxLanes box = mNodes[number].lanes();
    const float area = mArea.of(box);
    Move best;
    best.node = number;
    struct Entry {
      std::uint32_t number;
      float gain;  // if the box were inserted below at no cost
    };
    std::vector<Entry> stack;
    // Without the node, its parent is gone, and the boxes of its ancestors shrink.
    const std::uint32_t parent = mParents[number];
    float gain = areaOf(parent);
    tBoxLanes shrunk = mNodes[siblingOf(number)].lanes();
    std::uint32_t sibling = siblingOf(number);
    int nbVisits = 0;
    for (std::uint32_t pivot = parent;;) {
      stack.push_back({sibling, gain});
      while (!stack.empty()) {
        const Entry entry = stack.back();
        stack.pop_back();
        if (entry.gain - area <= best.gain) continue;
        if (++nbVisits > kMaxSearchedNodes) return best;
        const BinaryNode& node = mNodes[entry.number];
        tBoxLanes merged = node.lanes();
        merged.unite(box);
        const float here = entry.gain - mArea.of(merged);
        if (here > best.gain && entry.number != siblingOf(number)) {
          best.gain = here;
          best.target = entry.number;
        }
        if (node.isInner()) {
          const float below = here + mArea.of(node.lanes());
          stack.push_back({node.leftChild(), below});
          stack.push_back({node.leftChild() + 1, below});
        }
      }
      if (pivot != parent) {
        shrunk.unite(mNodes[sibling].lanes());
        gain += areaOf(pivot) - mArea.of(shrunk);
      }
      if (pivot == 0) return best;
      sibling = siblingOf(pivot);
      pivot = mParents[pivot];
    }
  }

  // The sibling takes the parent's place, the target the sibling's, and the target's place becomes the new parent.
  void make(const Move& move) {
    const std::uint32_t sibling = siblingOf(move.node), parent = mParents[move.node];
    replace(parent, sibling);
    replace(sibling, move.target);
    const std::uint32_t left = std::min(move.node, sibling);
    mNodes[move.target].first = BinaryNode::kIsInner | left;
    mParents[move.node] = mParents[sibling] = move.target;
    refit(mParents[parent]);
    refit(move.target);
  }

  void replace(std::uint32_t place, std::uint32_t by) {
    mNodes[place] = mNodes[by];
    if (!mNodes[place].isInner()) return;
    const std::uint32_t left = mNodes[place].leftChild();
    mParents[left] = mParents[left + 1] = place;
  }

  void refit(std::uint32_t number) {
    for (; number != kNowhere; number = mParents[number]) {
      BinaryNode& node = mNodes[number];
      const BinaryNode &left = mNodes[node.leftChild()], &right = mNodes[node.leftChild() + 1];
      tBoxLanes box = left.lanes();
      box.unite(right.lanes());
      node.setBox(box);
      node.count = left.count + right.count;
    }
  }

  NodeArea mArea;
  AlignedArray<BinaryNode> mNodes;
  AlignedArray<std::uint32_t> mParents;
};

// Divides the optimised tree into parts again.
class Divider {
 public:
  Divider(const Optimizer& from, AlignedArray<std::uint32_t> order) : mFrom(from), mOldOrder(std::move(order)) {
    const std::size_t n = mOldOrder.size();
    mTree.order = AlignedArray<std::uint32_t>(n);
    mTree.memory = AlignedArray<BinaryNode>(n);
    mTree.choices = AlignedArray<std::uint64_t>(n);
    mTree.top.resize(1);
    addTop(0, 0);
  }

  BinaryTree divide(BuildWatch& watch, const OnPart& onPart) {
    tbb::enumerable_thread_specific<PartScratch> scratches;
    forEach(mTree.parts.size(), [&](std::size_t i) {
      PartScratch& scratch = scratches.local();
      BinaryPart& part = mTree.parts[i];
      std::uint32_t size = 1, position = part.begin;
      copy(scratch.nodes.data(), 0, mRoots[i], size, position);
      keepNodes(mTree, part, scratch, size);
      onPart(mTree, part);
      watch.done(part.end - part.begin);
    });
    return std::move(mTree);
  }

 private:
  void addTop(std::uint32_t number, std::uint32_t from) {
    const BinaryNode& node = mFrom.node(from);
    mTree.top[number] = node;
    if (node.count <= kMaxPartTriangles) {
      mTree.top[number].first = std::uint32_t(mTree.parts.size());
      mRoots.push_back(from);
      const std::uint32_t begin = mTree.parts.empty() ? 0 : mTree.parts.back().end;
      mTree.parts.emplace_back();
      mTree.parts.back().begin = begin;
      mTree.parts.back().end = begin + node.count;
      return;
    }
    const auto left = std::uint32_t(mTree.top.size());
    mTree.top.resize(left + 2);
    mTree.top[number].first = BinaryNode::kIsInner | left;
    addTop(left, node.leftChild());
    addTop(left + 1, node.leftChild() + 1);
  }

  void copy(BinaryNode* nodes, std::uint32_t number, std::uint32_t from, std::uint32_t& size, std::uint32_t& position) {
    const BinaryNode& node = mFrom.node(from);
    nodes[number] = node;
    if (node.isInner()) {
      const std::uint32_t left = size;
      size += 2;
      nodes[number].first = BinaryNode::kIsInner | left;
      copy(nodes, left, node.leftChild(), size, position);
      copy(nodes, left + 1, node.leftChild() + 1, size, position);
    } else {
      nodes[number].first = position;
      std::copy_n(&mOldOrder[node.first], node.count, &mTree.order[position]);
      position += node.count;
    }
  }

  const Optimizer& mFrom;
  AlignedArray<std::uint32_t> mOldOrder;
  BinaryTree mTree;
  std::vector<std::uint32_t> mRoots;  // of the parts
};

}  // namespace

BinaryTree reinsert(BinaryTree tree, float extent, BuildWatch& watch, const OnPart& onPart) {
  Optimizer optimizer(tree, extent, watch);
  for (int i = 0; i < kReinsertionPasses; ++i) optimizer.pass(watch);
  NodePolls poll(watch);
  if (optimizer.nbLevels(poll) > kMaxBinaryLevels) {
    forEach(tree.parts.size(), [&](std::size_t i) {
      onPart(tree, tree.parts[i]);
      watch.done(tree.parts[i].end - tree.parts[i].begin);
    });
    return tree;
  }
  AlignedArray<std::uint32_t> order = std::move(tree.order);
  tree = {};
  return Divider(optimizer, std::move(order)).divide(watch, onPart);
}

}  // namespace qzMeshQueries::detail
