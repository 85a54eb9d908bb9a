// The builder against its plain form, over scenes of every kind, resolutions and leaf limits. BothBuilders compares
// nodes, primitives, counters, records, calls and polls in every build.

#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"
#include "support/scenes/qzTestMeshes.h"

#include <qzCommonAddOns/builders/qzBVHMeshContainer.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>

#include <doctest/doctest.h>

using namespace qzTest;

namespace {

const unsigned int kBits[] = {0, 1, 2, 5, 9, 10, 11, 16, 20, 21, 22, 100};
const unsigned int kLeafLimits[] = {0, 1, 2, 3, 4, 8, 100, 0x7FFFFFFFu, 0xFFFFFFFFu};

}  // namespace

TEST_CASE("scenes of every kind give the plain form's tree at every resolution and leaf limit") {
  const std::uint32_t kSeed = 20;
  for (const Scene& scene : scenesOfEveryKind(80, kSeed)) {
    INFO(scene.name, ", seed ", kSeed);
    for (const unsigned int limit : kLeafLimits) {
      for (const unsigned int bits : kBits) {
        BothBuilders withoutPolls(limit), withPolls(limit);
        CHECK(withoutPolls.build(scene.boxes, bits));
        CHECK(withPolls.build(scene.boxes, bits, CancelAtPoll::kNever));
      }
    }
  }
}

TEST_CASE("scenes of thousands of boxes give the plain form's tree") {
  const std::uint32_t kSeed = 21;
  for (const Scene& scene : scenesOfEveryKind(5000, kSeed)) {
    INFO(scene.name, ", seed ", kSeed);
    for (const unsigned int bits : {10u, 20u}) {
      CHECK(BothBuilders(4).build(scene.boxes, bits));
      CHECK(BothBuilders(4).build(scene.boxes, bits, CancelAtPoll::kNever));
    }
  }
}

TEST_CASE("large scenes give the plain form's tree") {
  const std::uint32_t kCount = 150000;
  Random random(22);
  std::vector<Wm4::Vector3<float>> points, clusters, line;
  for (std::uint32_t i = 0; i < kCount; ++i) {
    points.push_back(random.point(-3.0f, 7.0f));
    line.emplace_back(static_cast<float>(i) * 0.25f, 0.0f, 0.0f);
    const float cluster = static_cast<float>(random.below(5)) * 100.0f;
    clusters.emplace_back(cluster + random.unit(), random.unit() * 1e-3f, cluster);
  }
  for (const auto* scene : {&points, &clusters, &line}) {
    const std::vector<qzBBox> boxes = pointBoxes(*scene);
    CHECK(BothBuilders(4).build(boxes, 10));
    CHECK(BothBuilders(4).build(boxes, 20));
    CHECK(BothBuilders(1).build(boxes, 21, CancelAtPoll::kNever));
  }
}

TEST_CASE("numbers of primitives around powers of two give the plain form's tree") {
  for (std::uint32_t count = 1; count <= 300; ++count) {
    const std::vector<qzBBox> boxes = randomBoxes(count, 0.1f, 23 + count);
    CHECK(BothBuilders(1 + count % 5).build(boxes, 1 + count % 21));
    CHECK(BothBuilders(1 + count % 5).build(boxes, 1 + count % 21, CancelAtPoll::kNever));
  }
}

TEST_CASE("repeated builds by one builder into one tree give the plain form's tree every time") {
  const std::uint32_t kSeed = 24;
  const std::vector<Scene> scenes = scenesOfEveryKind(100, kSeed);
  BothBuilders both;
  Random random(kSeed);
  for (int round = 0; round < 400; ++round) {
    const Scene& scene = scenes[random.below(static_cast<std::uint32_t>(scenes.size()))];
    INFO("round ", round, ": ", scene.name, ", seed ", kSeed);
    both.setMaxPrimitivesPerLeaf(1 + random.below(8));
    CHECK(both.build(scene.boxes, random.below(23), random.below(2) == 0 ? kNoInterface : CancelAtPoll::kNever));
  }
}

TEST_CASE("a used builder and tree give what new ones give, also after cancelled builds") {
  const std::uint32_t kSeed = 25;
  const std::vector<Scene> scenes = scenesOfEveryKind(60, kSeed);
  BothBuilders used;
  Random random(kSeed);
  for (const Scene& scene : scenes) {
    INFO(scene.name, ", seed ", kSeed);
    used.build(scenes[5].boxes, 20, random.below(300));
    CHECK(used.build(scene.boxes, 20));
    BothBuilders fresh;
    CHECK(fresh.build(scene.boxes, 20));
    REQUIRE(used.nodes().size() == fresh.nodes().size());
    for (std::size_t i = 0; i < fresh.nodes().size(); ++i) CHECK(sameBits(used.nodes()[i], fresh.nodes()[i]));
    CHECK(used.tree().getPrimitives() == fresh.tree().getPrimitives());
  }
}

TEST_CASE("the library's containers give the tree of a list of the same boxes") {
  qz::qzTriMesh terrain = terrainMesh(20, 26), sphere = sphereMesh(9, 12), soup = soupMesh(100, 27);
  const qzBVHTriangleContainer triangles(terrain);
  const qzBVHMeshContainer meshes({&terrain, &sphere, &soup});
  const auto check = [](const qzLinearGenericBVHBuilder::tPrimitiveContainerInterface& container) {
    std::vector<qzBBox> boxes;
    for (unsigned int i = 0; i < container.getQuantity(); ++i) boxes.push_back(*container.getBBox(i));
    BothBuilders expected;
    CHECK(expected.build(boxes, 20));
    const LogCapture quiet(false);
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    CHECK(builder.build(container, tree, nullptr, 20));
    REQUIRE(tree.getNodes().size() == expected.nodes().size());
    for (std::size_t i = 0; i < tree.getNodes().size(); ++i) CHECK(sameBits(tree.getNodes()[i], expected.nodes()[i]));
    CHECK(tree.getPrimitives() == expected.tree().getPrimitives());
  };
  check(triangles);
  check(meshes);
}
