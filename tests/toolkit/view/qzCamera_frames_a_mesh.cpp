#include <doctest/doctest.h>
#include <toolkit/view/qzCamera.h>

#include <cmath>

#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using qzToolkit::qzCamera;
using tVector = qzCamera::tVector;

namespace {

double dot(const tVector& a, const Wm4::Vector3<float>& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Wm4::Vector3<float> fromCamera(const qzCamera& camera, const Wm4::Vector3<float>& point) {
  const Wm4::Vector3<float> origin = camera.getOrigin();
  return {point[0] - origin[0], point[1] - origin[1], point[2] - origin[2]};
}

/// Along the line of sight.
double depthOf(const qzCamera& camera, const Wm4::Vector3<float>& point) {
  return -dot(camera.getBackward(), fromCamera(camera, point));
}

/// Where a point is in the picture, x and y as for getDirection.
std::array<double, 2> project(const qzCamera& camera, const Wm4::Vector3<float>& point) {
  const Wm4::Vector3<float> corner = camera.getDirection(1.0, 0.0), offset = fromCamera(camera, point);
  const double halfWidth = dot(camera.getRight(), corner) / -dot(camera.getBackward(), corner);
  const double halfHeight = dot(camera.getUp(), corner) / -dot(camera.getBackward(), corner);
  const double depth = depthOf(camera, point);
  REQUIRE(depth > 0.0);
  return {0.5 + 0.5 * dot(camera.getRight(), offset) / depth / halfWidth,
          0.5 - 0.5 * dot(camera.getUp(), offset) / depth / halfHeight};
}

bool isNear(const tVector& a, const tVector& b) {
  return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]) < 1e-12;
}

}  // namespace

