// Hashes of whole trees, recorded from the plain form, which every compiler, flag set and processor must reproduce. The
// scenes are made from seeds by sums and products alone, so no library function of the platform matters.

#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"
#include "support/qzHash.h"
#include "support/scenes/qzBoxScenes.h"
#include "support/scenes/qzTestMeshes.h"

#include <doctest/doctest.h>

using namespace qzTest;

namespace {

// Boxes whose centres overflow, underflow, wrap and are NaN.
std::vector<qzBBox> anyBoxes(std::uint32_t count, std::uint32_t seed) {
  Random random(seed);
  std::vector<qzBBox> boxes;
  for (std::uint32_t i = 0; i < count; ++i) {
    const Wm4::Vector3<float> point = random.point(-1.0f, 1.0f);
    Wm4::Vector3<float> min = point, max = point;
    if (random.below(8) == 0) max[static_cast<int>(random.below(3))] = random.anyFloat();
    for (int c = 0; c < 3; ++c) {
      if (!(max[c] <= 1.0f)) max[c] = kNaN;  // keeps the grid that of the points; centres are anywhere below
    }
    boxes.push_back(qzBBox::Make(min, max));
  }
  return boxes;
}

struct Fingerprint {
  std::string name;
  std::vector<qzBBox> boxes;
  unsigned int bitsPerAxis, maxPrimitivesPerLeaf;
  std::uint64_t hash;
};

}  // namespace

TEST_CASE("trees of seeded scenes have their recorded hashes, in the library and in the plain form") {
  const std::vector<qzBBox> terrain = boxesOf(terrainMesh(48, 1)), soup = boxesOf(soupMesh(5000, 2)),
                            awkward = boxesOf(awkwardMesh(2000, 3)), random = randomBoxes(20000, 0.05f, 4),
                            wild = anyBoxes(3000, 5);
  const Fingerprint kFingerprints[] = {
      {"terrain", terrain, 20, 4, 0xDA0FF34C7BA3130Du},
      {"terrain, leaves of one", terrain, 20, 1, 0xD9126AE25146F9EAu},
      {"terrain, 32-bit codes", terrain, 10, 4, 0x71E798B4D7AF1C02u},
      {"terrain, coarse", terrain, 3, 8, 0xBA0C6091660C1E60u},
      {"soup", soup, 20, 4, 0x1978A66CFA8A6157u},
      {"soup, finest grid", soup, 21, 2, 0x832F659E56F9B25Fu},
      {"soup, first 64-bit codes", soup, 11, 3, 0x7060B96E8370085Du},
      {"awkward triangles", awkward, 20, 4, 0x05E2AF7F108AA664u},
      {"awkward triangles, large leaves", awkward, 16, 100, 0xBF2BAEA69DCCC6B0u},
      {"random boxes", random, 20, 4, 0xA197692E2DE98186u},
      {"random boxes, 32-bit codes", random, 9, 1, 0x14C42CCD696E0019u},
      {"wild boxes", wild, 20, 1, 0x353EA1B79E9AED77u},
      {"wild boxes, 32-bit codes", wild, 10, 1, 0x843972B2D3079E12u},
  };
  for (const Fingerprint& scene : kFingerprints) {
    CAPTURE(scene.name);
    const LogCapture quiet(false);
    const BoxContainer container(scene.boxes);

    qzPlain::LinearBuilder plainBuilder;
    qzPlain::Tree plainTree;
    plainBuilder.setMaxPrimitivesPerLeaf(scene.maxPrimitivesPerLeaf);
    CHECK(plainBuilder.build(container, plainTree, nullptr, scene.bitsPerAxis));
    CHECK(hashOfTree(plainTree.nodes, plainTree.primitives, plainTree.nbNodes) == scene.hash);

    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    builder.setMaxPrimitivesPerLeaf(scene.maxPrimitivesPerLeaf);
    CHECK(builder.build(container, tree, nullptr, scene.bitsPerAxis));
    CHECK(hashOfTree(tree) == scene.hash);

    const CancelAtPoll never(CancelAtPoll::kNever);
    CHECK(builder.build(container, tree, &never, scene.bitsPerAxis));
    CHECK(hashOfTree(tree) == scene.hash);
  }
}
