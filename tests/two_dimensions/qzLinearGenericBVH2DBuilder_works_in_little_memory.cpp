// What a 2D build holds at its worst, and what is left when there is no memory. An executable of its own, because it
// replaces operator new.

#include <doctest/doctest.h>

#include <new>

#include "support/qzHeapMeter.h"
#include "two_dimensions/qzOpenBVH2D.h"
#include "two_dimensions/qzScenes2D.h"
#include "two_dimensions/qzTestBoxes2D.h"

using namespace qzTest;

namespace {

OpenBuilder2D builderOf(const Scene2D& scene) {
  OpenBuilder2D builder;
  builder.mPoints = scene.points;
  builder.mBBoxes = scene.boxes;
  builder.mBounds = scene.bounds;
  builder.mNbPrimitives = static_cast<unsigned int>(scene.points.size());
  builder.mIndices.resize(scene.points.size());
  return builder;
}

bool sameNodes(const qzGenericBVH2D& a, const qzGenericBVH2D& b) {
  if (a.getNodes().size() != b.getNodes().size()) return false;
  for (std::size_t i = 0; i < a.getNodes().size(); ++i) {
    if (!sameBits(a.getNodes()[i], b.getNodes()[i])) return false;
  }
  return true;
}

}  // namespace

TEST_CASE("a 2D build works in 12 bytes per primitive beside the nodes of the result, and leaves nothing else behind") {
  const std::uint32_t kCount = 200000, kPages = 64 * 1024;
  const Scene2D random = randomScene(kCount, 0.01f, 191);
  const Scene2D onePlace = pointScene(std::vector<Point>(kCount, Point(1.0f, 2.0f)));
  for (const Scene2D* scene : {&random, &onePlace}) {
    for (const unsigned int limit : {1u, 4u, 1000000u}) {
      INFO("leaf limit ", limit);
      OpenBuilder2D builder = builderOf(*scene);
      builder.setMaxPrimitivesPerLeaf(limit);
      qzGenericBVH2D tree;
      const HeapMeter meter;
      builder.build(tree, 16);
      const std::size_t bytesOfNodes = sizeof(qzGNode2D) * tree.getNodes().size();
      CHECK(meter.held() == bytesOfNodes);
      CHECK(meter.peak() <= bytesOfNodes + 12 * std::size_t(kCount) + kPages);
    }
  }
}

TEST_CASE("a 2D build without memory throws, leaks nothing and leaves the tree; the next build is none the worse") {
  const Scene2D scene = randomScene(5000, 0.1f, 192);
  OpenBuilder2D builder = builderOf(scene);
  qzGenericBVH2D expected, tree;
  builder.build(expected, 16);

  qzGNode2D node;
  node.setLeaf(3, 4);
  tree.editNodes() = {node};
  primitivesOf(tree) = {5, 6};
  nbPrimitivesOf(tree) = 7;
  nbNodesOf(tree) = 8;
  builder.mIndices.resize(5000);
  std::uint64_t nbRefused = 0;
  const auto isRefused = [&](std::uint64_t allocation) {
    const RefusedAllocation refused(allocation);
    try {
      builder.build(tree, 16);
    } catch (const std::bad_alloc&) {
      return true;
    }
    return refused.hasHappened();
  };
  for (HeapMeter meter; isRefused(nbRefused); ++nbRefused) {
    CHECK(meter.held() == 0);
    REQUIRE(tree.getNodes().size() == 1);
    CHECK(sameBits(tree.getNode(0), node));
    CHECK(primitivesOf(tree) == std::vector<unsigned int>{5, 6});
    CHECK(nbPrimitivesOf(tree) == 7);
    CHECK(nbNodesOf(tree) == 8);
  }
  CHECK(nbRefused >= 3);  // codes, the sort, the nodes
  CHECK(sameNodes(tree, expected));
  CHECK(primitivesOf(tree) == primitivesOf(expected));
}