TEST_CASE("from every view the whole mesh is in the picture and comes near two opposite edges") {
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

TEST_CASE("around a rotating mesh every vertex stays in the picture at any angle, and one comes near an edge") {
  const qz::qzTriMesh meshes[] = {soupMesh(200, 5), terrainMesh(6, 4), gridMesh(1),
                                  meshOfCorners({{5, 5, 5}, {5, 5, 905}, {6, 5, 5}})};
  for (const qz::qzTriMesh& mesh : meshes) {
    for (qzCamera::tUp up : {qzCamera::eUpY, qzCamera::eUpZ}) {
      for (const char* view : {"", "front", "left", "top", "bottom", "iso", "1,2,-3", "0,1e-3,1"}) {
        for (double aspect : {0.5, 1.0, 3.0}) {
          CAPTURE(view);
          CAPTURE(aspect);
          double largest = 0.0, nearest = 1.0, farthest = -1.0;
          for (const qzCamera& camera : qzCamera::FrameTurning(mesh, qzCamera::Direction(view, up), up, aspect, 90)) {
            for (int v = 0; v < mesh.getVertexBuffer()->getNbVertices(); ++v) {
              const Wm4::Vector3<float> vertex = mesh.getVertexBuffer()->Position3(v);
              const std::array<double, 2> place = project(camera, vertex);
              for (double part : place) largest = std::max(largest, std::abs(2.0 * part - 1.0));
              const double depth = depthOf(camera, vertex);
              nearest = std::min(nearest, depth - camera.getNearest());
              farthest = std::max(farthest, depth - camera.getFarthest());
            }
          }
          CHECK(largest < 1.0);
          CHECK(largest > 0.92);
          CHECK(nearest > -1e-3);
          CHECK(farthest < 1e-3);
        }
      }
    }
  }
}

TEST_CASE("cameras rotate from front to right in equal steps about the centre of the box") {
  const qz::qzTriMesh mesh = meshOfCorners({{10, 20, 30}, {14, 20, 30}, {10, 26, 38}});
  for (qzCamera::tUp up : {qzCamera::eUpY, qzCamera::eUpZ}) {
    const auto cameras = qzCamera::FrameTurning(mesh, qzCamera::Direction("front", up), up, 1.5, 4);
    REQUIRE(cameras.size() == 4);
    const char* const views[] = {"front", "right", "back", "left"};
    for (std::size_t i = 0; i < 4; ++i) {
      CAPTURE(views[i]);
      const qzCamera framed = qzCamera::Frame(mesh, qzCamera::Direction(views[i], up), up, 1.5);
      CHECK(isNear(cameras[i].getBackward(), framed.getBackward()));
      CHECK(isNear(cameras[i].getRight(), framed.getRight()));
      CHECK(isNear(cameras[i].getUp(), framed.getUp()));
      CHECK(project(cameras[i], {12, 23, 34})[0] == doctest::Approx(0.5));
      CHECK(project(cameras[i], {12, 23, 34})[1] == doctest::Approx(project(cameras[0], {12, 23, 34})[1]));
      CHECK(cameras[i].getNearest() == cameras[0].getNearest());
    }
  }
  // Seen from above the picture turns.
  const auto cameras = qzCamera::FrameTurning(mesh, {0, 0, 1}, qzCamera::eUpZ, 1.5, 8);
  for (std::size_t i = 0; i < 8; ++i) {
    const double turn = 0.25 * 3.14159265358979323846 * static_cast<double>(i);
    CHECK(isNear(cameras[i].getBackward(), {0, 0, 1}));
    CHECK(isNear(cameras[i].getRight(), {std::cos(turn), std::sin(turn), 0}));
  }
}

TEST_CASE("every other camera of a turn in eight is one of a turn in four, to the bit") {
  const qz::qzTriMesh mesh = soupMesh(30, 8);
  const auto four = qzCamera::FrameTurning(mesh, {1, -2, 0.5}, qzCamera::eUpZ, 0.8, 4),
             eight = qzCamera::FrameTurning(mesh, {1, -2, 0.5}, qzCamera::eUpZ, 0.8, 8);
  for (std::size_t i = 0; i < 4; ++i) {
    CHECK(sameBits(four[i].getOrigin(), eight[2 * i].getOrigin()));
    CHECK(sameBits(four[i].getDirection(0.3, 0.9), eight[2 * i].getDirection(0.3, 0.9)));
    CHECK(sameBits(four[i].getBackward(), eight[2 * i].getBackward()));
  }
}

TEST_CASE("a framed mesh is between the nearest and the farthest distance, and reaches both") {
  const qz::qzTriMesh mesh = soupMesh(50, 4);
  for (const char* view : {"", "top", "1,2,3"}) {
    const qzCamera camera = qzCamera::Frame(mesh, qzCamera::Direction(view, qzCamera::eUpZ), qzCamera::eUpZ, 1.0);
    double nearest = 1e9, farthest = -1e9;
    for (int v = 0; v < mesh.getVertexBuffer()->getNbVertices(); ++v) {
      const double depth = depthOf(camera, mesh.getVertexBuffer()->Position3(v));
      nearest = std::min(nearest, depth);
      farthest = std::max(farthest, depth);
    }
    CHECK(camera.getNearest() == doctest::Approx(nearest));
    CHECK(camera.getFarthest() == doctest::Approx(farthest));
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

TEST_CASE("ray directions have length 1; x goes right and y down from the centre") {
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

TEST_CASE("pixels are square, and the larger angle of view is 29 degrees") {
  for (const double aspect : {0.25, 0.5, 1.0, 2.0, 5.0}) {
    CAPTURE(aspect);
    const qzCamera camera = qzCamera::Frame(gridMesh(2), {1, -2, 0.5}, qzCamera::eUpZ, aspect);
    CHECK(camera.getHalfWidth() / camera.getHalfHeight() == doctest::Approx(aspect));
    const double larger = std::atan(std::max(camera.getHalfWidth(), camera.getHalfHeight()));
    CHECK(2.0 * larger * 180.0 / 3.14159265 == doctest::Approx(29.0).epsilon(0.01));
  }
}

TEST_CASE("the camera keeps a distance from a mesh of one point") {
  const qzCamera camera =
      qzCamera::Frame(meshOfCorners({{3, 4, 5}, {3, 4, 5}, {3, 4, 5}}), {0, 0, 1}, qzCamera::eUpZ, 1.0);
  CHECK(camera.getOrigin()[2] > 5.0f);
  CHECK(std::isfinite(camera.getOrigin()[2]));
  CHECK(camera.getOrigin()[0] == doctest::Approx(3.0));
  const qz::qzTriMesh far = meshOfCorners({{3, 4000, 5}, {3, 4000, 5}, {3, 4000, 5}});
  for (const qzCamera& turned : qzCamera::FrameTurning(far, {0, 0, 1}, qzCamera::eUpZ, 1.0, 3)) {
    CHECK(turned.getOrigin()[2] > 5.0f);
    CHECK(turned.getOrigin()[2] < 6.0f);
    CHECK(turned.getOrigin()[1] == 4000.0f);
  }
}

TEST_CASE("a view is x,y,z or a name") {
  CHECK(qzCamera::Direction("1,-2.5,3e1", qzCamera::eUpZ) == tVector{1, -2.5, 30});
  for (const char* text : {"above", "1,2", "1,2,3,4", "1,2,x", "1,,3", "nan,0,1", "1,inf,0", "Front"}) {
    CHECK(errorOf([&] { qzCamera::Direction(text, qzCamera::eUpZ); }) ==
          "view '" + std::string(text) + "': neither x,y,z nor one of front, back, left, right, top, bottom, iso");
  }
  CHECK(errorOf([] { qzCamera::Direction("0,0,0", qzCamera::eUpZ); }) == "view '0,0,0': the direction has no length");
}
