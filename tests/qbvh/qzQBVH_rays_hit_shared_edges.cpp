// Rays aimed at the edges and vertices of a closed mesh. docs/edges.md has the rates of misses; these tests check every
// ray.

#include <doctest/doctest.h>

#include <cmath>

#include "support/qzVectors.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr int kNbRays = 100000;

struct AimedRay {
  Ray ray;
  float distance;
};

/// A ray from outside a sphere around the origin to a point of an edge, every fourth one to a vertex. The angle is
/// steep, so that the ray crosses the surface there in spite of rounding.
AimedRay rayAtEdge(const qz::qzTriMesh& sphere, Random& random) {
  for (;;) {
    const unsigned int triangle = random.below(nbTrianglesOf(sphere));
    const int corner = static_cast<int>(random.below(3));
    const Point a = cornerOf(sphere, triangle, corner), b = cornerOf(sphere, triangle, (corner + 1) % 3);
    const float share = random.below(4) == 0 ? 0.0f : random.unit();
    const Point target = along(a, share, minus(b, a));
    AimedRay aimed;
    aimed.ray.origin = random.point(-3.0f, 3.0f);
    if (dot(aimed.ray.origin, aimed.ray.origin) < 1.5f) continue;
    const Point way = minus(target, aimed.ray.origin);
    aimed.distance = std::sqrt(dot(way, way));
    for (int axis = 0; axis < 3; ++axis) aimed.ray.direction[axis] = way[axis] / aimed.distance;
    if (dot(aimed.ray.direction, target) < -0.3f) return aimed;
  }
}

/// Hits around the distance that the ray is aimed at, each query starting behind the previous hit.
int nbHitsAround(const qzQBVH& hierarchy, AimedRay aimed, float reach, float step) {
  int nbHits = 0;
  aimed.ray.tMin = aimed.distance - reach;
  for (Answer answer; (answer = cast(hierarchy, aimed.ray)).hit && answer.t < aimed.distance + reach; ++nbHits)
    aimed.ray.tMin = std::max(std::nextafter(answer.t, kInf), answer.t + step);
  return nbHits;
}

}  // namespace

TEST_CASE("every ray aimed at an edge or a vertex of a sphere of large triangles hits") {
  for (unsigned int leafSize : {1u, 4u}) {
    const qz::qzTriMesh mesh = sphereMesh(12, 24);
    OpenQBVH hierarchy;
    buildFromMesh(hierarchy, qzQBVH::eTrianglesEquations, mesh, leafSize);
    const std::uint32_t seed = 411;
    CAPTURE(seed);
    Random random(seed);
    int nbSlipped = 0;
    for (int i = 0; i < kNbRays; ++i) {
      AimedRay aimed = rayAtEdge(mesh, random);
      aimed.ray.policy = qzQBVH::eIntersectFrontFaces;
      const Answer answer = cast(hierarchy, aimed.ray);
      nbSlipped += answer.hit && std::fabs(answer.t - aimed.distance) < 1e-4f ? 0 : 1;
    }
    CHECK(nbSlipped == 0);
  }
}

TEST_CASE("most edge points are hit on several triangles, but only once by a caller who continues behind each hit") {
  const qz::qzTriMesh mesh = sphereMesh(12, 24);
  OpenQBVH hierarchy;
  buildFromMesh(hierarchy, qzQBVH::eTrianglesEquations, mesh, 4);
  const std::uint32_t seed = 412;
  CAPTURE(seed);
  Random random(seed);
  int nbTwice = 0, nbOtherInSteps = 0;
  for (int i = 0; i < kNbRays; ++i) {
    const AimedRay aimed = rayAtEdge(mesh, random);
    nbTwice += nbHitsAround(hierarchy, aimed, 1e-2f, 0.0f) > 1 ? 1 : 0;
    nbOtherInSteps += nbHitsAround(hierarchy, aimed, 1e-2f, 1e-3f) == 1 ? 0 : 1;
  }
  CHECK(nbTwice > kNbRays / 2);
  CHECK(nbOtherInSteps == 0);
}

TEST_CASE("rays miss edges of a mesh far from the origin, and hit all of them when mesh and rays are moved to it") {
  const Point way(2048.0f, 2048.0f, 2048.0f);
  const qz::qzTriMesh far = scaledAndMoved(sphereMesh(12, 24), 1.0f, way);
  const qz::qzTriMesh near = scaledAndMoved(far, 1.0f, times(-1.0f, way));  // exact
  OpenQBVH farHierarchy, nearHierarchy;
  buildFromMesh(farHierarchy, qzQBVH::eTrianglesEquations, far, 4);
  buildFromMesh(nearHierarchy, qzQBVH::eTrianglesEquations, near, 4);
  const std::uint32_t seed = 413;
  CAPTURE(seed);
  Random random(seed);
  int nbSlippedFar = 0, nbSlippedNear = 0;
  for (int i = 0; i < kNbRays; ++i) {
    AimedRay aimed = rayAtEdge(near, random);
    const Point farOrigin = plus(aimed.ray.origin, way);
    aimed.ray.origin = minus(farOrigin, way);  // rounded as far from the origin
    nbSlippedNear += nbHitsAround(nearHierarchy, aimed, 0.1f, 1.0f) == 0 ? 1 : 0;
    aimed.ray.origin = farOrigin;
    nbSlippedFar += nbHitsAround(farHierarchy, aimed, 0.1f, 1.0f) == 0 ? 1 : 0;
  }
  CHECK(nbSlippedNear == 0);
  CHECK(nbSlippedFar > kNbRays / 100);
}

TEST_CASE("a ray with direction z = 0 in the plane z = const shared by two boxes misses both") {
  // Two triangles of a nearly upright wall. Their common edge is parallel to another axis.
  const auto wall = [](int across, int high) {
    const int wide = 3 - across - high;
    std::vector<Point> corners(6, Point(0.0f, 0.0f, 0.0f));
    corners[0][wide] = corners[4][wide] = -1.0f;
    corners[1][wide] = corners[3][wide] = 1.0f;
    corners[2][high] = 1.0f;
    corners[5][high] = -1.0f;
    corners[2][across] = 0.25f;
    return meshOfCorners(corners);
  };
  const auto isHit = [&](int across, int high, float rise) {
    OpenQBVH hierarchy;
    buildFromMesh(hierarchy, qzQBVH::eTrianglesEquations, wall(across, high), 1);  // a box for each triangle
    Ray ray;
    ray.origin = Point(0.125f, 0.125f, 0.125f);
    ray.origin[across] = -2.0f;
    ray.origin[high] = 0.0f;
    ray.direction = Point(0.0f, 0.0f, 0.0f);
    ray.direction[across] = 1.0f;
    ray.direction[high] = rise;
    return cast(hierarchy, ray).hit;
  };
  for (int across : {0, 1}) {
    CHECK_FALSE(isHit(across, 2, 0.0f));
    CHECK_FALSE(isHit(across, 2, -0.0f));
    CHECK(isHit(across, 2, 1e-20f));
    CHECK(isHit(across, 2, -1e-20f));
  }
  // The other axes are tested before, and minimum and maximum drop the NaN.
  for (float rise : {0.0f, -0.0f, 1e-20f, -1e-20f}) {
    CAPTURE(rise);
    CHECK(isHit(1, 0, rise));
    CHECK(isHit(2, 0, rise));
    CHECK(isHit(0, 1, rise));
    CHECK(isHit(2, 1, rise));
  }
}
