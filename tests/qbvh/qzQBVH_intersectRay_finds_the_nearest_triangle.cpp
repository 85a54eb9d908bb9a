// Rays whose hits are worked by hand, for the library and the plain form.

#include <doctest/doctest.h>

#include <cmath>

#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr unsigned int kBoth = qzQBVH::eIntersectBothFaces, kFront = qzQBVH::eIntersectFrontFaces,
                       kBack = qzQBVH::eIntersectBackFaces;

/// A hierarchy in the library's and in the plain form; checks that both give the same answer.
struct Scene {
  OpenQBVH library;
  qzPlain::tQBVH plain;

  Scene(const qzGenericBVH& bvh, const qz::qzTriMesh& mesh) : plain(qzPlain::convert(3, bvh, mesh)) {
    library.buildFromBVH(kBothArrays, bvh, mesh);
    CHECK(difference(library, plain) == "");
  }
  Answer operator()(const Ray& ray) const {
    const Answer answer = cast(library, ray);
    CHECK_MESSAGE(sameAnswer(answer, cast(plain, ray)), ray);
    return answer;
  }
};

/// All triangles in one leaf that is the root, in the given order.
qzGenericBVH rootLeaf(std::vector<unsigned int> primitives) {
  qzGenericBVH bvh;
  setLeaf(bvh, 0, qzBBox(), 0, static_cast<unsigned int>(primitives.size()));
  bvh.editPrimitives() = std::move(primitives);
  return bvh;
}

/// Four leaves of one triangle each in lanes 0 to 3 of the root, triangle j in lane j with boxes[j].
qzGenericBVH fourLeaves(const qzBBox (&boxes)[4]) {
  qzGenericBVH bvh;
  bvh.editPrimitives() = {0, 1, 2, 3};
  setInner(bvh, 0, qzBBox(), 1, 2);
  setInner(bvh, 1, qzBBox(), 3, 4);
  setInner(bvh, 2, qzBBox(), 5, 6);
  for (unsigned int lane = 0; lane < 4; ++lane) setLeaf(bvh, 3 + lane, boxes[lane], lane, 1);
  return bvh;
}

/// The triangle (0, 0, z), (2, 0, z), (0, 4, z), whose normal is z.
std::vector<Point> triangleAt(float z) {
  return {Point(0, 0, z), Point(2, 0, z), Point(0, 4, z)};
}

std::vector<Point> trianglesAt(const std::vector<float>& zs) {
  std::vector<Point> corners;
  for (float z : zs) {
    for (const Point& corner : triangleAt(z)) corners.push_back(corner);
  }
  return corners;
}

const qzBBox kEverywhere = qzBBox::Make(-100.0f, -100.0f, -100.0f, 100.0f, 100.0f, 100.0f);

/// From (0.5, 1, 3) down to the triangle at 0: distance 3, weights 1/2, 1/4 and 1/4.
Ray down() {
  Ray ray;
  ray.origin = Point(0.5f, 1.0f, 3.0f);
  ray.direction = Point(0.0f, 0.0f, -1.0f);
  return ray;
}
Ray up() {
  Ray ray = down();
  ray.origin[2] = -3.0f;
  ray.direction[2] = 1.0f;
  return ray;
}

bool isUntouched(const Answer& answer, float t) {
  return sameAnswer(answer, Answer{false, t, Answer::kUntouchedWeights, kNoTriangle});
}

}  // namespace

TEST_CASE("a hit gives its distance, the weights of the first and second vertex and the triangle number") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  CHECK(sameAnswer(scene(down()), Answer{true, 3.0f, Wm4::Vector2<float>(0.5f, 0.25f), 0}));
  Ray ray = down();  // nearer to the second vertex: weights 1/8, 3/4, 1/8
  ray.origin = Point(1.5f, 0.5f, 3.0f);
  CHECK(sameAnswer(scene(ray), Answer{true, 3.0f, Wm4::Vector2<float>(0.125f, 0.75f), 0}));
}

TEST_CASE("distances are multiples of the direction") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  Ray ray = down();
  ray.direction[2] = -2.0f;
  CHECK(sameBits(scene(ray).t, 1.5f));
  ray.direction[2] = -0.25f;
  CHECK(sameBits(scene(ray).t, 12.0f));
  ray.t = 11.0f;
  CHECK(!scene(ray).hit);
}

