// The 2D builder against its plain form, over scenes of every kind, resolutions and leaf limits. BothBuilders2D
// compares nodes, capacity, primitives, counters and the builders' members in every build.

#include <doctest/doctest.h>

#include "builders/plane/qzBothBuilders2D.h"
#include "plain/qzPlainLinear2DBuilder.h"
#include "plain/qzPlainLinearBuilder.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzTestBoxes2D.h"

#include <qzCommonAddOns/qzDetail/morton/qzMorton.h>

using namespace qzTest;

namespace {

const unsigned int kBits[] = {0, 1, 2, 5, 8, 10, 15, 16, 17, 100, 0xFFFFFFFFu};
const unsigned int kLeafLimits[] = {0, 1, 2, 3, 4, 8, 100, 0x7FFFFFFFu, 0xFFFFFFFFu};

}  // namespace

TEST_CASE("2D scenes of every kind give the plain form's tree at every resolution and leaf limit") {
  const std::uint32_t kSeed = 151;
  for (const Scene2D& scene : scenesOfEveryKind(80, kSeed)) {
    INFO(scene.name, ", seed ", kSeed);
    for (const unsigned int limit : kLeafLimits) {
      for (const unsigned int bits : kBits) BothBuilders2D(limit).build(scene, bits);
    }
  }
}

TEST_CASE("2D scenes of thousands of primitives give the plain form's tree") {
  const std::uint32_t kSeed = 152;
  for (const Scene2D& scene : scenesOfEveryKind(5000, kSeed)) {
    INFO(scene.name, ", seed ", kSeed);
    for (const unsigned int bits : {5u, 10u, 16u}) BothBuilders2D(4).build(scene, bits);
  }
}

TEST_CASE("large 2D scenes give the plain form's tree") {
  const std::uint32_t kCount = 150000;
  Random random(153);
  std::vector<Point> clusters, line;
  for (std::uint32_t i = 0; i < kCount; ++i) {
    line.emplace_back(static_cast<float>(i) * 0.25f, 0.0f);
    const float cluster = static_cast<float>(random.below(5)) * 100.0f;
    clusters.emplace_back(cluster + random.unit(), cluster + random.unit() * 1e-3f);
  }
  for (const Scene2D& scene : {randomScene(kCount, 0.01f, 154), pointScene(clusters), pointScene(line)}) {
    BothBuilders2D(4).build(scene, 10);
    BothBuilders2D(1).build(scene, 16);
  }
}

TEST_CASE("numbers of 2D primitives around powers of two give the plain form's tree") {
  for (std::uint32_t count = 1; count <= 300; ++count) {
    BothBuilders2D(1 + count % 5).build(randomScene(count, 0.1f, 155 + count), 1 + count % 16);
  }
}

TEST_CASE("repeated builds by one 2D builder into one tree give the plain form's tree every time") {
  const std::uint32_t kSeed = 156;
  const std::vector<Scene2D> scenes = scenesOfEveryKind(100, kSeed);
  BothBuilders2D both;
  Random random(kSeed);
  for (int round = 0; round < 500; ++round) {
    const Scene2D& scene = scenes[random.below(static_cast<std::uint32_t>(scenes.size()))];
    INFO("round ", round, ": ", scene.name, ", seed ", kSeed);
    both.setMaxPrimitivesPerLeaf(1 + random.below(8));
    both.fill(scene, random.below(3) * 5);
    both.build(random.below(18));
  }
}

TEST_CASE("a 2D build does not depend on the caller's float mode, which is kept") {
  const std::uint32_t kSeed = 157;
  for (const Scene2D& scene : scenesOfEveryKind(60, kSeed)) {
    INFO(scene.name, ", seed ", kSeed);
    for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
      BothBuilders2D expected;
      expected.build(scene, 16);
      OpenBuilder2D builder = expected.builder();
      builder.mIndices.resize(builder.mNbPrimitives);
      qzGenericBVH2D tree;
      bool isKept;
      {
        const CallersFloatMode callers(mode);
        builder.build(tree, 16);
        isKept = callers.isKept();
      }
      CHECK(isKept);
      CHECK(primitivesOf(tree) == expected.primitives());
      REQUIRE(tree.getNodes().size() == expected.nodes().size());
      for (std::size_t i = 0; i < tree.getNodes().size(); ++i) {
        CHECK(sameBits(tree.getNodes()[i], expected.nodes()[i]));
      }
    }
  }
}

TEST_CASE("encodeMorton2 equals interleaving bit by bit") {
  for (std::uint32_t q = 0; q < 0x10000u; ++q) {
    const std::uint32_t other = q * 40503u & 0xFFFFu;
    if (qzDetail::encodeMorton2(q, other) != qzPlain::mortonCode(q, other)) FAIL(q, " ", other);
  }
  CHECK(qzPlain::mortonCode(1, 0) == 1);
  CHECK(qzPlain::mortonCode(0, 1) == 2);
  CHECK(qzPlain::mortonCode(2, 0) == 4);
  CHECK(qzPlain::mortonCode(0xFFFF, 0) == 0x55555555u);
  CHECK(qzPlain::mortonCode(0, 0xFFFF) == 0xAAAAAAAAu);
}
