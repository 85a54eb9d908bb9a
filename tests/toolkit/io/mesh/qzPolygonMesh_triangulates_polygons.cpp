#include <doctest/doctest.h>
#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <algorithm>
#include <cmath>

#include "support/qzBits.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using qzToolkit::qzPolygonMesh;

namespace {

using Point = Wm4::Vector3<float>;

/// A mesh of one polygon.
qzPolygonMesh polygonOf(const std::vector<Point>& corners) {
  qzPolygonMesh mesh;
  mesh.mVertices = corners;
  for (int i = 0; i < static_cast<int>(corners.size()); ++i) mesh.mCorners.push_back(i);
  mesh.mNbCorners.push_back(static_cast<int>(corners.size()));
  return mesh;
}

std::vector<int> indicesOf(const qz::qzTriMesh& mesh) {
  const qz::qzIndexBuffer& buffer = *mesh.getIndexBuffer();
  return std::vector<int>(buffer.getIndices(), buffer.getIndices() + buffer.getNbIndices());
}

/// Twice the area on the x-y plane, positive for counterclockwise corners.
double doubleArea(const Point& a, const Point& b, const Point& c) {
  return (double(b[0]) - a[0]) * (double(c[1]) - a[1]) - (double(b[1]) - a[1]) * (double(c[0]) - a[0]);
}

/// Checks that the triangles of a polygon on the x-y plane are n - 2, all on its side, and cover its area once.
void checkCover(const std::vector<Point>& corners) {
  double whole = 0.0, sum = 0.0;
  for (std::size_t i = 1; i + 1 < corners.size(); ++i) whole += doubleArea(corners[0], corners[i], corners[i + 1]);
  const std::vector<int> indices = indicesOf(polygonOf(corners).triangulate());
  REQUIRE(indices.size() == 3 * (corners.size() - 2));
  for (std::size_t i = 0; i < indices.size(); i += 3) {
    const auto corner = [&](std::size_t k) { return corners[static_cast<std::size_t>(indices[i + k])]; };
    const double area = doubleArea(corner(0), corner(1), corner(2)) * (whole > 0.0 ? 1.0 : -1.0);
    CHECK(area >= 0.0);
    sum += area;
  }
  CHECK(sum == doctest::Approx(std::abs(whole)).epsilon(1e-9));
}

std::vector<Point> reversed(std::vector<Point> corners) {
  return {corners.rbegin(), corners.rend()};
}

}  // namespace

TEST_CASE("a convex polygon becomes a fan around its first corner") {
  const std::vector<Point> corners = {{0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {2, 2, 0}, {0, 2, 0}};
  CHECK(indicesOf(polygonOf(corners).triangulate()) == std::vector<int>{0, 1, 2, 0, 2, 3, 0, 3, 4});
  CHECK(indicesOf(polygonOf(reversed(corners)).triangulate()) == std::vector<int>{0, 1, 2, 0, 2, 3, 0, 3, 4});
}

TEST_CASE("non-convex polygons are covered once, in either orientation") {
  const std::vector<std::vector<Point>> shapes = {
      {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}},                        // L
      {{0, 0, 0}, {3, 0, 0}, {3, 3, 0}, {2, 3, 0}, {2, 1, 0}, {1, 1, 0}, {1, 3, 0}, {0, 3, 0}},  // U
      {{0, 0, 0}, {4, 2, 0}, {0, 4, 0}, {1, 2, 0}},                                              // arrow
      {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {0, 1, 0}},                        // corners on edges
      {{0, 0, 0},
       {6, 0, 0},
       {6, 6, 0},
       {1, 6, 0},
       {1, 2, 0},
       {4, 2, 0},
       {4, 4, 0},
       {3, 4, 0},
       {3, 3, 0},
       {2, 3, 0},
       {2, 5, 0},
       {5, 5, 0},
       {5, 1, 0},
       {0, 1, 0}}};  // spiral
  for (const std::vector<Point>& shape : shapes) {
    for (std::size_t start = 0; start < shape.size(); ++start) {
      std::vector<Point> turned(shape.begin() + static_cast<std::ptrdiff_t>(start), shape.end());
      turned.insert(turned.end(), shape.begin(), shape.begin() + static_cast<std::ptrdiff_t>(start));
      checkCover(turned);
      checkCover(reversed(turned));
    }
  }
}

