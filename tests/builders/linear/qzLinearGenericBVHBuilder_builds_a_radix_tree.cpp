// Properties of every tree that the builder makes, checked against the cells without another builder.

#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzBoxScenes.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace qzTest;

namespace {

struct Checker {
  const std::vector<qzBBox>& boxes;
  const std::vector<std::uint64_t>& codes;  // by primitive number
  unsigned int nbCodeBits, limit;
  const qzGenericBVH& tree;
  std::size_t nbVisited = 0;

  // Checks the subtree over positions first to last, whose codes share all bits from nbFreeBits up. Returns its box.
  qzBBox check(unsigned int number, std::size_t first, std::size_t last, unsigned int nbFreeBits) {
    ++nbVisited;
    REQUIRE(number < tree.getNodes().size());
    const qzGNode& node = tree.getNode(number);
    const auto codeAt = [&](std::size_t position) { return codes[tree.getPrimitives()[position]]; };
    qzBBox box;
    if (node.isLeaf()) {
      REQUIRE(node.getPrimStartIdx() == first);
      REQUIRE(node.getNoPrimitives() == last - first + 1);
      const bool isOneCode = codeAt(first) == codeAt(last);
      CHECK((node.getNoPrimitives() <= limit || isOneCode));
      for (std::size_t k = first; k <= last; ++k) {
        const qzBBox& of = boxes[tree.getPrimitives()[k]];
        box = qzBBox::Make(std::min(box.xMin(), of.xMin()), std::min(box.yMin(), of.yMin()),
                           std::min(box.zMin(), of.zMin()), std::max(box.xMax(), of.xMax()),
                           std::max(box.yMax(), of.yMax()), std::max(box.zMax(), of.zMax()));
      }
    } else {
      CHECK(last - first + 1 > limit);
      // The range is split at the highest bit in which its codes differ.
      unsigned int bit = nbFreeBits;
      do {
        REQUIRE(bit > 0);
        --bit;
      } while ((codeAt(first) >> bit & 1) == (codeAt(last) >> bit & 1));
      std::size_t middle = first;
      while ((codeAt(middle) >> bit & 1) == 0) ++middle;
      const qzBBox::tAxis kAxes[] = {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ};
      CHECK(node.getAxis() == kAxes[bit % 3]);
      CHECK(node.getRightChildIdx() == node.getNoPrimitives());  // split position 0
      CHECK(node.getRightChildIdx() == node.getLeftChildIdx() + 1);
      const qzBBox left = check(node.getLeftChildIdx(), first, middle - 1, bit);
      const qzBBox right = check(node.getRightChildIdx(), middle, last, bit);
      box = qzBBox::Make(std::min(left.xMin(), right.xMin()), std::min(left.yMin(), right.yMin()),
                         std::min(left.zMin(), right.zMin()), std::max(left.xMax(), right.xMax()),
                         std::max(left.yMax(), right.yMax()), std::max(left.zMax(), right.zMax()));
    }
    CHECK(sameBits(node.getBBox(), box));
    return box;
  }
};

}  // namespace

TEST_CASE("trees over known cells split at the highest differing bit, down to the leaf limit") {
  Random random(60);
  for (int round = 0; round < 60; ++round) {
    const unsigned int bits = 1 + random.below(21), limit = 1 + random.below(6), spread = random.below(bits) + 1;
    std::vector<Cell> cells;
    for (int i = 0; i < 400; ++i) {
      const auto coordinate = [&] { return random.below(1u << spread) << (bits - spread); };
      const std::uint32_t x = coordinate(), y = coordinate(), z = coordinate();
      cells.push_back({x, y, z});
    }
    const std::vector<qzBBox> boxes = boxesInCells(cells, bits);
    const std::uint32_t last = (1u << bits) - 1;
    std::vector<std::uint64_t> codes = {qzPlain::mortonCode(0, 0, 0), qzPlain::mortonCode(last, last, last)};
    for (const Cell& cell : cells) codes.push_back(qzPlain::mortonCode(cell.x, cell.y, cell.z));

    INFO("round ", round, ": ", bits, " bits, of which ", spread, " are used, leaf limit ", limit);
    BothBuilders both(limit);
    REQUIRE(both.build(boxes, bits));
    const std::vector<unsigned int>& primitives = both.tree().getPrimitives();
    REQUIRE(primitives.size() == boxes.size());
    std::vector<unsigned int> expected(boxes.size());
    for (unsigned int i = 0; i < expected.size(); ++i) expected[i] = i;
    std::stable_sort(expected.begin(), expected.end(),
                     [&](unsigned int a, unsigned int b) { return codes[a] < codes[b]; });
    REQUIRE(primitives == expected);

    Checker checker{boxes, codes, 3 * bits, limit, both.tree()};
    checker.check(0, 0, boxes.size() - 1, 3 * bits);
    CHECK(checker.nbVisited == both.nodes().size());
    std::sort(codes.begin(), codes.end());
    const auto nbCodes = std::unique(codes.begin(), codes.end()) - codes.begin();
    CHECK(both.tree().getNbNodes() == 2 * nbCodes - 1);
  }
}

TEST_CASE("a linear build does not depend on the caller's float mode, which is kept") {
  Random random(61);
  // Cells smaller than the range of denormals, and every other box denormal: flushed to zero, these would share cell 0.
  const float edge = 3.7e-33f;
  std::vector<qzBBox> boxes = pointBoxes({{0.0f, 0.0f, 0.0f}, {edge, edge, edge}});
  for (int i = 0; i < 300; ++i) {
    const auto tiny = [&] { return floatFromBits(random.below(0x00800000u)); };
    const float x = tiny(), y = tiny(), z = tiny();
    boxes.emplace_back(i % 2 == 0 ? Wm4::Vector3<float>(x, y, z) : random.point(0.0f, edge));
  }
  BothBuilders expected(1);
  CHECK(expected.build(boxes, 20));
  CHECK(expected.nodes().size() > 100);
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    const LogCapture quiet(false);
    const BoxContainer container(boxes);
    qzLinearGenericBVHBuilder builder;
    builder.setMaxPrimitivesPerLeaf(1);
    qzGenericBVH tree;
    bool isComplete, isKept;
    {
      const CallersFloatMode callers(mode);
      isComplete = builder.build(container, tree, nullptr, 20);
      isKept = callers.isKept();
    }
    INFO("mode ", static_cast<unsigned int>(mode));
    CHECK(isComplete);
    CHECK(isKept);
    CHECK(tree.getPrimitives() == expected.tree().getPrimitives());
    REQUIRE(tree.getNodes().size() == expected.nodes().size());
    for (std::size_t i = 0; i < tree.getNodes().size(); ++i) CHECK(sameBits(tree.getNodes()[i], expected.nodes()[i]));
  }
}
