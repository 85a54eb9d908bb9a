#include <doctest/doctest.h>

#include <qzMeshQueries/tree/TreeBuild.h>

#include "meshqueries/qzQueryBuilds.h"
#include "meshqueries/tree/qzTreeChecks.h"
#include "meshqueries/tree/qzTreeMeshes.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

void checkThreads(const QueryMesh& mesh) {
  for (const Quality quality : allQualities()) {
    BuildOptions options;
    options.quality = quality;
    options.threads = 1;
    const detail::WideTree tree = detail::buildTree(mesh.view(), options);
    for (const int threads : {2, 3, 8, 0}) {
      options.threads = threads;
      INFO(mesh.name << ", " << nameOf(quality) << ", " << threads << " threads");
      CHECK(areSame(tree, detail::buildTree(mesh.view(), options)));
    }
  }
}

}  // namespace

TEST_CASE("any number of threads builds the same bytes over an extreme mesh") {
  for (const QueryMesh& mesh : extremeMeshes()) checkThreads(mesh);
}

TEST_CASE("any number of threads builds the same bytes over large meshes, again and again") {
  const QueryMesh mesh = joined("soup and landscape", looseTriangles(60000, 6), landscapeMesh(250, 7));
  for (int round = 0; round < 3; ++round) checkThreads(mesh);
}

TEST_CASE("firstTriangle does not show in the tree") {
  const QueryMesh mesh = looseTriangles(5000, 8);
  BuildOptions options;
  const detail::WideTree tree = detail::buildTree(mesh.view(), options);
  options.firstTriangle = 12345;
  CHECK(areSame(tree, detail::buildTree(mesh.view(), options)));
}
