// Tiles of rays that go through the tree together, aimed where a box that is a rounding too small would lose a hit.

#include <doctest/doctest.h>

#include <cmath>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

/// Sixteen rays from origins close to each other at the same point, or almost.
void appendTile(std::vector<Ray>& rays, const float (&from)[3], const float* at, float spread, bool isPinhole,
                Random& random) {
  for (int i = 0; i < 16; ++i) {
    Ray ray;
    for (int axis = 0; axis < 3; ++axis) {
      ray.origin[axis] = from[axis] + (isPinhole ? 0.0f : random.between(-spread, spread));
      ray.direction[axis] = at[axis] - ray.origin[axis] + (isPinhole ? random.between(-spread, spread) : 0.0f);
    }
    if (i % 4 == 3)
      for (float& component : ray.direction)
        if (std::fabs(component) < 0.01f) component = 0;  // along a face
    rays.push_back(ray);
  }
}

}  // namespace

TEST_CASE("tiles aimed at vertices and edges of flat and thin boxes answer as single rays, near and far") {
  std::uint32_t seed = 780;
  for (const QueryMesh& mesh : {cubeMesh(), gridBoxMesh(4), queryMeshOf("terrain", terrainMesh(20, 781))}) {
    const Mesh view = mesh.view();
    for (const float distance : {1.5f, 50.0f, 1e4f, 1e7f}) {
      Random random(++seed);
      std::vector<Ray> rays;
      for (int tile = 0; tile < 300; ++tile) {
        const float* const at = view.vertices + 3 * std::size_t(random.below(std::uint32_t(view.vertexCount)));
        float from[3];
        for (float& x : from) x = random.below(4) == 0 ? 0.0f : random.between(-distance, distance);
        from[tile % 3] = (tile & 1) != 0 ? distance : -distance;
        const float spread = tile % 5 == 0 ? 0.0f : std::ldexp(distance, -int(4 + random.below(20)));
        appendTile(rays, from, at, spread, (tile & 2) != 0, random);
      }
      const MeshIndex index(view);
      std::vector<Hit> expected, hits(rays.size());
      std::vector<Crossings> crossings(rays.size());
      std::size_t nbHits = 0;
      for (const Ray& ray : rays) {
        expected.push_back(index.closestHit(ray));
        nbHits += expected.back() ? 1 : 0;
      }
      CHECK(nbHits > 100);
      for (const std::string& name : detail::instructionSets()) {
        const UsedInstructionSet used(name);
        INFO(mesh.name, ", ", distance, ", ", name);
        index.closestHits(rays.data(), rays.size(), hits.data(), {}, 1);
        CHECK(sameHits(hits, expected));
        index.crossings(rays.data(), rays.size(), crossings.data(), {}, 1);
        std::size_t nbWrong = 0;
        for (std::size_t i = 0; i < rays.size(); ++i) {
          const Crossings single = index.crossings(rays[i]);
          nbWrong += single.front != crossings[i].front || single.back != crossings[i].back ? 1 : 0;
        }
        CHECK(nbWrong == 0);
      }
    }
  }
}
