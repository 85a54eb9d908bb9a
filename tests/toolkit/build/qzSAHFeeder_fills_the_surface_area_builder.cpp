#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/build/qzSAHFeeder.h>

#include <limits>

#include "plain/qzPlainSAHBuilder.h"
#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using qzToolkit::qzSAHFeeder;
using namespace qzTest;

namespace {

// The items that a feeder should hand over, in the plain builder.
qzPlain::SAHBuilder plainOf(const qz::qzTriMesh& mesh) {
  const qzBVHTriangleContainer triangles(mesh);
  qzPlain::SAHBuilder plain;
  plain.resizeItems(static_cast<int>(triangles.getQuantity()));
  for (unsigned int i = 0; i < triangles.getQuantity(); ++i) {
    plain.itemBBoxes[i] = *triangles.getBBox(i);
    plain.itemIndices[i] = i;
    plain.sceneBBox.selfUnion(plain.itemBBoxes[i]);
  }
  return plain;
}

bool sameTree(const qzGenericBVH& a, const qzPlain::Tree& b) {
  if (a.getNbNodes() != b.nbNodes || a.getPrimitives() != b.primitives || a.getNodes().size() != b.nodes.size()) {
    return false;
  }
  for (std::size_t i = 0; i < b.nodes.size(); ++i) {
    if (!sameBits(a.getNodes()[i], b.nodes[i])) return false;
  }
  return true;
}

}  // namespace

TEST_CASE("a feeder builds the tree of the plain form over the triangles of a mesh") {
  for (const qz::qzTriMesh& mesh : {terrainMesh(30, 1), soupMesh(3000, 2), awkwardMesh(500, 3), sphereMesh(20, 20)}) {
    qzSAHFeeder feeder;
    feeder.setMesh(mesh);
    qzGenericBVH bvh;
    feeder.build(bvh);
    qzPlain::SAHBuilder plain = plainOf(mesh);
    qzPlain::Tree tree;
    plain.build(tree);
    CHECK(sameTree(bvh, tree));
  }
}

TEST_CASE("a feeder builds the same tree every time, and another one for another mesh") {
  qzSAHFeeder feeder;
  feeder.setMesh(terrainMesh(20, 1));
  qzGenericBVH first, second, other;
  feeder.build(first);
  feeder.build(second);
  CHECK(bool(first.getPrimitives() == second.getPrimitives()));
  CHECK(first.getNbNodes() == second.getNbNodes());
  feeder.setMesh(soupMesh(100, 2));
  feeder.build(other);
  CHECK(other.getPrimitives().size() == 100);
  qzPlain::SAHBuilder plain = plainOf(soupMesh(100, 2));
  qzPlain::Tree tree;
  plain.build(tree);
  CHECK(sameTree(other, tree));
}

TEST_CASE("a feeder uses the cost function that it is given") {
  class NoSplit : public qzSAHFunctionoid {
   public:
    float f(const qzBBox&, unsigned int) const override { return 1.0f; }
    ~NoSplit() override = default;
  };
  const NoSplit noSplit;
  qzSAHFeeder feeder;
  feeder.setMesh(soupMesh(1000, 1));
  qzGenericBVH bvh;
  feeder.build(bvh);
  CHECK(bvh.getNbNodes() > 1);
  feeder.setCost(noSplit);
  feeder.build(bvh);
  CHECK(bvh.getNbNodes() == 1);
}

TEST_CASE("no triangles make one empty leaf") {
  qzSAHFeeder feeder;
  feeder.setMesh(meshOfCorners({}));
  qzGenericBVH bvh;
  feeder.build(bvh);
  CHECK(bvh.getNbNodes() == 1);
  CHECK(bvh.getNode(0).isLeaf());
  CHECK(bvh.getNode(0).getNoPrimitives() == 0);
}

TEST_CASE("more triangles than nodes can address are refused before a build") {
  CHECK(qzToolkit::kMaxTriangles == std::size_t(1) << 27);  // 2^28 - 1 nodes with a triangle each
  qzSAHFeeder feeder;
  feeder.setMesh(soupMesh(5, 6), 5);
  CHECK(errorOf([&] { feeder.setMesh(soupMesh(6, 7), 5); }) == "there are 6 triangles, more than the limit of 5");
  qzGenericBVH bvh;
  feeder.build(bvh);  // what it had
  CHECK(bvh.getPrimitives().size() == 5);
}

TEST_CASE("a tree of a feeder becomes a four-wide hierarchy that finds the same nearest hits as the linear one") {
  const qz::qzTriMesh mesh = terrainMesh(40, 4);
  qzSAHFeeder feeder;
  feeder.setMesh(mesh);
  qzGenericBVH bvh;
  feeder.build(bvh);
  qzQBVH sah, linear;
  sah.buildFromBVH(qzQBVH::eTrianglesEquations, bvh, mesh);
  linear.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
  Random random(5);
  int nbHits = 0;
  for (int i = 0; i < 2000; ++i) {
    const Wm4::Vector3<float> origin = random.point(-1.0f, 1.0f), direction = random.point(-1.0f, 1.0f);
    float t[2] = {kInf, kInf};
    Wm4::Vector2<float> weights[2];
    unsigned int triangle[2];
    const bool isHit =
        sah.intersectRay(origin, direction, 0.0f, t[0], weights[0], triangle[0], qzQBVH::eIntersectBothFaces);
    CHECK(isHit ==
          linear.intersectRay(origin, direction, 0.0f, t[1], weights[1], triangle[1], qzQBVH::eIntersectBothFaces));
    CHECK(sameBits(t[0], t[1]));
    nbHits += isHit;
  }
  CHECK(nbHits > 100);
}
