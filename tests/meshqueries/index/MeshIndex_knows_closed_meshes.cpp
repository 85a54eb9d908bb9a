// isClosed: every edge used as often in one direction as in the other, by the places of its ends.

#include <doctest/doctest.h>

#include <utility>

#include "meshqueries/qzQueryBuilds.h"
#include "plain/qzPlainEdges.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

bool isClosed(const QueryMesh& mesh) {
  const bool expected = qzPlain::isClosed(mesh.view());
  for (const Quality quality : allQualities()) {
    BuildOptions options;
    options.quality = quality;
    INFO(mesh.name, ", ", nameOf(quality));
    CHECK(MeshIndex(mesh.view(), options).isClosed() == expected);
  }
  return expected;
}

QueryMesh without(QueryMesh mesh, std::size_t triangle) {
  const auto first = mesh.triangles.begin() + static_cast<std::ptrdiff_t>(3 * triangle);
  mesh.triangles.erase(first, first + 3);
  return mesh;
}

QueryMesh turned(QueryMesh mesh, std::size_t triangle) {
  std::swap(mesh.triangles[3 * triangle + 1], mesh.triangles[3 * triangle + 2]);
  return mesh;
}

}  // namespace

TEST_CASE("closed meshes are closed, with shared vertices or without, in every size and place") {
  for (const QueryMesh& mesh : closedMeshes()) {
    CHECK(isClosed(mesh));
    CHECK(isClosed(unshared(mesh)));
    CHECK(isClosed(transformed(mesh, 1e-6f, 0.0f, 0.0f, 0.0f)));
    CHECK(isClosed(transformed(mesh, 1e-44f, 0.0f, 0.0f, 0.0f)));
    CHECK(isClosed(transformed(mesh, 1.0f, 1e7f, 1e7f, 1e7f)));
  }
}

TEST_CASE("a face that is missing or turned over opens a mesh, wherever it is") {
  Random random(1301);
  for (const QueryMesh& mesh : closedMeshes()) {
    for (int i = 0; i < 12; ++i) {
      const std::size_t triangle = random.below(static_cast<std::uint32_t>(mesh.triangleCount()));
      CHECK(!isClosed(without(mesh, triangle)));
      CHECK(!isClosed(turned(mesh, triangle)));
      CHECK(!isClosed(turned(unshared(mesh), triangle)));
    }
  }
}

TEST_CASE("edges count with their number and direction") {
  const QueryMesh cube = cubeMesh();
  QueryMesh more = cube;
  more.addTriangle(cube.triangles[0], cube.triangles[1], cube.triangles[2]);
  CHECK(!isClosed(more));  // one face twice
  more.addTriangle(cube.triangles[0], cube.triangles[2], cube.triangles[1]);
  CHECK(isClosed(more));  // and once its other side
  more.addTriangle(cube.triangles[0], cube.triangles[2], cube.triangles[1]);
  CHECK(!isClosed(more));
  CHECK(isClosed(joined("the cube twice", cube, cube)));
  CHECK(isClosed(joined("the cube and its inside", cube, [&] {
    QueryMesh inside = cube;
    for (std::size_t t = 0; t < inside.triangleCount(); ++t) inside = turned(inside, t);
    return inside;
  }())));
  QueryMesh sheet;
  sheet.addVertex(0, 0, 0), sheet.addVertex(1, 0, 0), sheet.addVertex(0, 1, 0);
  sheet.addTriangle(0, 1, 2);
  CHECK(!isClosed(sheet));
  sheet.addTriangle(0, 2, 1);
  CHECK(isClosed(sheet));
}

TEST_CASE("0 and -0 are one place; the smallest difference makes two") {
  QueryMesh mesh = unshared(transformed(cubeMesh(), 1.0f, 0.5f, 0.5f, 0.5f));
  for (std::size_t i = 0; i < mesh.vertices.size(); ++i)
    if (mesh.vertices[i] == 0.0f) mesh.vertices[i] = i % 2 == 0 ? -0.0f : 0.0f;
  CHECK(isClosed(mesh));
  QueryMesh open = mesh;
  for (float& coordinate : open.vertices)
    if (coordinate == 0.0f) {
      coordinate = 0x1p-149f;
      break;
    }
  CHECK(!isClosed(open));
}

TEST_CASE("triangles without area count by their edges; those from a place to itself do not") {
  QueryMesh mesh = cubeMesh();
  mesh.addTriangle(0, 0, 0);
  CHECK(isClosed(mesh));
  mesh.addTriangle(0, 5, 5);  // there and back
  CHECK(isClosed(mesh));
  const std::uint32_t same = mesh.addVertex(mesh.vertices[0], mesh.vertices[1], mesh.vertices[2]);
  mesh.addTriangle(0, same, 3);
  CHECK(isClosed(mesh));
  const std::uint32_t middle = mesh.addVertex(0.0f, -0.5f, -0.5f);
  mesh.addTriangle(0, middle, 1);  // three different places on one line
  CHECK(!isClosed(mesh));
}

TEST_CASE("difficult meshes are closed or not as the plain rule says") {
  int nb[2] = {};
  for (const QueryMesh& mesh : difficultMeshes()) ++nb[isClosed(mesh) ? 1 : 0];
  CHECK(nb[0] > 10);
  CHECK(nb[1] > 5);
  Random random(1302);
  for (int i = 0; i < 300; ++i) {
    // Few places and triangles, so that some are closed by chance.
    QueryMesh mesh;
    const std::uint32_t nbPlaces = 2 + random.below(4);
    for (std::uint32_t v = 0; v < nbPlaces; ++v) mesh.addVertex(static_cast<float>(random.below(3)), 0.0f, 0.0f);
    for (std::uint32_t t = 1 + random.below(6); t > 0; --t)
      mesh.addTriangle(random.below(nbPlaces), random.below(nbPlaces), random.below(nbPlaces));
    isClosed(mesh);
  }
}