TEST_CASE("a corner on the diagonal of an ear blocks it") {
  // The diagonal from (4, 0) to (0, 4) goes through the reflex corner (2, 2): cutting the ear at (0, 0) first would
  // leave a triangle without area and cover the notch.
  const std::vector<Point> corners = {{0, 0, 0}, {4, 0, 0}, {2, 2, 0}, {0, 4, 0}};
  for (std::size_t start = 0; start < 4; ++start) {
    std::vector<Point> shifted = corners;
    std::rotate(shifted.begin(), shifted.begin() + static_cast<std::ptrdiff_t>(start), shifted.end());
    const std::vector<int> indices = indicesOf(polygonOf(shifted).triangulate());
    REQUIRE(indices.size() == 6);
    for (std::size_t i = 0; i < 6; i += 3) {
      const auto corner = [&](std::size_t k) { return shifted[static_cast<std::size_t>(indices[i + k])]; };
      CHECK(doubleArea(corner(0), corner(1), corner(2)) == 8.0);
    }
  }
}

TEST_CASE("random stars are covered once") {
  const std::uint32_t seed = 77;
  CAPTURE(seed);
  Random random(seed);
  for (int round = 0; round < 300; ++round) {
    CAPTURE(round);
    const int count = 3 + static_cast<int>(random.below(40));
    std::vector<Point> corners;
    for (int i = 0; i < count; ++i) {
      const double angle = 6.283185307179586 * (i + 0.9 * random.unit()) / count;
      const double radius = random.between(0.1f, 1.0f);
      corners.emplace_back(static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle)),
                           0.0f);
    }
    checkCover(corners);
    checkCover(reversed(corners));
  }
}

TEST_CASE("a polygon may have any orientation in space") {
  // The arrow on each coordinate plane, and on a slope.
  const float arrow[4][2] = {{0, 0}, {4, 2}, {0, 4}, {1, 2}};
  for (int axis = 0; axis < 4; ++axis) {
    std::vector<Point> corners;
    for (const float* p : arrow) {
      if (axis == 3) {
        corners.emplace_back(p[0], p[1], 3.0f * p[0] - 2.0f * p[1]);
      } else {
        Point corner(7, 7, 7);
        corner[(axis + 1) % 3] = p[0];
        corner[(axis + 2) % 3] = p[1];
        corners.push_back(corner);
      }
    }
    // The only diagonal inside is the one from the tip to the notch.
    CHECK(indicesOf(polygonOf(corners).triangulate()) == std::vector<int>{1, 2, 3, 1, 3, 0});
  }
}

TEST_CASE("self-intersecting polygons and those without area give the same number of triangles") {
  const std::vector<std::vector<Point>> shapes = {{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}},
                                                  {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
                                                  {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}},
                                                  {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 0}}};
  for (const std::vector<Point>& shape : shapes) {
    const std::vector<int> indices = indicesOf(polygonOf(shape).triangulate());
    CHECK(indices.size() == 3 * (shape.size() - 2));
    for (int index : indices) CHECK((index >= 0 && index < static_cast<int>(shape.size())));
  }
}

TEST_CASE("a large convex polygon takes linear time") {
  std::vector<Point> corners;
  for (int i = 0; i < 20000; ++i) {
    corners.emplace_back(1000.0f * static_cast<float>(std::cos(i * 3.14159265e-4)),
                         1000.0f * static_cast<float>(std::sin(i * 3.14159265e-4)), 0.0f);
  }
  CHECK(indicesOf(polygonOf(corners).triangulate()).size() == 3 * 19998);
}

TEST_CASE("triangles are kept, points and lines dropped, and faces stay in order") {
  qzPolygonMesh mesh;
  mesh.mVertices = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  mesh.mNbCorners = {2, 3, 0, 4, 1, 3};
  mesh.mCorners = {0, 1, 3, 2, 1, 0, 1, 2, 3, 2, 1, 1, 1};
  CHECK(mesh.countTriangles() == 4);
  CHECK(indicesOf(mesh.triangulate()) == std::vector<int>{3, 2, 1, 0, 1, 2, 0, 2, 3, 1, 1, 1});
}
