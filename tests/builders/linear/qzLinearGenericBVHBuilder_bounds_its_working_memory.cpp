// The peak memory of a build, beyond the two arrays of the finished tree.

#include "support/qzBits.h"
#include "support/qzHeapWatch.h"
#include "support/qzObservers.h"
#include "support/scenes/qzBoxScenes.h"

#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <string>

using namespace qzTest;

namespace {

constexpr std::uint32_t kCount = 200000;

std::vector<qzBBox> randomPoints(std::uint32_t count) {
  Random random(70);
  std::vector<qzBBox> boxes;
  boxes.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) boxes.emplace_back(random.point(-1.0f, 1.0f));
  return boxes;
}

// Every point twice: half as many leaves as primitives.
std::vector<qzBBox> randomPairs(std::uint32_t count) {
  std::vector<qzBBox> boxes = randomPoints(count / 2);
  boxes.reserve(count);
  for (std::uint32_t i = 0; i < count / 2; ++i) {
    const qzBBox box = boxes[i];
    boxes.push_back(box);
  }
  return boxes;
}

std::size_t bytesOf(const qzGenericBVH& tree) {
  return 32 * tree.getNodes().size() + 4 * tree.getPrimitives().size();
}

}  // namespace

TEST_CASE("a build at 20 bits per axis peaks at no more than 64 bytes per primitive beyond its result") {
  const LogCapture quiet(false);
  const CancelAtPoll never(CancelAtPoll::kNever);
  const struct {
    std::string name;
    BoxContainer container;
  } kScenes[] = {
      {"points", BoxContainer(randomPoints(kCount))},
      {"pairs of points", BoxContainer(randomPairs(kCount))},
      {"one point", BoxContainer(std::vector<qzBBox>(kCount))},
  };
  for (const bool mayBeCancelled : {false, true}) {
    const std::string way = mayBeCancelled ? "with a cancel interface" : "without one";
    double most = 0.0;
    for (const auto& scene : kScenes) {
      for (const unsigned int limit : {1u, 4u, 8u, 100u, 0xFFFFFFFFu}) {
        qzLinearGenericBVHBuilder builder;
        qzGenericBVH tree;
        builder.setMaxPrimitivesPerLeaf(limit);
        const HeapWatch heap;
        CHECK(builder.build(scene.container, tree, mayBeCancelled ? &never : nullptr, 20));
        REQUIRE(heap.peak() >= bytesOf(tree));
        const double bytes = static_cast<double>(heap.peak() - bytesOf(tree)) / kCount;
        INFO(scene.name, ", ", way, ", leaf limit ", limit);
        CHECK(bytes <= 64.0);
        most = std::max(most, bytes);
      }
    }
    MESSAGE(way, ": at most ", most, " bytes per primitive");
  }
}

TEST_CASE("a rebuild into the same tree peaks no higher than the first build, above the old arrays") {
  const LogCapture quiet(false);
  const BoxContainer container(randomPoints(kCount));
  qzLinearGenericBVHBuilder builder;
  qzGenericBVH tree;
  const HeapWatch first;
  CHECK(builder.build(container, tree, nullptr, 20));
  const std::size_t peakOfFirst = first.peak();
  const HeapWatch again;
  CHECK(builder.build(container, tree, nullptr, 20));
  CHECK(again.peak() <= peakOfFirst);
}

// The library allocates by operator new and by the aligned allocator only, as its list of imports shows.
TEST_CASE("a build allocates by operator new alone, so HeapWatch measures all of it") {
  const LogCapture quiet(false);
  const CancelAtPoll never(CancelAtPoll::kNever);
  const BoxContainer container(randomPoints(kCount));
  for (const auto* cancel : {static_cast<const CancelAtPoll*>(nullptr), &never}) {
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    const HeapWatch heap;
    CHECK(builder.build(container, tree, cancel, 20));
    CHECK(heap.nbAllocations() > 0);
    CHECK(heap.nbAlignedBlocks() == 0);
  }
}
