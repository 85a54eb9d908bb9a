#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <toolkit/build/qzSAHFeeder.h>
#include <toolkit/inspect/qzTraversalCost.h>

#include "support/scenes/qzTestMeshes.h"

using qzToolkit::expectedTraversalCost;
using namespace qzTest;

namespace {

qzGNode inner(unsigned int left, unsigned int right, const qzBBox& box) {
  qzGNode node;
  node.setBBox(box);
  node.setNode(qzBBox::eAxisX, left, right, 0.0f);
  return node;
}
qzGNode leaf(unsigned int count, const qzBBox& box) {
  qzGNode node;
  node.setBBox(box);
  node.setLeaf(0, count);
  return node;
}
qzGenericBVH treeOf(const std::vector<qzGNode>& nodes) {
  qzGenericBVH tree;
  tree.editNodes() = nodes;
  return tree;
}
// Half the area is 2 s + 1.
qzBBox bar(float s) {
  return qzBBox::Make(0.0f, 0.0f, 0.0f, s, 1.0f, 1.0f);
}

}  // namespace

TEST_CASE("a single leaf costs all its primitives; no nodes cost nothing") {
  CHECK(expectedTraversalCost(treeOf({leaf(5, bar(1.0f))}), 10.0, 3.0) == 15.0);
  CHECK(expectedTraversalCost(qzGenericBVH(), 10.0, 3.0) == 0.0);
}

TEST_CASE("nodes and leaves are weighted by area relative to the root") {
  // Areas 9 (root), 5 and 3; below the first one 3 and 1.
  const qzGenericBVH tree = treeOf(
      {inner(1, 2, bar(4.0f)), inner(3, 4, bar(2.0f)), leaf(6, bar(1.0f)), leaf(2, bar(1.0f)), leaf(7, bar(0.0f))});
  const double nodes = 1.0 + 5.0 / 9.0, primitives = (6.0 * 3.0 + 2.0 * 3.0 + 7.0 * 1.0) / 9.0;
  CHECK(expectedTraversalCost(tree, 1.0, 0.0) == doctest::Approx(nodes));
  CHECK(expectedTraversalCost(tree, 0.0, 1.0) == doctest::Approx(primitives));
  CHECK(expectedTraversalCost(tree, 2.0, 3.0) == doctest::Approx(2.0 * nodes + 3.0 * primitives));
}

TEST_CASE("empty leaves cost nothing though their box has no finite area") {
  CHECK(expectedTraversalCost(treeOf({inner(1, 2, bar(1.0f)), leaf(4, bar(1.0f)), leaf(0, qzBBox())}), 1.0, 1.0) ==
        5.0);
  CHECK(expectedTraversalCost(treeOf({leaf(0, qzBBox())}), 1.0, 1.0) == 0.0);
}

TEST_CASE("if the root has no area every node counts as hit") {
  const qzBBox point(Wm4::Vector3<float>(1.0f, 2.0f, 3.0f));
  CHECK(expectedTraversalCost(treeOf({inner(1, 2, point), leaf(4, point), leaf(5, point)}), 1.0, 2.0) == 19.0);
}

TEST_CASE("nodes that the root does not reach are not counted") {
  CHECK(expectedTraversalCost(treeOf({leaf(1, bar(1.0f)), leaf(100, bar(1.0f))}), 1.0, 1.0) == 1.0);
}

TEST_CASE("a surface-area tree is expected to cost less than a linear one with leaves of the same size") {
  const qz::qzTriMesh mesh = soupMesh(4000, 1);
  const qzBVHTriangleContainer triangles(mesh);
  qzLinearGenericBVHBuilder builder;
  builder.setMaxPrimitivesPerLeaf(16);
  qzGenericBVH linear, sah;
  builder.build(triangles, linear, nullptr, 20);
  qzToolkit::qzSAHFeeder feeder;
  feeder.setMesh(mesh);
  feeder.build(sah);
  CHECK(expectedTraversalCost(sah, 4.0, 1.0) < expectedTraversalCost(linear, 4.0, 1.0));
}