TEST_CASE("without a hit t and the weights keep their values, to the bit, and the triangle is 0xFFFFFFFF") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  for (float t : {0.0f, -0.0f, 1.0f, kInf, -kInf, kNaN, floatFromBits(0x7FC12345u)}) {
    Ray ray = down();
    ray.origin[0] = 5.0f;
    ray.t = t;
    CHECK(isUntouched(scene(ray), t));
  }
}

TEST_CASE("rays on a root leaf without triangles miss and set the triangle to 0xFFFFFFFF") {
  const Scene scene(rootLeaf({}), meshOfCorners(triangleAt(0.0f)));
  CHECK(isUntouched(scene(down()), kInf));
}

TEST_CASE("a face is a front face when its normal points against the ray; other policies accept both") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  for (unsigned int policy : {kBoth, kFront, kBack, 3u, 4u, 0x80000001u, 0xFFFFFFFFu}) {
    CAPTURE(policy);
    Ray against = down(), along = up();
    against.policy = along.policy = policy;
    CHECK(scene(against).hit == (policy != kBack));
    CHECK(scene(along).hit == (policy != kFront));
  }
}

TEST_CASE("a triangle rejected by the face policy does not occlude those behind it") {
  const Scene scene(rootLeaf({0, 1}), meshOfCorners({Point(0, 0, 1), Point(0, 4, 1), Point(2, 0, 1),  // faces down
                                                     Point(0, 0, 0), Point(2, 0, 0), Point(0, 4, 0)}));
  Ray ray = down();
  CHECK(scene(ray).triangle == 0);
  ray.policy = kFront;
  CHECK(scene(ray).triangle == 1);
  CHECK(sameBits(scene(ray).t, 3.0f));
}

TEST_CASE("a hit at exactly t counts, one beyond it does not") {
  const Scene leaf(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  const Scene node(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}),
                   meshOfCorners(trianglesAt({0.0f, -1.0f, -2.0f, -3.0f})));
  for (const Scene* scene : {&leaf, &node}) {
    Ray ray = down();
    ray.t = 3.0f;
    CHECK(sameAnswer((*scene)(ray), Answer{true, 3.0f, Wm4::Vector2<float>(0.5f, 0.25f), 0}));
    ray.t = std::nextafter(3.0f, 0.0f);
    CHECK(isUntouched((*scene)(ray), ray.t));
  }
}

TEST_CASE("a hit at exactly tMin counts, one before it does not") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  Ray ray = down();
  ray.tMin = 3.0f;
  CHECK(sameBits(scene(ray).t, 3.0f));
  ray.tMin = std::nextafter(3.0f, 4.0f);
  CHECK(isUntouched(scene(ray), kInf));
}

TEST_CASE("an interval of one distance contains that distance, an inverted one contains none") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  Ray ray = down();
  ray.tMin = ray.t = 3.0f;
  CHECK(scene(ray).hit);
  ray.tMin = 3.5f;
  CHECK(isUntouched(scene(ray), 3.0f));
  ray.tMin = 2.0f;
  ray.t = 1.0f;
  CHECK(isUntouched(scene(ray), 1.0f));
}

TEST_CASE("with a negative tMin a ray hits behind its origin, where the farthest triangle has the smallest distance") {
  const Scene scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}),
                    meshOfCorners(trianglesAt({4.0f, 5.0f, 6.0f, 0.0f})));
  Ray ray = down();
  ray.tMin = -2.0f;
  CHECK(sameAnswer(scene(ray), Answer{true, -2.0f, Wm4::Vector2<float>(0.5f, 0.25f), 1}));
  ray.tMin = -kInf;
  CHECK(scene(ray).triangle == 2);
  CHECK(sameBits(scene(ray).t, -3.0f));
}

TEST_CASE("t and tMin that are NaN, or t at minus infinity, allow no hit") {
  const Scene scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}),
                    meshOfCorners(trianglesAt({0.0f, -1.0f, -2.0f, -3.0f})));
  Ray ray = down();
  ray.t = kNaN;
  CHECK(isUntouched(scene(ray), kNaN));
  ray.t = -kInf;
  CHECK(isUntouched(scene(ray), -kInf));
  ray = down();
  ray.tMin = kNaN;
  CHECK(isUntouched(scene(ray), kInf));
}

