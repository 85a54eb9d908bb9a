// Lines whose hits are worked by hand, for the library and the plain form.

#include <doctest/doctest.h>

#include <cmath>

#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

/// Triangles (0, 0, z), (2, 0, z), (0, 4, z), facing up or down, all in one leaf or four in the lanes of one node.
struct Scene {
  OpenQBVH library;
  qzPlain::tQBVH plain;

  struct Sheet {
    float z;
    bool facesUp;
  };
  enum Shape { eOneLeaf, eLanes };

  Scene(const std::vector<Sheet>& sheets, Shape shape) {
    std::vector<Point> corners;
    qzGenericBVH bvh;
    const qzBBox box = qzBBox::Make(-100.0f, -100.0f, -100.0f, 100.0f, 100.0f, 100.0f);
    for (const Sheet& sheet : sheets) {
      const Point a(0, 0, sheet.z), b(2, 0, sheet.z), c(0, 4, sheet.z);
      corners.insert(corners.end(), {a, sheet.facesUp ? b : c, sheet.facesUp ? c : b});
      bvh.editPrimitives().push_back(static_cast<unsigned int>(bvh.editPrimitives().size()));
    }
    if (shape == eOneLeaf) {
      setLeaf(bvh, 0, box, 0, static_cast<unsigned int>(sheets.size()));
    } else {
      REQUIRE(sheets.size() == 4);
      setInner(bvh, 0, box, 1, 2);
      setInner(bvh, 1, box, 3, 4);
      setInner(bvh, 2, box, 5, 6);
      for (unsigned int lane = 0; lane < 4; ++lane) setLeaf(bvh, 3 + lane, box, lane, 1);
    }
    const qz::qzTriMesh mesh = meshOfCorners(corners);
    library.buildFromBVH(kBothArrays, bvh, mesh);
    plain = qzPlain::convert(3, bvh, mesh);
    CHECK(difference(library, plain) == "");
  }
  Answer operator()(const Ray& ray) const {
    const Answer answer = castSymmetric(library, ray);
    CHECK_MESSAGE(sameAnswer(answer, castSymmetric(plain, ray)), ray);
    return answer;
  }
};

Ray downFrom(float z, float t = kInf) {
  Ray ray;
  ray.origin = Point(0.5f, 1.0f, z);
  ray.direction = Point(0.0f, 0.0f, -1.0f);
  ray.t = t;
  return ray;
}

bool isUntouched(const Answer& answer, float t) {
  return sameAnswer(answer, Answer{false, t, Answer::kUntouchedWeights, kNoTriangle});
}

const Wm4::Vector2<float> kWeights(0.5f, 0.25f);  // of the triangle below (0.5, 1)

}  // namespace

TEST_CASE("a line finds triangles ahead of and behind the origin, at a positive distance") {
  const Scene scene({{0.0f, true}}, Scene::eOneLeaf);
  CHECK(sameAnswer(scene(downFrom(3.0f)), Answer{true, 3.0f, kWeights, 0}));
  CHECK(sameAnswer(scene(downFrom(-3.0f)), Answer{true, 3.0f, kWeights, 0}));
}

TEST_CASE("a line finds the nearest of both directions, in one leaf and over several") {
  const std::vector<Scene::Sheet> sheets = {{0.0f, true}, {9.0f, true}, {-5.0f, true}, {20.0f, true}};
  for (Scene::Shape shape : {Scene::eOneLeaf, Scene::eLanes}) {
    const Scene scene(sheets, shape);
    CHECK(sameAnswer(scene(downFrom(4.0f)), Answer{true, 4.0f, kWeights, 0}));
    CHECK(sameAnswer(scene(downFrom(5.0f)), Answer{true, 4.0f, kWeights, 1}));
    CHECK(sameAnswer(scene(downFrom(-3.0f)), Answer{true, 2.0f, kWeights, 2}));
    CHECK(sameAnswer(scene(downFrom(100.0f)), Answer{true, 80.0f, kWeights, 3}));
  }
}

