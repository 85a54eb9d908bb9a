// The triangles are sorted by the Morton codes of their centres: dealt out by the top digit of the codes, then sorted
// digit by digit within each of these pieces. A range of the sorted codes is split where their highest differing bit
// changes.

#include <qzCommonAddOns/qzDetail/base/qzBits.h>
#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>
#include <qzCommonAddOns/qzDetail/morton/qzRadixSort.h>
#include <qzMeshQueries/tree/BinaryBuild.h>
#include <qzMeshQueries/tree/Threads.h>
#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qzMeshQueries::detail {

using namespace qzDetail;

namespace {

constexpr int kBitsPerAxis = 21;

using Code = std::uint64_t;

struct Codes {
  AlignedArray<Code> codes;
  AlignedArray<std::uint32_t> triangles;

  explicit Codes(std::size_t n) : codes(n), triangles(n) {}
  tPairs<Code> pairs() { return {codes.data(), triangles.data()}; }
};

// Cells of a grid of 2^21 cells along the longest axis of the centres.
class Grid {
 public:
  explicit Grid(const CentreBox& centres) : mOrigin(centres.min) {
    alignas(16) float extent[4];
    store(extent, centres.max - centres.min);
    const float longest = std::max({extent[0], extent[1], extent[2]});
    constexpr float kCells = float(1 << kBitsPerAxis);
    mScale = float4(longest > 0 ? std::min(kCells / longest, std::numeric_limits<float>::max()) : 0.0f);
  }

  Code codeOf(tFloat4 centre) const {
    const tFloat4 last = float4(float((1 << kBitsPerAxis) - 1));
    alignas(16) std::int32_t cell[4];
    store(cell, truncate(smallerOf((centre - mOrigin) * mScale, last)));
    return encodeMorton3(std::uint32_t(cell[0]), std::uint32_t(cell[1]), std::uint32_t(cell[2]));
  }

 private:
  tFloat4 mOrigin, mScale;
};

// Calls work(chunk, begin, end) for chunks of the triangles, on all threads.
template <class Work>
void forEachChunk(std::size_t n, std::size_t chunkSize, BuildWatch& watch, const Work& work) {
  forEach((n + chunkSize - 1) / chunkSize, [&](std::size_t chunk) {
    const std::size_t begin = chunk * chunkSize, end = std::min(begin + chunkSize, n);
    work(chunk, begin, end);
    watch.done(double(end - begin));
  });
}

// The triangles in the order of their codes; those of equal codes ascending.
Codes sortByCodes(const BuildStart& start, BuildWatch& watch) {
  const std::size_t n = start.items.size();
  Codes given(n), sorted(n);
  const Grid grid(start.centres);
  std::vector<Code> differing((n + kTrianglesPerPoll - 1) / kTrianglesPerPoll);
  const Code first = grid.codeOf(CentreBox::centreOf(start.items[0].lanes()));
  forEachChunk(n, kTrianglesPerPoll, watch, [&](std::size_t chunk, std::size_t begin, std::size_t end) {
    Code bits = 0;
    for (std::size_t i = begin; i < end; ++i) {
      given.codes[i] = grid.codeOf(CentreBox::centreOf(start.items[i].lanes()));
      bits |= given.codes[i] ^ first;
    }
    differing[chunk] = bits;
  });
  Code allBits = 0;
  for (const Code bits : differing) allBits |= bits;

  // The digits of a window below the highest differing bit; what agrees in all of them forms runs.
  const unsigned nbBits = allBits == 0 ? 0 : highestBit(allBits) + 1;
  const unsigned shift = nbBits > 4 * kDigitBits ? nbBits - 4 * kDigitBits : 0, topShift = shift + 3 * kDigitBits;
  const auto pieceOf = [topShift](Code code) { return code >> topShift & (kDigitValues - 1); };
  const std::size_t chunkSize = 8 * kTrianglesPerPoll;
  std::vector<std::array<std::uint32_t, kDigitValues>> places((n + chunkSize - 1) / chunkSize);
  forEachChunk(n, chunkSize, watch, [&](std::size_t chunk, std::size_t begin, std::size_t end) {
    places[chunk].fill(0);
    for (std::size_t i = begin; i < end; ++i) ++places[chunk][pieceOf(given.codes[i])];
  });
  std::array<std::uint32_t, kDigitValues + 1> pieces;
  std::uint32_t sum = 0;
  for (std::size_t piece = 0; piece < kDigitValues; ++piece) {
    pieces[piece] = sum;
    for (auto& own : places) sum += std::exchange(own[piece], sum);
  }
  pieces[kDigitValues] = sum;
  forEachChunk(n, chunkSize, watch, [&](std::size_t chunk, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      const std::uint32_t to = places[chunk][pieceOf(given.codes[i])]++;
      sorted.codes[to] = given.codes[i];
      sorted.triangles[to] = std::uint32_t(i);
    }
  });
  forEach(kDigitValues, [&](std::size_t piece) {
    const std::uint32_t begin = pieces[piece], count = pieces[piece + 1] - begin;
    if (count == 0) return;
    // Three passes end in the other array.
    sortDigits<3>(sorted.pairs().from(begin), given.pairs().from(begin), count, shift);
    sortRuns(given.pairs().from(begin), sorted.pairs().from(begin), count, shift);
    watch.done(count);
  });
  return given;
}