TEST_CASE("a NaN in origin or direction allows no hit") {
  const Scene scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}),
                    meshOfCorners(trianglesAt({0.0f, -1.0f, -2.0f, -3.0f})));
  for (int axis = 0; axis < 3; ++axis) {
    Ray ray = down();
    ray.origin[axis] = kNaN;
    CHECK(isUntouched(scene(ray), kInf));
    ray = down();
    ray.direction[axis] = kNaN;
    CHECK(isUntouched(scene(ray), kInf));
  }
}

TEST_CASE("a zero direction hits nothing, with the origin off or on the plane") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  for (float z : {3.0f, 0.0f}) {
    for (float zero : {0.0f, -0.0f}) {
      Ray ray = down();
      ray.origin[2] = z;
      ray.direction = Point(zero, zero, zero);
      for (unsigned int policy : {kBoth, kFront, kBack}) {
        ray.policy = policy;
        CHECK(isUntouched(scene(ray), kInf));
      }
    }
  }
}

TEST_CASE("a weight above -0.0001 counts as inside, -0.0001 itself does not") {
  // U = (1, 0, 0) and W = (0, 1, 0): the weights are x and y.
  const Scene scene(rootLeaf({0}), meshOfCorners({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)}));
  const float tolerance = floatFromBits(0xB8D1B717u), inside = std::nextafter(tolerance, 0.0f);
  CHECK(tolerance == -0.0001f);
  for (int axis = 0; axis < 2; ++axis) {
    Ray ray = down();
    ray.origin = Point(0.25f, 0.25f, 3.0f);
    ray.origin[axis] = inside;
    const Answer answer = scene(ray);
    CHECK(answer.hit);
    CHECK(sameBits(answer.barycentric[1], axis == 0 ? inside : 0.25f));
    ray.origin[axis] = tolerance;
    CHECK(!scene(ray).hit);
  }
  // The third weight: 1 - (0.5 + x) for x a little above 0.5.
  Ray ray = down();
  ray.origin = Point(0.5f + 0x1p-14f, 0.5f, 3.0f);  // 2^-14 is 0.000061
  CHECK(sameAnswer(scene(ray), Answer{true, 3.0f, Wm4::Vector2<float>(-0x1p-14f, 0.5f + 0x1p-14f), 0}));
  ray.origin[0] = 0.5f + 0x1p-13f;
  CHECK(!scene(ray).hit);
}

TEST_CASE("a ray through a shared edge reports the triangle tested first, by lane and by leaf") {
  // Two triangles on either side of the diagonal from (0, 0, 0) to (1, 1, 0).
  const qz::qzTriMesh mesh = meshOfCorners({Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0),  //
                                            Point(0, 0, 0), Point(1, 1, 0), Point(0, 1, 0)});
  Ray ray = down();
  ray.origin = Point(0.5f, 0.5f, 3.0f);
  CHECK(Scene(rootLeaf({0, 1}), mesh)(ray).triangle == 0);
  CHECK(Scene(rootLeaf({1, 0}), mesh)(ray).triangle == 1);
  for (unsigned int first : {0u, 1u}) {
    qzGenericBVH bvh;
    bvh.editPrimitives() = {first, 1 - first};
    setInner(bvh, 0, kEverywhere, 1, 2);
    setLeaf(bvh, 1, kEverywhere, 0, 1);
    setLeaf(bvh, 2, kEverywhere, 1, 1);
    CHECK(Scene(bvh, mesh)(ray).triangle == first);
  }
}

TEST_CASE("at equal distances in one leaf the lower lane wins, even from a later quadruplet") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({-1, 0, -2, -3, 0, 0}));
  CHECK(Scene(rootLeaf({0, 1, 2, 3, 4, 5}), mesh)(down()).triangle == 4);  // lane 0 of quadruplet 1 against lane 1
  CHECK(Scene(rootLeaf({0, 1, 2, 3, 0, 5}), mesh)(down()).triangle == 1);  // lane 1 of both: the earlier quadruplet
  CHECK(Scene(rootLeaf({0, 0, 5, 1, 0, 0, 4}), mesh)(down()).triangle == 5);
}

