// Hashes of whole trees, recorded from the plain form, which every compiler, flag set and processor must reproduce. The
// scenes are made from seeds by sums and products alone, so no library function of the platform matters.

#include <doctest/doctest.h>

#include "builders/surface_area/qzBothSAHBuilders.h"
#include "support/qzHash.h"
#include "support/scenes/qzBoxScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

// Boxes that the scene box does not all contain: bins wrap, centroids are NaN.
std::vector<qzBBox> anyBoxes(std::uint32_t count, std::uint32_t seed) {
  Random random(seed);
  std::vector<qzBBox> boxes = randomBoxes(count, 0.1f, seed);
  for (qzBBox& box : boxes) {
    if (random.below(8) != 0) continue;
    Wm4::Vector3<float> max = box.getMaxPoint();
    max[static_cast<int>(random.below(3))] = random.anyFloat();
    box = qzBBox::Make(box.getMinPoint(), max);
  }
  return boxes;
}

struct Fingerprint {
  std::string name;
  std::vector<qzBBox> boxes;
  std::uint64_t hash;
};

}  // namespace

TEST_CASE("trees of seeded scenes have their recorded hashes, in the library and in the plain form") {
  const Fingerprint kFingerprints[] = {
      {"terrain", boxesOf(terrainMesh(48, 1)), 0xE7922A3C17DDC4B5u},
      {"soup", boxesOf(soupMesh(5000, 2)), 0xEF300930272BCE28u},
      {"awkward triangles", boxesOf(awkwardMesh(2000, 3)), 0xCCEB6B8AF0E7116Cu},
      {"random boxes", randomBoxes(20000, 0.05f, 4), 0x1E8DB46B61D09363u},
      {"wild boxes", anyBoxes(3000, 5), 0x04A01EAEF0781A20u},
      {"a few wild boxes", anyBoxes(300, 6), 0x20E3EFF89273D5B2u},
  };
  for (const Fingerprint& scene : kFingerprints) {
    CAPTURE(scene.name);
    BothSAHBuilders both(scene.boxes);
    both.build();
    CHECK(hashOfTree(both.tree()) == scene.hash);
  }
}
