// The hull query against its plain form, and a fingerprint of its answers.

#include <doctest/doctest.h>

#include "support/qzHash.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

struct Tally {
  int nbYes = 0, nbNo = 0;
};

using MakePlanes = Planes (*)(const qz::qzTriMesh&, Random&);

/// Queries both forms with count regions near the mesh.
void compare(const HullQBVH& hierarchy, int count, MakePlanes makePlanes, const qz::qzTriMesh& mesh, Random& random,
             Tally& tally) {
  const qzPlain::tQBVH plain = hierarchy.plain();
  for (int i = 0; i < count; ++i) {
    const Planes planes = makePlanes(mesh, random);
    const bool answer = meets(hierarchy, planes), expected = qzPlain::intersectConvexHull(plain, planes);
    if (answer != expected) {
      INFO(describe(planes));
      CHECK(answer == expected);
    }
    ++(answer ? tally.nbYes : tally.nbNo);
  }
}

/// Makes the boxes of some lanes unusual: inverted, infinite, NaN, or of any floats.
void spoilBoxes(HullQBVH& hierarchy, unsigned int oneIn, Random& random) {
  const qzPlain::tQBVH words = hierarchy.plain();
  for (unsigned int node = 0; node < hierarchy.getNoNodes(); ++node) {
    for (unsigned int lane = 0; lane < 4; ++lane) {
      if (random.below(oneIn) != 0) continue;
      const std::uint32_t* rows = &words.mNodes[std::size_t(node) * qzPlain::tQBVH::kNodeWords + lane];
      float corner[6];
      for (int row = 0; row < 6; ++row) corner[row] = floatFromBits(rows[4 * row]);
      switch (random.below(5)) {
        case 0:
          for (int axis = 0; axis < 3; ++axis) std::swap(corner[axis], corner[axis + 3]);
          break;
        case 1:
          corner[random.below(6)] = random.anyFloat();
          break;
        case 2:
          corner[random.below(6)] = kNaN;
          break;
        case 3:
          for (float& value : corner) value = random.anyFloat();
          break;
        default: {
          const std::uint32_t axis = random.below(3);
          std::swap(corner[axis], corner[axis + 3]);
          break;
        }
      }
      hierarchy.setLane(node, static_cast<int>(lane),
                        qzBBox::Make(corner[0], corner[1], corner[2], corner[3], corner[4], corner[5]), rows[4 * 6],
                        rows[4 * 7]);
    }
  }
}

struct Scene {
  const char* name;
  qz::qzTriMesh mesh;
};
std::vector<Scene> scenes() {
  std::vector<Scene> all;
  all.push_back({"terrain", terrainMesh(16, 21)});
  all.push_back({"soup", soupMesh(700, 22)});
  all.push_back({"sphere", sphereMesh(12, 20)});
  all.push_back({"awkward", awkwardMesh(300, 23)});
  return all;
}

/// The same on hierarchies of all scenes and leaf sizes.
Tally compareOnScenes(std::uint32_t seed, int count, MakePlanes makePlanes) {
  Tally tally;
  for (const Scene& scene : scenes()) {
    for (const unsigned int leafSize : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 16u, 1000000u}) {
      Random random(++seed);
      INFO("seed " << seed << " mesh " << scene.name << " leaf size " << leafSize);
      HullQBVH hierarchy;
      hierarchy.build(scene.mesh, leafSize);
      compare(hierarchy, count, makePlanes, scene.mesh, random, tally);
    }
  }
  return tally;
}

}  // namespace

TEST_CASE("hull queries with ordinary regions equal the plain form") {
  const Tally tally = compareOnScenes(100, 800, ordinaryPlanes);
  CHECK(tally.nbYes > 10000);
  CHECK(tally.nbNo > 10000);
}

TEST_CASE("hull queries with degenerate regions equal the plain form") {
  const Tally tally = compareOnScenes(200, 1500, awkwardPlanes);
  CHECK(tally.nbYes > 10000);
  CHECK(tally.nbNo > 10000);
}

TEST_CASE("hull queries on hierarchies with any boxes equal the plain form") {
  std::uint32_t seed = 300;
  Tally tally;
  for (const Scene& scene : scenes()) {
    for (const unsigned int oneIn : {1u, 3u, 20u, 200u}) {
      Random random(++seed);
      INFO("seed " << seed << " mesh " << scene.name << ", one box odd in " << oneIn);
      for (int i = 0; i < 120; ++i) {
        HullQBVH hierarchy;
        hierarchy.build(scene.mesh, 1 + random.below(6));
        spoilBoxes(hierarchy, oneIn, random);
        compare(hierarchy, 10, ordinaryPlanes, scene.mesh, random, tally);
        compare(hierarchy, 10, awkwardPlanes, scene.mesh, random, tally);
      }
    }
  }
  CHECK(tally.nbYes > 6000);
  CHECK(tally.nbNo > 6000);
}

TEST_CASE("hull queries on single quadruplets of any floats equal the plain form") {
  const qz::qzTriMesh mesh = soupMesh(40, 24);
  Random random(400);
  Tally tally;
  for (int i = 0; i < 20000; ++i) {
    HullQBVH hierarchy;
    hierarchy.allocateEmpty(0, 1);
    for (int lane = 0; lane < 4; ++lane) {
      Point corners[3];
      for (Point& corner : corners) corner = anyPointOn(mesh, random);
      for (unsigned int odd = random.below(3); odd > 0; --odd) {
        corners[random.below(3)][static_cast<int>(random.below(3))] = random.anyFloat();
      }
      hierarchy.setTriangle(0, lane, corners[0], corners[1], corners[2]);
    }
    INFO("seed 400, quadruplet " << i);
    compare(hierarchy, 2, ordinaryPlanes, mesh, random, tally);
    compare(hierarchy, 2, awkwardPlanes, mesh, random, tally);
  }
  CHECK(tally.nbYes > 10000);
  CHECK(tally.nbNo > 10000);
}

TEST_CASE("hull queries reproduce the recorded hash of their answers") {
  const qz::qzTriMesh meshes[] = {terrainMesh(16, 21), soupMesh(700, 22), awkwardMesh(300, 23)};
  Random random(500);
  Hash hash;
  for (const qz::qzTriMesh& mesh : meshes) {
    HullQBVH hierarchy;
    hierarchy.build(mesh, 4);
    for (int i = 0; i < 2000; ++i) {
      hash.add(std::uint32_t(meets(hierarchy, ordinaryPlanes(mesh, random)) ? 1 : 0));
      hash.add(std::uint32_t(meets(hierarchy, awkwardPlanes(mesh, random)) ? 1 : 0));
    }
  }
  CHECK(hash.value() == 0xDEE14FE64C7CF3F5u);
}
