// Every line crosses a closed mesh as often inwards as outwards, whatever it meets: vertices, edges, faces seen edge-on.
// From inside of a convex solid every ray leaves once.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/RayTriangle.h>

#include <cmath>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

struct Count {
  std::size_t nbLines = 0, nbCrossings = 0, nbUneven = 0;
};

void cast(const MeshIndex& index, const QueryMesh& mesh, const std::vector<Ray>& lines, Count& count) {
  std::vector<Crossings> crossings(lines.size());
  index.crossings(lines.data(), lines.size(), crossings.data());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    ++count.nbLines;
    count.nbCrossings += crossings[i].front;
    if (crossings[i].front == crossings[i].back) continue;
    ++count.nbUneven;
    FAIL_CHECK(mesh.name, ": ", crossings[i].front, " in, ", crossings[i].back, " out, ", describe(lines[i]));
  }
}

/// Along axes through vertices, at vertices and edges from elsewhere, within faces, and so on.
void castAimed(const QueryMesh& mesh, std::size_t nbLines, std::uint32_t seed, Count& count) {
  BuildOptions options;
  options.quality = allQualities()[seed % 3];
  const MeshIndex index(mesh.view(), options);
  CHECK(index.isClosed());
  QueryRays rays(mesh, seed);
  std::vector<Ray> lines;
  while (lines.size() < nbLines) lines.push_back(rays.line());
  const std::vector<std::string> names = detail::instructionSets();
  const UsedInstructionSet used(names[seed / 3 % names.size()]);  // all of them, over all meshes
  cast(index, mesh, lines, count);
}

}  // namespace

TEST_CASE("aimed lines cross closed meshes of every size and place evenly") {
  Count count;
  std::uint32_t seed = 1400;
  for (const QueryMesh& mesh : closedMeshes()) {
    castAimed(mesh, 20000, ++seed, count);
    for (const float scale : {1e-6f, 1e-3f, 1e3f, 1e6f}) {
      castAimed(transformed(mesh, scale, 0.0f, 0.0f, 0.0f), 4000, ++seed, count);
      castAimed(transformed(mesh, scale, 1e7f, 1e7f, -1e7f), 4000, ++seed, count);
    }
    castAimed(transformed(mesh, 1.0f, 1e7f, 0.0f, 0.0f), 4000, ++seed, count);
    castAimed(transformed(mesh, 1e-40f, 0.0f, 0.0f, 0.0f), 2000, ++seed, count);
    castAimed(transformed(mesh, 5e14f, 0.0f, 0.0f, 0.0f), 2000, ++seed, count);
    castAimed(unshared(mesh), 4000, ++seed, count);
  }
  CHECK(count.nbUneven == 0);
  CHECK(count.nbLines > 500000);
  CHECK(count.nbCrossings > count.nbLines / 3);
}

TEST_CASE("solids within each other and through each other are crossed evenly") {
  Count count;
  for (std::uint32_t seed = 1450; seed < 1460; ++seed) {
    QueryMesh mesh = joined("", cubeMesh(), starMesh(2, seed));
    mesh = joined("solids", mesh, transformed(torusMesh(16, 8), 0.6f, 0.1f, -0.2f, 0.3f));
    mesh = joined("solids", mesh, transformed(gridBoxMesh(2), 0.25f, 0.25f, 0.25f, 0.0f));
    castAimed(mesh, 4000, seed, count);
  }
  CHECK(count.nbUneven == 0);
}