TEST_CASE("at equal distances in several leaves the one visited first wins, also at exactly the entry distance") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, 0, 0, 0}));
  const qzBBox nearer = qzBBox::Make(-100.0f, -100.0f, -100.0f, 100.0f, 100.0f, 2.0f);
  for (float t : {3.0f, 10.0f, kInf}) {
    Ray ray = down();
    ray.t = t;
    // The boxes contain the origin: all keys are 0, lanes in order.
    CHECK(Scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}), mesh)(ray).triangle == 0);
    // Lane 1 is the only box around the origin, the others begin at distance 1.
    CHECK(Scene(fourLeaves({nearer, kEverywhere, nearer, nearer}), mesh)(ray).triangle == 1);
    CHECK(Scene(fourLeaves({nearer, nearer, nearer, kEverywhere}), mesh)(ray).triangle == 3);
  }
}

TEST_CASE("lanes with equal keys are visited in the order of the sorting network of five exchanges") {
  // Keys 1 0 0 0: the network swaps (0, 1) and then (1, 3), so the order is 1 3 2 0. Triangles 2 and 3 are equal.
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, -1, 0, 0}));
  const qzBBox nearer = qzBBox::Make(-100.0f, -100.0f, -100.0f, 100.0f, 100.0f, 2.0f);
  CHECK(Scene(fourLeaves({nearer, kEverywhere, kEverywhere, kEverywhere}), mesh)(down()).triangle == 3);
}

TEST_CASE("the nearest lane is visited first, and its t limits the later leaves") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, 1, 2, -1}));
  CHECK(Scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}), mesh)(down()).triangle == 2);
  CHECK(sameBits(Scene(rootLeaf({0, 1, 2, 3}), mesh)(down()).t, 1.0f));
}

TEST_CASE("a ray along an axis hits a box that it runs through, not one beside it or one whose lower face it runs in") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, -1, -2, -3}));
  const qzBBox tight = qzBBox::Make(0.0f, 0.0f, -5.0f, 2.0f, 4.0f, 0.0f), away = qzBBox::Make(50, 50, 50, 60, 60, 60);
  const Scene scene(fourLeaves({tight, away, away, away}), mesh);
  for (float zero : {0.0f, -0.0f}) {
    Ray ray = down();
    ray.direction = Point(zero, zero, -1.0f);
    CHECK(scene(ray).triangle == 0);
    ray.origin[0] = 3.0f;  // beside the box
    CHECK(!scene(ray).hit);
  }
  // On the face x = 0 the minimum gives 0 * inf, which is NaN, so near and far are both the maximum's distance: +inf
  // for a direction of 0, -inf for -0.
  Ray ray = down();
  ray.origin[0] = 0.0f;
  ray.direction[0] = 0.0f;
  CHECK(!scene(ray).hit);
  ray.direction[0] = -0.0f;
  CHECK(!scene(ray).hit);
}

TEST_CASE("a triangle outside its leaf's box is hit only by rays that hit the box") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, 0, 0, 0}));
  const qzBBox away = qzBBox::Make(50, 50, 50, 60, 60, 60),
               beside = qzBBox::Make(0.25f, 0.75f, -9.0f, 0.75f, 1.25f, -8.0f);
  CHECK(!Scene(fourLeaves({away, away, away, away}), mesh)(down()).hit);
  // The box is behind the triangle on the ray: it is visited, and the hit before the box counts.
  const Scene scene(fourLeaves({away, away, beside, away}), mesh);
  CHECK(scene(down()).triangle == 2);
  Ray ray = down();
  ray.t = 5.0f;  // the box is out of reach then
  CHECK(!scene(ray).hit);
}

TEST_CASE("every ray hits an infinite or an empty box; a box with swapped corners acts like one with ordered corners") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, 0, 0, 0}));
  const qzBBox away = qzBBox::Make(50, 50, 50, 60, 60, 60);
  const qzBBox infinite = qzBBox::Make(-kInf, -kInf, -kInf, kInf, kInf, kInf);
  Ray ray = down();
  ray.direction = Point(0.125f, 0.0625f, -1.0f);
  CHECK(Scene(fourLeaves({away, away, away, infinite}), mesh)(ray).triangle == 3);
  CHECK(Scene(fourLeaves({away, qzBBox::Make(5, 5, 5, -5, -5, -5), away, away}), mesh)(ray).triangle == 1);
  CHECK(Scene(fourLeaves({away, qzBBox(), away, away}), mesh)(ray).triangle == 1);
}

