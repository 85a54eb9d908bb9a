// Several threads cast rays on one hierarchy at once.

#include <doctest/doctest.h>

#include <thread>

#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

TEST_CASE("concurrent ray queries on one hierarchy give the answers of a single thread") {
  constexpr int kNbThreads = 8, kNbRays = 4000;
  const qz::qzTriMesh mesh = terrainMesh(40, 95);
  OpenQBVH built;
  buildFromMesh(built, kBothArrays, mesh, 4);
  const OpenQBVH& hierarchy = built;
  Random random(96);
  std::vector<Ray> rays;
  std::vector<Answer> expected, expectedSymmetric;
  int nbHits = 0;
  for (int i = 0; i < kNbRays; ++i) {
    rays.push_back(ordinaryRay(mesh, random));
    expected.push_back(cast(hierarchy, rays.back()));
    expectedSymmetric.push_back(castSymmetric(hierarchy, rays.back()));
    nbHits += expected.back().hit ? 1 : 0;
  }
  CHECK(nbHits > kNbRays / 4);

  // Every thread casts all rays, starting at different ones.
  std::vector<int> nbDifferences(kNbThreads, 0);
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kNbThreads; ++thread) {
    threads.emplace_back([&, thread] {
      int count = 0;
      for (std::size_t i = 0; i < kNbRays; ++i) {
        const std::size_t ray = (i + thread * kNbRays / kNbThreads) % kNbRays;
        if (!sameAnswer(cast(hierarchy, rays[ray]), expected[ray])) ++count;
        if (!sameAnswer(castSymmetric(hierarchy, rays[ray]), expectedSymmetric[ray])) ++count;
      }
      nbDifferences[thread] = count;
    });
  }
  for (std::thread& thread : threads) thread.join();
  CHECK(nbDifferences == std::vector<int>(kNbThreads, 0));
}
