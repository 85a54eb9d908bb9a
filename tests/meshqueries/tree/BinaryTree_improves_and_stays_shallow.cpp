// Binary trees before and after reinsertion, and how deep builds may become.

#include <qzMeshQueries/tree/BinaryBuild.h>
#include <qzMeshQueries/tree/NodeArea.h>
#include <qzMeshQueries/tree/Reinsertion.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <utility>
#include <vector>

#include "support/scenes/qzQueryMeshes.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

/// What a walk over a whole binary tree finds.
struct Survey {
  double area = 0;  ///< of all inner nodes, in any unit
  int nbLevels = 0;
  bool isConsistent = true;  ///< counts add up, boxes contain those of the children
  std::vector<int> nbTimes;  ///< that each triangle is in a leaf

  Survey(const BinaryTree& tree, float extent) : nbTimes(tree.order.size()), mTree(tree), mArea(extent) {
    visit(tree.top.data(), 0, 1, true);
  }
  bool hasEachTriangleOnce() const {
    return std::all_of(nbTimes.begin(), nbTimes.end(), [](int n) { return n == 1; });
  }

 private:
  void visit(const BinaryNode* nodes, std::uint32_t number, int level, bool isTop) {
    const BinaryNode& node = nodes[number];
    nbLevels = std::max(nbLevels, level);
    if (!node.isInner()) {
      if (isTop) return visit(mTree.parts[node.first].nodes, 0, level, false);
      for (std::uint32_t i = node.first; i < node.first + node.count; ++i) ++nbTimes[mTree.order[i]];
      return;
    }
    area += double(mArea.of(node.lanes()));
    std::uint32_t count = 0;
    for (const std::uint32_t child : {node.leftChild(), node.leftChild() + 1}) {
      count += nodes[child].count;
      for (int axis = 0; axis < 3; ++axis)
        if (nodes[child].box[axis] < node.box[axis] || nodes[child].box[axis + 3] > node.box[axis + 3])
          isConsistent = false;
      visit(nodes, child, level + 1, isTop);
    }
    if (count != node.count) isConsistent = false;
  }

  const BinaryTree& mTree;
  NodeArea mArea;
};

/// A tree by the surface area heuristic, before and after reinsertion.
struct Trees {
  const BuildOptions options;
  BuildWatch watch{options, 1};
  BinaryTree tree;
  float extent = 0;

  explicit Trees(const Mesh& mesh) {
    BuildStart start = startBuild(mesh, watch);
    extent = start.largestExtent();
    tree = buildBySurfaceArea(std::move(start), watch, [](BinaryTree&, BinaryPart&) {});
  }
  Survey survey() const { return {tree, extent}; }
  int improve() {
    std::atomic<int> nbParts{0};  // counted on all threads
    tree = reinsert(std::move(tree), extent, watch, [&](BinaryTree&, BinaryPart&) { ++nbParts; });
    return nbParts;
  }
};

}  // namespace

TEST_CASE("a level allows what splits in the middle still divide into single triangles") {
  for (int nbBelow = 0; nbBelow <= 30; ++nbBelow) {
    const int level = kMaxBinaryLevels - nbBelow;
    const std::uint32_t most = std::uint32_t(1) << nbBelow;
    INFO("level ", level);
    CHECK(levelAllows(level, most));
    CHECK(!levelAllows(level, most + 1));
    CHECK(!levelAllows(level + 1, most));
  }
}

TEST_CASE("codes that differ in every bit, and a thousand equal ones, need no more levels than there may be") {
  QueryMesh mesh;
  const auto addPoint = [&](float x, float y, float z) {
    const std::uint32_t vertex = mesh.addVertex(x, y, z);
    mesh.addTriangle(vertex, vertex, vertex);
  };
  for (int i = 0; i < 1000; ++i) addPoint(0, 0, 0);
  for (int i = 0; i <= 21; ++i) {
    const float x = std::ldexp(1.0f, i);
    addPoint(x, 0, 0);
    addPoint(0, x, 0);
    addPoint(0, 0, x);
  }
  const BuildOptions options;
  BuildWatch watch(options, 1);
  BuildStart start = startBuild(mesh.view(), watch);
  const float extent = start.largestExtent();
  const BinaryTree tree = buildByMortonCodes(std::move(start), watch, [](BinaryTree&, BinaryPart&) {});
  const Survey survey(tree, extent);
  CHECK(survey.hasEachTriangleOnce());
  CHECK(survey.nbLevels > kMaxBinaryLevels - 5);
  CHECK(survey.nbLevels <= kMaxBinaryLevels);
}

TEST_CASE("reinsertion makes inner nodes smaller and keeps every triangle") {
  struct Case {
    QueryMesh mesh;
    double ratio;  // of the areas, at most
  };
  std::vector<Case> cases{{starMesh(5, 1), 0.99}};  // several parts
  for (const QueryMesh& mesh : difficultMeshes())
    if (mesh.name == "concentric") cases.push_back({mesh, 0.7});
  REQUIRE(cases.size() == 2);
  for (const Case& each : cases) {
    INFO(each.mesh.name);
    Trees trees(each.mesh.view());
    const Survey before = trees.survey();
    CHECK(before.isConsistent);
    CHECK(before.hasEachTriangleOnce());
    const int nbParts = trees.improve();
    CHECK(nbParts == int(trees.tree.parts.size()));
    const Survey after = trees.survey();
    CHECK(after.isConsistent);
    CHECK(after.hasEachTriangleOnce());
    CHECK(after.nbLevels <= kMaxBinaryLevels);
    CHECK(after.area <= each.ratio * before.area);
  }
}
