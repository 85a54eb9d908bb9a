// Plane sets of any size and any floats on a few meshes: answers as in the plain form.

#include <array>
#include <memory>

#include "fuzz/qzFuzzInput.h"
#include "fuzz/qzFuzzQueries.h"
#include "support/scenes/qzTestMeshes.h"

namespace {

struct Scenes {
  static constexpr unsigned int kNbMeshes = 5, kNbLeafSizes = 3;
  std::array<std::unique_ptr<qzFuzz::BothQBVH>, kNbMeshes * kNbLeafSizes> mHierarchies;

  Scenes() {
    const qz::qzTriMesh meshes[kNbMeshes] = {qzTest::soupMesh(1, 1), qzTest::terrainMesh(6, 2),
                                             qzTest::sphereMesh(5, 7), qzTest::awkwardMesh(60, 3),
                                             qzTest::soupMesh(90, 4)};
    const unsigned int leafSizes[kNbLeafSizes] = {1, 4, 1000};
    for (unsigned int i = 0; i < mHierarchies.size(); ++i) {
      mHierarchies[i] = std::make_unique<qzFuzz::BothQBVH>(1, meshes[i / kNbLeafSizes], leafSizes[i % kNbLeafSizes]);
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Scenes kScenes;
  qzFuzz::Input input(data, size);
  const qzFuzz::BothQBVH& hierarchy = *kScenes.mHierarchies[input.byte() % kScenes.mHierarchies.size()];
  hierarchy.askHull(input.planes(400));
  return 0;
}
