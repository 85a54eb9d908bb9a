// The hull query against all triangles in double precision, where the answer is clear by a margin.

#include <doctest/doctest.h>

#include <array>
#include <cmath>

#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr double kMargin = 1e-5;  // a length; single precision is off by about 1e-6 at these sizes

using Vertex = std::array<double, 3>;

/// Plane of unit normal, moved outward by the margin.
struct DoublePlane {
  double normal[3], offset;

  DoublePlane(const Plane& plane, double margin) {
    double squares = 0.0;
    for (int axis = 0; axis < 3; ++axis) squares += double(plane[axis]) * plane[axis];
    for (int axis = 0; axis < 3; ++axis) normal[axis] = plane[axis] / std::sqrt(squares);
    offset = plane[3] / std::sqrt(squares) + margin;
  }
  double distance(const Vertex& p) const { return normal[0] * p[0] + normal[1] * p[1] + normal[2] * p[2] + offset; }
};

/// Whether any part of a polygon lies in all half-spaces, their borders moved outward by the margin.
bool isAnyInside(std::vector<Vertex> polygon, const Planes& planes, double margin) {
  for (const Plane& plane : planes) {
    const DoublePlane exact(plane, margin);
    std::vector<Vertex> kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const Vertex &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
      const double da = exact.distance(a), db = exact.distance(b);
      if (da >= 0.0) kept.push_back(a);
      if ((da >= 0.0) != (db >= 0.0)) {
        Vertex p;
        for (std::size_t axis = 0; axis < 3; ++axis) p[axis] = a[axis] + da / (da - db) * (b[axis] - a[axis]);
        kept.push_back(p);
      }
    }
    polygon = kept;
  }
  return !polygon.empty();
}

bool isAnyTriangleInside(const qz::qzTriMesh& mesh, const Planes& planes, double margin) {
  for (unsigned int triangle = 0; triangle < nbTrianglesOf(mesh); ++triangle) {
    std::vector<Vertex> polygon;
    for (int corner = 0; corner < 3; ++corner) {
      const Point p = cornerOf(mesh, triangle, corner);
      polygon.push_back({p[0], p[1], p[2]});
    }
    if (isAnyInside(polygon, planes, margin)) return true;
  }
  return false;
}

}  // namespace

TEST_CASE("a region intersects if a triangle enters it by the margin, and does not if all miss it by the margin") {
  const qz::qzTriMesh meshes[] = {terrainMesh(16, 71), soupMesh(500, 72), sphereMesh(12, 20)};
  std::uint32_t seed = 500;
  for (const qz::qzTriMesh& mesh : meshes) {
    int nbClearYes = 0, nbClearNo = 0, nbUnclear = 0;
    for (const unsigned int leafSize : {1u, 3u, 4u, 9u}) {
      Random random(++seed);
      INFO("seed " << seed);
      HullQBVH hierarchy;
      hierarchy.build(mesh, leafSize);
      for (int i = 0; i < 250; ++i) {
        const Planes planes = ordinaryPlanes(mesh, random);
        INFO(describe(planes));
        if (isAnyTriangleInside(mesh, planes, -kMargin)) {
          CHECK(meets(hierarchy, planes));
          ++nbClearYes;
        } else if (!isAnyTriangleInside(mesh, planes, kMargin) && !isAnyInside({{0.0, 0.0, 0.0}}, planes, kMargin)) {
          CHECK_FALSE(meets(hierarchy, planes));  // padding lanes, at the origin, do not matter here
          ++nbClearNo;
        } else {
          ++nbUnclear;
        }
      }
    }
    CHECK(nbClearYes > 300);
    CHECK(nbClearNo > 300);
    CHECK(nbUnclear < 200);
  }
}
