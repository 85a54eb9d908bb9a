// No box loses a hit: a ray that the kernel says hits a triangle meets every box around it, entering not behind the hit
// and leaving not before it. The hardest box is the tightest one, in a mesh that has no other triangle: then margins are
// smallest. The hardest ray ends where it hits.

#include <doctest/doctest.h>

#include <qzMeshQueries/walk/RaySlabs.h>

#include <algorithm>
#include <cmath>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

struct Box {
  float min[3], max[3];
};

Box boxOf(const QueryMesh& mesh, std::size_t triangle) {
  Box box;
  for (std::size_t i = 0; i < 3; ++i) {
    const float a = mesh.corner(triangle, 0)[i], b = mesh.corner(triangle, 1)[i], c = mesh.corner(triangle, 2)[i];
    box.min[i] = std::min({a, b, c});
    box.max[i] = std::max({a, b, c});
  }
  return box;
}

/// Where slabs enter and leave a box, by fused operations or not.
template <class MultiplyAdd>
bool meets(const detail::RaySlabs& slabs, const Box& box, MultiplyAdd multiplyAdd) {
  float enter = slabs.from, leave = slabs.to;
  for (int axis = 0; axis < 3; ++axis) {
    const float planes[2] = {box.min[axis], box.max[axis]};
    const int near = slabs.nearRow[axis] - 2 * axis;
    const float entry = multiplyAdd(planes[near], slabs.inverse[axis], slabs.nearShift[axis]);
    const float exit = multiplyAdd(planes[near ^ 1], slabs.inverse[axis], slabs.farShift[axis]);
    if (std::isnan(entry) || std::isnan(exit)) return false;
    enter = std::max(enter, entry);
    leave = std::min(leave, exit);
  }
  return enter <= leave;
}

/// The part of a ray that is one hit.
Ray endingAt(Ray ray, float t) {
  ray.tMin = ray.tMax = t;
  return ray;
}

/// Calls check(ray, triangle, hit) for rays of all kinds and the triangles that the kernel says they hit.
template <class Check>
int forEachHit(const QueryMesh& mesh, std::uint32_t seed, int nbRays, Check check) {
  const qzPlain::tRayQueries plain(mesh.view());
  QueryRays rays(mesh, seed);
  int nbHits = 0;
  for (int i = 0; i < nbRays; ++i) {
    const Ray ray = i % 2 == 0 ? rays.line() : rays.any();
    for (const Hit& hit : plain.allHits(ray)) {
      check(ray, hit);
      ++nbHits;
    }
  }
  return nbHits;
}

}  // namespace

TEST_CASE("a ray that hits a triangle meets the tightest box around it, and every larger one") {
  Random random(900);
  std::uint32_t seed = 901;
  int nbHits = 0;
  for (const QueryMesh& mesh : difficultMeshes()) {
    nbHits += forEachHit(mesh, ++seed, 500, [&](const Ray& ray, const Hit& hit) {
      detail::RayFrame frame = {};
      REQUIRE(detail::makeRayFrame(endingAt(ray, hit.t), frame));
      const Box tight = boxOf(mesh, hit.triangle);
      Box larger = tight;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        if (random.below(2) == 0)
          larger.min[axis] -= std::ldexp(random.unit(), static_cast<int>(random.below(40)) - 20);
        if (random.below(2) == 0)
          larger.max[axis] += std::ldexp(random.unit(), static_cast<int>(random.below(40)) - 20);
      }
      const auto fused = [](float a, float b, float c) { return std::fma(a, b, c); };
      const auto plain = [](float a, float b, float c) { return a * b + c; };
      // In a mesh as large as the box, and in a larger one.
      for (const Box& ofMesh : {tight, larger}) {
        detail::RaySlabs slabs = {};
        detail::makeRaySlabs(frame, ray.direction, ofMesh.min, ofMesh.max, slabs);
        if (!meets(slabs, tight, fused) || !meets(slabs, tight, plain))
          FAIL_CHECK(mesh.name, ", tight box of ", describe(hit), ", ", describe(ray));
      }
      detail::RaySlabs slabs = {};
      detail::makeRaySlabs(frame, ray.direction, larger.min, larger.max, slabs);
      if (!meets(slabs, larger, fused) || !meets(slabs, larger, plain))
        FAIL_CHECK(mesh.name, ", larger box of ", describe(hit), ", ", describe(ray));
    });
  }
  CHECK(nbHits > 20000);
}

