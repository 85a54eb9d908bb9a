// Several threads query one hierarchy at once, with shared plane sets.

#include <doctest/doctest.h>

#include <memory>
#include <thread>

#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

TEST_CASE("concurrent hull queries on one hierarchy and shared plane sets give the answers of a single thread") {
  constexpr std::size_t kNbThreads = 8, kNbRegions = 2000;
  const qz::qzTriMesh mesh = terrainMesh(40, 61);
  HullQBVH built;
  built.build(mesh, 4);
  const HullQBVH& hierarchy = built;
  Random random(62);
  std::vector<std::unique_ptr<PlaneSet>> sets;
  std::vector<bool> expected;
  std::size_t nbYes = 0;
  for (std::size_t i = 0; i < kNbRegions; ++i) {
    sets.push_back(std::make_unique<PlaneSet>(ordinaryPlanes(mesh, random)));
    expected.push_back(sets.back()->meets(hierarchy));
    nbYes += expected.back() ? 1 : 0;
  }
  CHECK(nbYes > kNbRegions / 4);
  CHECK(nbYes < 3 * kNbRegions / 4);

  // Every thread queries all regions, starting at different ones.
  std::vector<int> nbDifferences(kNbThreads, -1);
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kNbThreads; ++thread) {
    threads.emplace_back([&, thread] {
      int count = 0;
      for (std::size_t i = 0; i < kNbRegions; ++i) {
        const std::size_t region = (i + thread * kNbRegions / kNbThreads) % kNbRegions;
        if (sets[region]->meets(hierarchy) != expected[region]) ++count;
      }
      nbDifferences[thread] = count;
    });
  }
  for (std::thread& thread : threads) thread.join();
  CHECK(nbDifferences == std::vector<int>(kNbThreads, 0));
}
