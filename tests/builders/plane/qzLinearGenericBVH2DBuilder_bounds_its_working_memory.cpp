// The peak memory of a 2D build, and its state after an allocation failed.

#include <doctest/doctest.h>

#include "builders/plane/qzScenes2D.h"
#include "support/access/qzOpenBVH2D.h"
#include "support/access/qzSameTrees.h"
#include "support/qzHeapWatch.h"
#include "support/qzRefusals.h"
#include "support/scenes/qzTestBoxes2D.h"

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

}  // namespace

TEST_CASE("a 2D build peaks at 12 bytes per primitive beyond the resulting nodes, and then holds only these") {
  const std::uint32_t kCount = 200000, kPages = 64 * 1024;
  const Scene2D random = randomScene(kCount, 0.01f, 191);
  const Scene2D onePlace = pointScene(std::vector<Point>(kCount, Point(1.0f, 2.0f)));
  for (const Scene2D* scene : {&random, &onePlace}) {
    for (const unsigned int limit : {1u, 4u, 1000000u}) {
      INFO("leaf limit ", limit);
      OpenBuilder2D builder = builderOf(*scene);
      builder.setMaxPrimitivesPerLeaf(limit);
      qzGenericBVH2D tree;
      const HeapWatch meter;
      builder.build(tree, 16);
      const std::size_t bytesOfNodes = sizeof(qzGNode2D) * tree.getNodes().size();
      CHECK(meter.held() == bytesOfNodes);
      CHECK(meter.peak() <= bytesOfNodes + 12 * std::size_t(kCount) + kPages);
    }
  }
}

TEST_CASE("a 2D build whose allocation fails throws and leaves the tree unchanged, and the next build succeeds") {
  const Scene2D scene = randomScene(5000, 0.1f, 192);
  const OpenBuilder2D filled = builderOf(scene);
  qzGenericBVH2D expected, tree;
  OpenBuilder2D(filled).build(expected, 16);

  qzGNode2D node;
  node.setLeaf(3, 4);
  tree.editNodes() = {node};
  primitivesOf(tree) = {5, 6};
  nbPrimitivesOf(tree) = 7;
  nbNodesOf(tree) = 8;
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    qzGenericBVH2D target = tree;
    OpenBuilder2D builder = filled;
    const bool isRefused = refusal.strikes([&] { builder.build(target, 16); });
    if (isRefused) {
      REQUIRE(target.getNodes().size() == 1);
      CHECK(sameBits(target.getNode(0), node));
      CHECK(primitivesOf(target) == std::vector<unsigned int>{5, 6});
      CHECK(nbPrimitivesOf(target) == 7);
      CHECK(nbNodesOf(target) == 8);
    }
    builder.mIndices.resize(5000);
    builder.build(target, 16);
    CHECK(sameNodes(target, expected));
    CHECK(primitivesOf(target) == primitivesOf(expected));
    return isRefused;
  });
  CHECK(nbRefused >= 3);  // codes, the sort, the nodes
}

TEST_CASE("copying or assigning a 2D builder throws when an allocation fails, and succeeds afterwards") {
  const Scene2D scene = randomScene(60, 0.1f, 24);
  const OpenBuilder2D source = builderOf(scene);
  qzGenericBVH2D expected;
  OpenBuilder2D(source).build(expected, 16);
  const std::uint64_t nbOfCopy = refuseEachInTurn(
      [&](const Refusal& refusal) { return refusal.strikes([&] { static_cast<void>(OpenBuilder2D(source)); }); });
  const std::uint64_t nbOfAssignment = refuseEachInTurn([&](const Refusal& refusal) {
    OpenBuilder2D target;
    const bool isRefused = refusal.strikes([&] { target = source; });
    target = source;
    qzGenericBVH2D tree;
    target.build(tree, 16);
    CHECK(sameNodes(tree, expected));
    return isRefused;
  });
  CHECK(nbOfCopy == 3);
  CHECK(nbOfAssignment == 3);
}