TEST_CASE("an index over one triangle has the kernel's hit, for rays that end there, with every instruction set") {
  std::uint32_t seed = 941;
  int nbHits = 0;
  for (const QueryMesh& mesh : difficultMeshes()) {
    std::vector<MeshIndex> indices;
    for (std::size_t i = 0; i < mesh.triangleCount(); ++i) {
      BuildOptions options;
      options.threads = 1;
      options.firstTriangle = static_cast<std::uint32_t>(i);
      options.quality = allQualities()[i % 3];
      indices.emplace_back(mesh.view(i, 1), options);
    }
    ++seed;
    for (const std::string& name : detail::instructionSets()) {
      const UsedInstructionSet used(name);
      nbHits += forEachHit(mesh, seed, 120, [&](const Ray& ray, const Hit& hit) {
        const Ray exact = endingAt(ray, hit.t);
        const MeshIndex& index = indices[hit.triangle];
        if (!sameBits(index.closestHit(exact), hit) || !index.anyHit(exact))
          FAIL_CHECK(mesh.name, ", ", name, ", ", describe(hit), ", ", describe(ray));
        Hit ofBatch;
        index.closestHits(&exact, 1, &ofBatch);
        if (!sameBits(ofBatch, hit)) FAIL_CHECK(mesh.name, ", batch, ", name, ", ", describe(hit), ", ", describe(ray));
      });
    }
  }
  CHECK(nbHits > 10000);
}

TEST_CASE("a box beside the ray is left out") {
  // Otherwise the tests above would hold for slabs that meet everything.
  const Box box = {{1.0f, 1.0f, 1.0f}, {2.0f, 2.0f, 2.0f}};
  const auto plain = [](float a, float b, float c) { return a * b + c; };
  const auto isMet = [&](const Ray& ray) {
    detail::RayFrame frame = {};
    REQUIRE(detail::makeRayFrame(ray, frame));
    detail::RaySlabs slabs = {};
    detail::makeRaySlabs(frame, ray.direction, box.min, box.max, slabs);
    return meets(slabs, box, plain);
  };
  CHECK(isMet({{0, 0, 0}, 0, {1, 1, 1}, kInf}));
  CHECK(!isMet({{0, 0, 0}, 0, {-1, -1, -1}, kInf}));
  CHECK(isMet({{0, 0, 0}, -kInf, {-1, -1, -1}, kInf}));
  CHECK(!isMet({{0, 0, 0}, 0, {1, 1, 0.49f}, kInf}));
  CHECK(!isMet({{0, 0, 0}, 0, {1, 1, 1}, 0.999f}));
  CHECK(!isMet({{0, 0, 0}, 2.001f, {1, 1, 1}, kInf}));
  CHECK(isMet({{1.5f, 1.5f, 0}, 0, {0, 0, 1}, kInf}));
  CHECK(!isMet({{1.5f, 2.001f, 0}, 0, {0, 0, 1}, kInf}));
  CHECK(!isMet({{1.5f, 0.999f, 0}, 0, {-0.0f, 0, 1}, kInf}));
  CHECK(!isMet({{1.5f, 1.5f, 0}, 0, {0, 0, 1e-30f}, 0.9e30f}));
  CHECK(isMet({{1.5f, 1.5f, 0}, 0, {0, 0, 1e-30f}, 1.1e30f}));
}