class MortonBuilder {
 public:
  MortonBuilder(BinaryTree& tree, BuildWatch& watch, AlignedArray<BinaryNode> items, AlignedArray<Code> codes)
      : mTree(tree), mWatch(watch), mItems(std::move(items)), mCodes(std::move(codes)) {}

  void buildTop() {
    mTree.top.resize(1);
    addTop(0, 0, std::uint32_t(mCodes.size()), 1);
  }

  void buildParts(const OnPart& onPart) {
    tbb::enumerable_thread_specific<PartScratch> scratches;
    forEach(mTree.parts.size(), [&](std::size_t i) {
      PartScratch& scratch = scratches.local();
      BinaryPart& part = mTree.parts[i];
      std::uint32_t size = 1;
      build(scratch.nodes.data(), size, 0, part.begin, part.end, mLevels[i]);
      keepNodes(mTree, part, scratch, size);
      onPart(mTree, part);
      mWatch.done(part.end - part.begin);
    });
  }

 private:
  // Where the right half of a range of at least two begins.
  std::uint32_t split(std::uint32_t begin, std::uint32_t end, int level) const {
    const Code differing = mCodes[begin] ^ mCodes[end - 1];
    if (differing != 0) {
      const Code bit = Code(1) << highestBit(differing);
      std::uint32_t low = begin, high = end - 1;  // without and with the bit
      while (high - low > 1) {
        const std::uint32_t middle = low + (high - low) / 2;
        ((mCodes[middle] & bit) != 0 ? high : low) = middle;
      }
      if (levelAllows(level + 1, std::max(high - begin, end - high))) return high;
    }
    return begin + (end - begin) / 2;
  }

  void addTop(std::uint32_t number, std::uint32_t begin, std::uint32_t end, int level) {
    mTree.top[number].count = end - begin;
    if (end - begin <= kMaxPartTriangles) {
      mTree.top[number].first = std::uint32_t(mTree.parts.size());
      mTree.parts.emplace_back();
      mTree.parts.back().begin = begin;
      mTree.parts.back().end = end;
      mLevels.push_back(level);
      return;
    }
    const std::uint32_t middle = split(begin, end, level), left = std::uint32_t(mTree.top.size());
    mTree.top.resize(left + 2);
    mTree.top[number].first = BinaryNode::kIsInner | left;
    addTop(left, begin, middle, level + 1);
    addTop(left + 1, middle, end, level + 1);
  }

  // Returns the box of the node.
  tBoxLanes build(BinaryNode* nodes, std::uint32_t& size, std::uint32_t number, std::uint32_t begin, std::uint32_t end,
                  int level) const {
    tBoxLanes box;
    nodes[number].count = end - begin;
    if (end - begin <= kMaxLeafTriangles) {
      nodes[number].first = begin;
      for (std::uint32_t i = begin; i < end; ++i) {
        prefetchLine(&mItems[mTree.order[std::min(i + 16, std::uint32_t(mTree.order.size() - 1))]]);
        box.unite(mItems[mTree.order[i]].lanes());
      }
    } else {
      const std::uint32_t middle = split(begin, end, level), left = size;
      size += 2;
      nodes[number].first = BinaryNode::kIsInner | left;
      box = build(nodes, size, left, begin, middle, level + 1);
      box.unite(build(nodes, size, left + 1, middle, end, level + 1));
    }
    nodes[number].setBox(box);
    return box;
  }

  BinaryTree& mTree;
  BuildWatch& mWatch;
  AlignedArray<BinaryNode> mItems;
  AlignedArray<Code> mCodes;
  std::vector<int> mLevels;  // of the parts
};

}  // namespace

BinaryTree buildByMortonCodes(BuildStart start, BuildWatch& watch, const OnPart& onPart) {
  const std::size_t n = start.items.size();
  Codes sorted = sortByCodes(start, watch);
  BinaryTree tree;
  tree.order = std::move(sorted.triangles);
  tree.memory = AlignedArray<BinaryNode>(n);
  tree.choices = AlignedArray<std::uint64_t>(n);
  MortonBuilder builder(tree, watch, std::move(start.items), std::move(sorted.codes));
  builder.buildTop();
  builder.buildParts(onPart);
  uniteTop(tree);
  return tree;
}

}  // namespace qzMeshQueries::detail