TEST_CASE("a line never finds triangles whose normal points along it, in either direction") {
  const Scene scene({{0.0f, false}, {8.0f, true}}, Scene::eOneLeaf);
  CHECK(sameAnswer(scene(downFrom(1.0f)), Answer{true, 7.0f, kWeights, 1}));
  CHECK(sameAnswer(scene(downFrom(-1.0f)), Answer{true, 9.0f, kWeights, 1}));
  CHECK(isUntouched(scene(downFrom(1.0f, 6.0f)), 6.0f));
  Ray ray = downFrom(1.0f);
  ray.direction[2] = 1.0f;
  CHECK(scene(ray).triangle == 0);
}

TEST_CASE("a hit at exactly t counts in both directions, one beyond it does not") {
  const std::vector<Scene::Sheet> sheets = {{0.0f, true}, {50.0f, true}, {-50.0f, true}, {60.0f, true}};
  for (Scene::Shape shape : {Scene::eOneLeaf, Scene::eLanes}) {
    const Scene scene(sheets, shape);
    for (float z : {3.0f, -3.0f}) {
      CHECK(sameAnswer(scene(downFrom(z, 3.0f)), Answer{true, 3.0f, kWeights, 0}));
      const float less = std::nextafter(3.0f, 0.0f);
      CHECK(isUntouched(scene(downFrom(z, less)), less));
    }
  }
}

TEST_CASE("at equal distances in both directions the lower lane wins, or the leaf visited first") {
  for (Scene::Shape shape : {Scene::eOneLeaf, Scene::eLanes}) {
    CHECK(Scene({{9.0f, true}, {2.0f, true}, {-2.0f, true}, {9.0f, true}}, shape)(downFrom(0.0f)).triangle == 1);
    CHECK(Scene({{9.0f, true}, {-2.0f, true}, {2.0f, true}, {9.0f, true}}, shape)(downFrom(0.0f)).triangle == 1);
    CHECK(Scene({{9.0f, true}, {-2.0f, true}, {2.0f, true}, {9.0f, true}}, shape)(downFrom(0.0f, 2.0f)).triangle == 1);
  }
}

TEST_CASE("with t negative a line finds nothing, with t at 0 or -0 what contains the origin") {
  for (Scene::Shape shape : {Scene::eOneLeaf, Scene::eLanes}) {
    const Scene scene({{0.0f, true}, {1.0f, true}, {2.0f, true}, {3.0f, true}}, shape);
    for (float t : {-1.0f, -5.0f, -kInf, -0x1p-149f}) CHECK(isUntouched(scene(downFrom(2.5f, t)), t));
    CHECK(isUntouched(scene(downFrom(1.0f, -kInf)), -kInf));
    for (float t : {0.0f, -0.0f}) {
      CHECK(sameAnswer(scene(downFrom(2.0f, t)), Answer{true, 0.0f, kWeights, 2}));
      CHECK(isUntouched(scene(downFrom(2.5f, t)), t));
    }
    CHECK(isUntouched(scene(downFrom(2.0f, kNaN)), kNaN));
  }
}

TEST_CASE("a line without a hit leaves t and the weights and sets the triangle to 0xFFFFFFFF") {
  const Scene scene({{0.0f, true}}, Scene::eOneLeaf);
  Ray ray = downFrom(3.0f, 17.0f);
  ray.origin[0] = 5.0f;
  CHECK(isUntouched(scene(ray), 17.0f));
}

TEST_CASE("a symmetric query ignores tMin and policy: |t| bounds it, and only front faces count") {
  const Scene scene({{0.0f, true}}, Scene::eOneLeaf);
  Ray ray = downFrom(-3.0f);
  ray.tMin = 100.0f;
  ray.policy = qzQBVH::eIntersectBackFaces;
  CHECK(scene(ray).hit);
}

TEST_CASE("a NaN in origin or direction and a direction of zero allow no hit") {
  const Scene scene({{0.0f, true}, {1.0f, true}, {2.0f, true}, {3.0f, true}}, Scene::eLanes);
  for (int axis = 0; axis < 3; ++axis) {
    Ray ray = downFrom(3.5f);
    ray.origin[axis] = kNaN;
    CHECK(isUntouched(scene(ray), kInf));
    ray = downFrom(3.5f);
    ray.direction[axis] = kNaN;
    CHECK(isUntouched(scene(ray), kInf));
  }
  Ray ray = downFrom(3.0f);
  ray.direction = Point(0.0f, -0.0f, 0.0f);
  CHECK(isUntouched(scene(ray), kInf));
}