TEST_CASE("a box whose distance overflows to infinity is not visited, even with t infinite") {
  // A reciprocal of 2^126 along z: the box, 4 away, is at 2^128 and so at infinity, the triangle, 1 away, at 2^126.
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({2, 2, 2, 2}));
  const qzBBox below = qzBBox::Make(-100.0f, -100.0f, -90.0f, 100.0f, 100.0f, -1.0f);
  Ray ray = down();
  ray.direction = Point(0x1p-127f, 0x1p-127f, -0x1p-126f);
  CHECK(!Scene(fourLeaves({below, below, below, below}), mesh)(ray).hit);
  const Answer answer = Scene(fourLeaves({below, below, below, kEverywhere}), mesh)(ray);
  CHECK(answer.triangle == 3);
  CHECK(sameBits(answer.t, 0x1p126f));
}

TEST_CASE("ray queries ignore the root box") {
  Scene scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}),
              meshOfCorners(trianglesAt({0, 1, 2, 3})));
  const Answer before = scene(down());
  for (const qzBBox& box :
       {qzBBox(), qzBBox::Make(50, 50, 50, 60, 60, 60), qzBBox::Make(kNaN, kNaN, kNaN, kNaN, kNaN, kNaN)}) {
    scene.library.mRootBBox = box;
    CHECK(sameAnswer(scene(down()), before));
  }
}

TEST_CASE("a leaf whose count exceeds the quadruplets left ends with the last one") {
  Scene scene(fourLeaves({kEverywhere, kEverywhere, kEverywhere, kEverywhere}),
              meshOfCorners(trianglesAt({-1, -2, -3, 0})));
  scene.library.mNodes[0].mChildQuadruplets[1] = 1000000;
  scene.plain.mNodes[4 * 7 + 1] = 1000000;
  CHECK(scene(down()).triangle == 3);
  scene.library.mNodes[0].mChildIndex[2] = scene.plain.mNodes[4 * 6 + 2] = 4;
  CHECK(scene(down()).triangle == 3);
}

TEST_CASE("a triangle in several leaves is hit through each") {
  const qz::qzTriMesh mesh = meshOfCorners(trianglesAt({0, 1}));
  CHECK(Scene(rootLeaf({0, 0, 0, 0, 1, 0, 0}), mesh)(down()).triangle == 1);
}

TEST_CASE("rays never hit triangles without area") {
  const Point p(0.5f, 1.0f, 0.0f), q(0.5f, 1.0f, 1.0f), r(0.5f, 1.0f, -1.0f);
  const qz::qzTriMesh mesh = meshOfCorners({p, p, p, p, p, q, p, q, r, Point(0, 0, 0), Point(1, 2, 0), Point(2, 4, 0)});
  const Scene scene(rootLeaf({0, 1, 2, 3}), mesh);
  for (unsigned int policy : {kBoth, kFront, kBack}) {
    Ray ray = down();
    ray.policy = policy;
    CHECK(!scene(ray).hit);
    ray.direction = Point(1.0f, 0.5f, 0.25f);
    CHECK(!scene(ray).hit);
    ray.origin = p;
    CHECK(!scene(ray).hit);
    ray.tMin = -kInf;
    CHECK(!scene(ray).hit);
  }
}

TEST_CASE("rays never hit padding lanes, even with tMin at minus infinity") {
  const Scene scene(rootLeaf({0}), meshOfCorners(triangleAt(0.0f)));
  Ray ray = down();
  ray.origin[0] = 50.0f;
  ray.tMin = -kInf;
  CHECK(isUntouched(scene(ray), kInf));
  ray.origin = Point(kMaxFloat, kMaxFloat, kMaxFloat);
  ray.direction = Point(kMaxFloat, -kMaxFloat, kInf);
  CHECK(isUntouched(scene(ray), kInf));
}
