// The hull query on small regions, which skips boxes and triangles outside a box around the region.

#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <cmath>

#include "support/qzObservers.h"
#include "support/qzVectors.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

struct Tally {
  int nbYes = 0, nbNo = 0;
};

/// Queries both forms.
void compare(const HullQBVH& hierarchy, const qzPlain::tQBVH& plain, const Planes& planes, Tally& tally) {
  const bool answer = meets(hierarchy, planes), expected = qzPlain::intersectConvexHull(plain, planes);
  if (answer != expected) {
    INFO(describe(planes));
    CHECK(answer == expected);
  }
  ++(answer ? tally.nbYes : tally.nbNo);
}

/// Three pairs of planes: a small cube about its own size away from a triangle, upright or rotated; or sheared, flat,
/// with planes of any length and pairs in any order.
Planes smallRegion(const qz::qzTriMesh& mesh, float size, Random& random) {
  const Point on = anyPointOn(mesh, random), direction = anyDirection(random);
  const Point near = along(on, random.between(0.0f, 2.0f * size), direction);
  switch (random.below(4)) {
    case 0:
      return cubeAround(near, size);
    case 1:
      return turnedCube(near, size, random);
    default:
      break;
  }
  Planes planes;
  for (int pair = 0; pair < 3; ++pair) {
    const Point normal = anyDirection(random);
    const float atNear = dot(normal, near);
    for (const float sign : {1.0f, -1.0f}) {
      const float length = std::ldexp(1.0f, static_cast<int>(random.below(9)) - 4);
      const float half = size * random.between(0.0f, 1.0f);
      planes.emplace_back(length * sign * normal[0], length * sign * normal[1], length * sign * normal[2],
                          length * (half - sign * atNear));
    }
  }
  if (random.below(3) == 0) std::swap(planes[random.below(6)], planes[random.below(6)]);
  return planes;
}

}  // namespace

TEST_CASE("small regions near the surface equal the plain form, in scenes of any place and size") {
  Tally tally;
  std::uint32_t seed = 700;
  const Point offsets[] = {Point(0.0f, 0.0f, 0.0f), Point(3.0f, -7.0f, 11.0f), Point(-4000.0f, 300.0f, 0.5f)};
  for (const qz::qzTriMesh& mesh : {terrainMesh(16, 21), soupMesh(700, 22), sphereMesh(12, 20)}) {
    for (const float scale : {1.0f, 1e-6f, 4e5f}) {
      for (const Point& offset : offsets) {
        Random random(++seed);
        INFO("seed " << seed << ", scale " << scale << ", offset " << offset[0]);
        const Point scaled = times(scale, offset);
        const qz::qzTriMesh scene = scaledAndMoved(mesh, scale, scaled);
        HullQBVH hierarchy;
        hierarchy.build(scene, 1 + random.below(6));
        const qzPlain::tQBVH plain = hierarchy.plain();
        for (int i = 0; i < 1500; ++i) {
          const float size = scale * std::ldexp(random.between(0.5f, 1.0f), -static_cast<int>(random.below(14)));
          compare(hierarchy, plain, smallRegion(scene, size, random), tally);
        }
      }
    }
  }
  CHECK(tally.nbYes > 5000);
  CHECK(tally.nbNo > 5000);
}

TEST_CASE("planes of any length equal the plain form, also where a product of three overflows or underflows") {
  const qz::qzTriMesh mesh = soupMesh(500, 36);
  HullQBVH hierarchy;
  hierarchy.build(mesh, 4);
  const qzPlain::tQBVH plain = hierarchy.plain();
  Random random(37);
  const int exponents[][3] = {{43, 43, 43},   {40, 43, 46},   {-80, -62, 14},
                              {14, -84, -58}, {-60, 13, -81}, {-17, -16, 16}};
  for (const auto& ofPairs : exponents) {
    CAPTURE(ofPairs[0]);
    Tally tally;
    for (int i = 0; i < 5000; ++i) {
      Planes planes = smallRegion(mesh, std::ldexp(0.1f, -static_cast<int>(random.below(14))), random);
      for (std::size_t k = 0; k < planes.size(); ++k) {
        for (int row = 0; row < 4; ++row) planes[k][row] = std::ldexp(planes[k][row], ofPairs[k / 2]);
      }
      compare(hierarchy, plain, planes, tally);
    }
    CHECK(tally.nbYes > 500);
    CHECK(tally.nbNo > 500);
  }
}

TEST_CASE("a triangle outside its leaf's box is found when no plane rejects the box") {
  const LogCapture quiet(false);
  const qz::qzTriMesh mesh = soupMesh(500, 31);
  for (const bool isUpperSide : {true, false}) {
    CAPTURE(isUpperSide);
    qzGenericBVH bvh;
    qzLinearGenericBVHBuilder builder;
    builder.setMaxPrimitivesPerLeaf(4);
    builder.build(qzBVHTriangleContainer(mesh), bvh, nullptr, 20);
    Random random(32);
    for (qzGNode& node : bvh.editNodes()) {
      if (!node.isLeaf() || random.below(4) != 0) continue;
      Point min = node.getBBox().getMinPoint(), max = node.getBBox().getMaxPoint();
      (isUpperSide ? max : min)[0] = 0.5f * (min[0] + max[0]);
      node.setBBox(qzBBox::Make(min, max));
    }
    HullQBVH hierarchy;
    hierarchy.buildFromBVH(qzQBVH::eTrianglesVertices, bvh, mesh);
    const qzPlain::tQBVH plain = hierarchy.plain();
    Tally tally;
    for (int i = 0; i < 10000; ++i) compare(hierarchy, plain, smallRegion(mesh, 0.05f, random), tally);
    CHECK(tally.nbYes > 250);
    CHECK(tally.nbNo > 250);
  }
}

TEST_CASE("a small region around the origin finds the padding of a quadruplet, far from all triangles") {
  // Boxes as large as the scene, which starts near the origin: oblique planes do not reject them.
  Random random(33);
  std::vector<Point> corners;
  std::vector<int> indices;
  for (int i = 0; i < 3 * 40; ++i) {
    corners.push_back(random.point(0.1f, 2.0f));
    indices.push_back(i);
  }
  HullQBVH hierarchy;
  hierarchy.build({qz::qzVertexBuffer(corners), qz::qzIndexBuffer(indices)}, 1);
  const qzPlain::tQBVH plain = hierarchy.plain();
  Tally tally;
  for (int i = 0; i < 5000; ++i) {
    compare(hierarchy, plain, turnedCube(random.point(-0.05f, 0.05f), 0.04f, random), tally);
  }
  CHECK(tally.nbYes > 50);
  CHECK(tally.nbNo > 500);
}

TEST_CASE("a triangle that a derived class moves out of its leaf's box is found when no plane rejects the box") {
  const qz::qzTriMesh mesh = soupMesh(500, 34);
  HullQBVH hierarchy;
  hierarchy.build(mesh, 4);
  Random random(35);
  for (unsigned int i = 0; i < hierarchy.getNoTriangleQuadruplets(); ++i) {
    const unsigned int other = random.below(nbTrianglesOf(mesh));
    hierarchy.setTriangle(i, 0, cornerOf(mesh, other, 0), cornerOf(mesh, other, 1), cornerOf(mesh, other, 2));
  }
  const qzPlain::tQBVH plain = hierarchy.plain();
  Tally tally;
  for (int i = 0; i < 20000; ++i) compare(hierarchy, plain, smallRegion(mesh, 0.05f, random), tally);
  CHECK(tally.nbYes > 500);
  CHECK(tally.nbNo > 500);
}
