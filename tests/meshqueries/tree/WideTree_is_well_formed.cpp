#include <doctest/doctest.h>

#include <algorithm>

#include <qzMeshQueries/tree/Refit.h>
#include <qzMeshQueries/tree/TreeBuild.h>

#include "meshqueries/qzQueryBuilds.h"
#include "meshqueries/tree/qzTreeChecks.h"
#include "meshqueries/tree/qzTreeMeshes.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

detail::WideTree treeOf(const Mesh& mesh, Quality quality, int threads = 1) {
  BuildOptions options;
  options.quality = quality;
  options.threads = threads;
  return detail::buildTree(mesh, options);
}

void checkAll(const QueryMesh& mesh) {
  for (const Quality quality : allQualities()) {
    INFO(mesh.name << ", " << nameOf(quality));
    CHECK(faultOf(treeOf(mesh.view(), quality), mesh.view()) == "");
  }
}

}  // namespace

TEST_CASE("a tree over a difficult mesh is well-formed") {
  for (const QueryMesh& mesh : difficultMeshes()) checkAll(mesh);
}

TEST_CASE("a tree over an extreme mesh is well-formed") {
  for (const QueryMesh& mesh : extremeMeshes()) checkAll(mesh);
}

TEST_CASE("a tree over a closed mesh is well-formed") {
  for (const QueryMesh& mesh : closedMeshes()) checkAll(mesh);
}

TEST_CASE("a tree over 0 to 40 triangles is well-formed") {
  for (const QueryMesh& mesh : {landscapeMesh(10, 1), looseTriangles(40, 2)})
    for (std::size_t count = 0; count <= 40; ++count)
      for (const Quality quality : allQualities()) {
        const Mesh some = mesh.view(0, count);
        INFO(mesh.name << ", " << count << " triangles, " << nameOf(quality));
        CHECK(faultOf(treeOf(some, quality), some) == "");
      }
}

TEST_CASE("the first sixteen triangles of a landscape are one block below the root") {
  const QueryMesh mesh = landscapeMesh(4, 5);
  const detail::WideTree tree = treeOf(mesh.view(0, 16), Quality::good);
  CHECK(tree.nodes.size() == 1);
  CHECK(tree.blockCount == 1);
}

TEST_CASE("trees over usual meshes are shallow") {
  for (const Quality quality : allQualities()) CHECK(nbLevels(treeOf(landscapeMesh(150, 2).view(), quality)) <= 8);
}

TEST_CASE("a refitted tree is that of the moved mesh") {
  std::vector<QueryMesh> meshes = extremeMeshes();
  meshes.push_back(icosphereMesh(3));
  for (const QueryMesh& mesh : meshes)
    for (const Quality quality : allQualities()) {
      detail::WideTree tree = treeOf(mesh.view(), quality);
      const double cost = detail::costOf(tree);
      QueryMesh after = mesh;
      std::reverse(after.vertices.begin(), after.vertices.end());
      detail::refit(tree, after.vertices.data());
      INFO(mesh.name << ", " << nameOf(quality));
      CHECK(faultOf(tree, after.view()) == "");
      detail::refit(tree, mesh.vertices.data());
      CHECK(areSame(tree, treeOf(mesh.view(), quality)));
      CHECK(detail::costOf(tree) == cost);
    }
}