TEST_CASE("a line through the inside of a convex solid enters once and leaves once, in that order") {
  for (const QueryMesh& mesh : {cubeMesh(), gridBoxMesh(5)}) {
    const MeshIndex index(mesh.view());
    QueryRays rays(mesh, 1470);
    std::vector<Hit> hits;
    for (int i = 0; i < 20000; ++i) {
      // From a point inside, at a vertex, an edge or a face, near and far.
      Ray ray = rays.line();
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const float target = ray.origin[axis] + ray.direction[axis];
        ray.origin[axis] = static_cast<float>(static_cast<int>(rays.anyNumber(7)) - 3) * 0.125f;
        ray.direction[axis] = target - ray.origin[axis];
      }
      if (i % 4 == 0) ray.direction[rays.anyNumber(3)] = 0.0f;
      RayOptions choice;
      detail::RayFrame frame = {};
      if (!detail::makeRayFrame(ray, frame)) continue;
      const Crossings crossings = index.crossings(ray);
      INFO(mesh.name, ", ", describe(ray));
      CHECK(crossings.front == 1);
      CHECK(crossings.back == 1);
      index.allHits(ray, hits);
      REQUIRE(hits.size() == 2);
      CHECK(hits[0].t < 0.0f);
      CHECK(hits[1].t > 0.0f);
      choice.faces = Faces::front;
      CHECK(sameBits(index.closestHit(ray, choice), hits[0]));
      choice.faces = Faces::back;
      CHECK(sameBits(index.closestHit(ray, choice), hits[1]));
      ray.tMin = 0.0f;
      CHECK(sameBits(index.closestHit(ray), hits[1]));
    }
  }
}

TEST_CASE("a ray from the centre leaves a star-shaped solid once, at every vertex and edge of it") {
  // Not the stars themselves: seen from the origin their images are those of the icosphere, whose faces are at an angle.
  for (const QueryMesh& mesh : {icosphereMesh(3), starMesh(2, 1480), starMesh(3, 1481)}) {
    const MeshIndex index(mesh.view());
    std::vector<Ray> rays;
    for (std::size_t t = 0; t < mesh.triangleCount(); ++t) {
      for (std::size_t k = 0; k < 3; ++k) {
        const float *a = mesh.corner(t, k), *b = mesh.corner(t, (k + 1) % 3);
        for (const float s : {0.0f, 0.5f, 0.25f, 0.7f, 1e-7f}) {
          Ray ray = {};
          ray.tMax = kInf;
          for (std::size_t i = 0; i < 3; ++i) ray.direction[i] = a[i] + s * (b[i] - a[i]);
          rays.push_back(ray);
        }
      }
    }
    std::vector<Crossings> crossings(rays.size());
    index.crossings(rays.data(), rays.size(), crossings.data());
    std::size_t nbWrong = 0;
    for (std::size_t i = 0; i < rays.size(); ++i) {
      if (crossings[i].front == 0 && crossings[i].back == 1) continue;
      ++nbWrong;
      FAIL_CHECK(mesh.name, ": ", crossings[i].front, " in, ", crossings[i].back, " out, ", describe(rays[i]));
    }
    CHECK(nbWrong == 0);
  }
}

TEST_CASE("a sheet of triangles is crossed once where it is hit, at its inner vertices and edges as well") {
  const int cells = 20;
  QueryMesh mesh = queryMeshOf("terrain", terrainMesh(cells, 1490));
  const MeshIndex index(mesh.view());
  std::vector<Ray> lines;
  for (int j = 1; j < cells; ++j)
    for (int i = 1; i < cells; ++i) {
      const float* const p = &mesh.vertices[3 * static_cast<std::size_t>(j * (cells + 1) + i)];
      lines.push_back({{p[0], p[1], 5.0f}, -kInf, {0.0f, 0.0f, -1.0f}, kInf});
      lines.push_back({{p[0], p[1], -5.0f}, -kInf, {0.0f, 0.0f, 1.0f}, kInf});
      lines.push_back({{p[0], p[1] + 0.01f, -5.0f}, -kInf, {0.0f, 0.0f, 1.0f}, kInf});
    }
  for (const Ray& line : lines) {
    const Crossings crossings = index.crossings(line);
    INFO(describe(line));
    CHECK(crossings.front + crossings.back == 1);
    CHECK((crossings.front == 1) == (line.direction[2] < 0.0f));
  }
}
