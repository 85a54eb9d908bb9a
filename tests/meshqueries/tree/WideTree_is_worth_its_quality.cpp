// A build that decides badly makes a valid tree that is slow. It shows in the number of children that a line meets.

#include <doctest/doctest.h>

#include <qzMeshQueries/tree/TreeBuild.h>

#include "meshqueries/qzQueryBuilds.h"
#include "meshqueries/tree/qzTreeChecks.h"
#include "meshqueries/tree/qzTreeMeshes.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

double nbMetIn(const QueryMesh& mesh, Quality quality) {
  BuildOptions options;
  options.quality = quality;
  return nbMetChildren(detail::buildTree(mesh.view(), options));
}

}  // namespace

TEST_CASE("lines meet as few children as they did when these limits were set") {
  struct {
    QueryMesh mesh;
    double fast, good;  // about 0.1% more than was seen
  } const all[] = {
      {landscapeMesh(100, 9), 7.09, 5.545}, {looseTriangles(5000, 8), 15.10, 14.60}, {needles(5000, 5), 20.39, 18.85}};
  for (const auto& one : all) {
    INFO(one.mesh.name);
    CHECK(nbMetIn(one.mesh, Quality::fast) < one.fast);
    CHECK(nbMetIn(one.mesh, Quality::good) < one.good);
    CHECK(nbMetIn(one.mesh, Quality::best) < one.good);
  }
}

TEST_CASE("reinsertion finds better places for long triangles") {
  const QueryMesh mesh = needles(5000, 5);
  CHECK(nbMetIn(mesh, Quality::best) < nbMetIn(mesh, Quality::good));
}
