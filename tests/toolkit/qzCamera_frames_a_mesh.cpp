#include <doctest/doctest.h>
#include <toolkit/qzCamera.h>

#include <cmath>

#include "support/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using qzToolkit::qzCamera;
using tVector = qzCamera::tVector;

namespace {

double dot(const tVector& a, const Wm4::Vector3<float>& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Where a point is in the picture, x and y as for getDirection.
std::array<double, 2> project(const qzCamera& camera, const Wm4::Vector3<float>& point) {
  const Wm4::Vector3<float> origin = camera.getOrigin(), corner = camera.getDirection(1.0, 0.0);
  const Wm4::Vector3<float> offset(point[0] - origin[0], point[1] - origin[1], point[2] - origin[2]);
  const double halfWidth = dot(camera.getRight(), corner) / -dot(camera.getBackward(), corner);
  const double halfHeight = dot(camera.getUp(), corner) / -dot(camera.getBackward(), corner);
  const double depth = -dot(camera.getBackward(), offset);
  REQUIRE(depth > 0.0);
  return {0.5 + 0.5 * dot(camera.getRight(), offset) / depth / halfWidth,
          0.5 - 0.5 * dot(camera.getUp(), offset) / depth / halfHeight};
}

bool isNear(const tVector& a, const tVector& b) {
  return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]) < 1e-12;
}

}  // namespace

TEST_CASE("from every view all of a mesh is in the picture, and reaches near two opposite edges") {
  const qz::qzTriMesh meshes[] = {soupMesh(200, 3), terrainMesh(6, 4), gridMesh(1),
                                  meshOfCorners({{5, 5, 5}, {5, 5, 905}, {6, 5, 5}})};
  const qz::qzTriMesh& needle = meshes[3];
  for (const qz::qzTriMesh& mesh : meshes) {
    for (const char* view : {"", "front", "back", "left", "right", "top", "bottom", "iso", "1,2,-3", "0,1e-3,1"}) {
      for (double aspect : {0.5, 1.0, 4.0 / 3.0, 3.0}) {
        CAPTURE(view);
        CAPTURE(aspect);
        const qzCamera camera =
            qzCamera::Frame(mesh, qzCamera::Direction(view, qzCamera::eUpZ), qzCamera::eUpZ, aspect);
        double low[2] = {1, 1}, high[2] = {0, 0};
        for (int v = 0; v < mesh.getVertexBuffer()->getNbVertices(); ++v) {
          const std::array<double, 2> place = project(camera, mesh.getVertexBuffer()->Position3(v));
          for (std::size_t k = 0; k < 2; ++k) {
            low[k] = std::min(low[k], place[k]);
            high[k] = std::max(high[k], place[k]);
          }
        }
        CHECK(low[0] > 0.0);
        CHECK(low[1] > 0.0);
        CHECK(high[0] < 1.0);
        CHECK(high[1] < 1.0);
        if (&mesh != &needle) CHECK(std::max(high[0] - low[0], high[1] - low[1]) > 0.9);  // it may point at the camera
        for (std::size_t k = 0; k < 2; ++k) {
          if (high[k] - low[k] > 0.9) CHECK(low[k] + high[k] == doctest::Approx(1.0).epsilon(0.01));
        }
      }
    }
  }
}

TEST_CASE("named views look from the side that they name, right of the front view being +x") {
  const qz::qzTriMesh mesh = gridMesh(2);
  const auto camera = [&](const char* view, qzCamera::tUp up) {
    return qzCamera::Frame(mesh, qzCamera::Direction(view, up), up, 1.0);
  };
  CHECK(isNear(camera("front", qzCamera::eUpZ).getBackward(), {0, -1, 0}));
  CHECK(isNear(camera("front", qzCamera::eUpZ).getRight(), {1, 0, 0}));
  CHECK(isNear(camera("front", qzCamera::eUpZ).getUp(), {0, 0, 1}));
  CHECK(isNear(camera("back", qzCamera::eUpZ).getRight(), {-1, 0, 0}));
  CHECK(isNear(camera("left", qzCamera::eUpZ).getBackward(), {-1, 0, 0}));
  CHECK(isNear(camera("right", qzCamera::eUpZ).getRight(), {0, 1, 0}));
  CHECK(isNear(camera("top", qzCamera::eUpZ).getBackward(), {0, 0, 1}));
  CHECK(isNear(camera("top", qzCamera::eUpZ).getRight(), {1, 0, 0}));
  CHECK(isNear(camera("top", qzCamera::eUpZ).getUp(), {0, 1, 0}));
  CHECK(isNear(camera("bottom", qzCamera::eUpZ).getRight(), {1, 0, 0}));

  CHECK(isNear(camera("front", qzCamera::eUpY).getBackward(), {0, 0, 1}));
  CHECK(isNear(camera("front", qzCamera::eUpY).getRight(), {1, 0, 0}));
  CHECK(isNear(camera("front", qzCamera::eUpY).getUp(), {0, 1, 0}));
  CHECK(isNear(camera("top", qzCamera::eUpY).getBackward(), {0, 1, 0}));
  CHECK(isNear(camera("top", qzCamera::eUpY).getRight(), {1, 0, 0}));
}

TEST_CASE("the default view is from the front, above and to the side") {
  const tVector direction = qzCamera::Direction("", qzCamera::eUpZ);
  CHECK(direction[1] < 0.0);
  CHECK(direction[2] > 0.0);
  CHECK(direction[0] != 0.0);
}

TEST_CASE("rays have length 1, go through the middle straight ahead, and to the right and down from there") {
  const qzCamera camera = qzCamera::Frame(gridMesh(2), {1, -2, 0.5}, qzCamera::eUpZ, 2.0);
  const Wm4::Vector3<float> middle = camera.getDirection(0.5, 0.5);
  CHECK(dot(camera.getBackward(), middle) == doctest::Approx(-1.0));
  for (double x : {0.0, 0.3, 1.0}) {
    for (double y : {0.0, 0.9}) {
      const Wm4::Vector3<float> d = camera.getDirection(x, y);
      CHECK(std::sqrt(double(d[0]) * d[0] + double(d[1]) * d[1] + double(d[2]) * d[2]) == doctest::Approx(1.0));
      CHECK((dot(camera.getRight(), d) > 0.0) == (x > 0.5));
      CHECK((dot(camera.getUp(), d) > 0.0) == (y < 0.5));
    }
  }
}

TEST_CASE("a mesh of one point is looked at from a distance") {
  const qzCamera camera =
      qzCamera::Frame(meshOfCorners({{3, 4, 5}, {3, 4, 5}, {3, 4, 5}}), {0, 0, 1}, qzCamera::eUpZ, 1.0);
  CHECK(camera.getOrigin()[2] > 5.0f);
  CHECK(std::isfinite(camera.getOrigin()[2]));
  CHECK(camera.getOrigin()[0] == doctest::Approx(3.0));
}

TEST_CASE("a view is x,y,z or a name") {
  CHECK(qzCamera::Direction("1,-2.5,3e1", qzCamera::eUpZ) == tVector{1, -2.5, 30});
  for (const char* text : {"above", "1,2", "1,2,3,4", "1,2,x", "1,,3", "nan,0,1", "1,inf,0", "Front"}) {
    CHECK(errorOf([&] { qzCamera::Direction(text, qzCamera::eUpZ); }) ==
          "view '" + std::string(text) + "': neither x,y,z nor one of front, back, left, right, top, bottom, iso");
  }
  CHECK(errorOf([] { qzCamera::Direction("0,0,0", qzCamera::eUpZ); }) == "view '0,0,0': the direction has no length");
}
