// Closed surfaces that were scanned or modelled, of the package openfoam-examples: every line crosses them as often
// inwards as outwards.

#include <toolkit/io/mesh/qzMeshFile.h>

#include <doctest/doctest.h>

#include "meshqueries/qzQueryBuilds.h"
#include "plain/qzPlainEdges.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

QueryMesh surfaceOf(const std::string& name) {
  return queryMeshOf(name, qzToolkit::loadMesh(std::string(QZ_SURFACES) + "/" + name));
}

}  // namespace

TEST_CASE("aimed lines cross closed surfaces of files evenly") {
  std::uint32_t seed = 1700;
  for (const char* name : {"blob.stl.gz", "flange.stl.gz", "bullet.stl.gz"}) {
    const QueryMesh mesh = surfaceOf(name);
    INFO(name);
    REQUIRE(mesh.triangleCount() > 3000);
    const MeshIndex index(mesh.view());
    CHECK(index.isClosed());
    CHECK(qzPlain::isClosed(mesh.view()));
    QueryRays rays(mesh, ++seed);
    std::vector<Ray> lines;
    while (lines.size() < 20000) lines.push_back(rays.line());
    std::vector<Crossings> crossings(lines.size());
    index.crossings(lines.data(), lines.size(), crossings.data());
    std::size_t nbCrossed = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      nbCrossed += crossings[i].front > 0;
      if (crossings[i].front != crossings[i].back)
        FAIL_CHECK(crossings[i].front, " in, ", crossings[i].back, " out, ", describe(lines[i]));
    }
    CHECK(nbCrossed > lines.size() / 4);
  }
}

TEST_CASE("a surface of a file with a hole is not closed") {
  const QueryMesh mesh = surfaceOf("wigley.stl.gz");
  CHECK(!MeshIndex(mesh.view()).isClosed());
  CHECK(!qzPlain::isClosed(mesh.view()));
}
