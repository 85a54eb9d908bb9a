// Rays against every triangle of the mesh in double precision, where the hit is clear by a margin.

#include <doctest/doctest.h>

#include <cmath>

#include "plain/qzBruteForceCaster.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

struct NamedMesh {
  std::string name;
  qz::qzTriMesh mesh;
};

std::vector<NamedMesh> meshes() {
  return {{"terrain", terrainMesh(12, 81)}, {"soup", soupMesh(600, 82)}, {"sphere", sphereMesh(10, 14)}};
}

/// From a cube around the scene through a point of a triangle, in a direction of length 1; the interval ends anywhere.
Ray clearRay(const qz::qzTriMesh& mesh, Random& random) {
  Ray ray;
  ray.origin = random.point(-2.0f, 2.0f);
  const unsigned int triangle = random.below(nbTrianglesOf(mesh));
  const float u = random.between(0.1f, 0.45f), v = random.between(0.1f, 0.45f);
  const Point target = pointOn(mesh, triangle, u, v);
  float square = 0.0f;
  for (int axis = 0; axis < 3; ++axis) {
    ray.direction[axis] = target[axis] - ray.origin[axis];
    square += ray.direction[axis] * ray.direction[axis];
  }
  for (int axis = 0; axis < 3; ++axis) ray.direction[axis] /= std::sqrt(square);
  ray.policy = random.below(3);
  ray.tMin = random.below(2) == 0 ? 0.0f : random.between(-1.0f, 2.0f);
  ray.t = random.below(2) == 0 ? 100.0f : random.between(1.0f, 4.0f);
  return ray;
}

struct Tally {
  int nbClear = 0, nbHits = 0, nbDifferences = 0;

  void compare(const qzPlain::tBruteForceHit& expected, const Answer& answer) {
    if (!expected.mClear) return;
    ++nbClear;
    nbHits += expected.mHit ? 1 : 0;
    const bool isSame =
        expected.mHit == answer.hit &&
        (!expected.mHit || (answer.triangle == expected.mTriangle && std::fabs(answer.t - expected.mT) < 1e-4 &&
                            std::fabs(answer.barycentric[0] - expected.mWeights[0]) < 1e-3 &&
                            std::fabs(answer.barycentric[1] - expected.mWeights[1]) < 1e-3));
    nbDifferences += isSame ? 0 : 1;
  }
};

}  // namespace

TEST_CASE("rays report the nearest of all triangles, for every face policy") {
  constexpr int kNbRays = 3000;
  for (const NamedMesh& scene : meshes()) {
    CAPTURE(scene.name);
    for (unsigned int leafSize : {1u, 4u}) {
      OpenQBVH hierarchy;
      buildFromMesh(hierarchy, qzQBVH::eTrianglesEquations, scene.mesh, leafSize);
      Random random(91);
      Tally tally, symmetric;
      for (int i = 0; i < kNbRays; ++i) {
        const Ray ray = clearRay(scene.mesh, random);
        const qzPlain::tSides sides[3] = {qzPlain::eBothSides, qzPlain::eFrontSide, qzPlain::eBackSide};
        tally.compare(qzPlain::castAtAll(scene.mesh, ray.origin, ray.direction, double(ray.tMin), double(ray.t),
                                         sides[ray.policy]),
                      cast(hierarchy, ray));
        symmetric.compare(qzPlain::castAtAllSymmetric(scene.mesh, ray.origin, ray.direction, double(ray.t)),
                          castSymmetric(hierarchy, ray));
      }
      for (const Tally& t : {tally, symmetric}) {
        CHECK(t.nbDifferences == 0);
        CHECK(t.nbClear > kNbRays / 2);
        CHECK(t.nbHits > kNbRays / 5);
        CHECK(t.nbClear - t.nbHits > kNbRays / 100);
      }
    }
  }
}
