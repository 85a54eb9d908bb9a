// The frame of a ray and what it makes of vertices, limits and hits.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/RayTriangle.h>

#include <array>
#include <cmath>

#include "support/scenes/qzQueryRays.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

Ray rayAlong(float x, float y, float z) {
  return {{1.0f, 2.0f, 3.0f}, 0.0f, {x, y, z}, kInf};
}

}  // namespace

TEST_CASE("the axis is that of the largest component, the first of equals; the others follow it") {
  struct Case {
    float direction[3];
    int axis;
  };
  for (const Case& one : {Case{{1, 0, 0}, 0}, Case{{0, 1, 0}, 1}, Case{{0, 0, 1}, 2}, Case{{-3, 2, 1}, 0},
                          Case{{1, -3, 2}, 1}, Case{{1, 2, -3}, 2}, Case{{1, 1, 1}, 0}, Case{{0, -1, 1}, 1},
                          Case{{2, 1, -2}, 0}, Case{{-0.0f, 0x1p-149f, 0}, 1}, Case{{3e38f, -3e38f, 3.1e38f}, 2}}) {
    RayFrame frame = {};
    REQUIRE(makeRayFrame(rayAlong(one.direction[0], one.direction[1], one.direction[2]), frame));
    CHECK(frame.axis[2] == one.axis);
    CHECK(frame.axis[0] == (one.axis + 1) % 3);
    CHECK(frame.axis[1] == (one.axis + 2) % 3);
    CHECK(frame.lengthAlong == double(one.direction[one.axis]));
    for (int i = 0; i < 2; ++i) {
      CHECK(frame.shear[i] == one.direction[frame.axis[i]] / one.direction[one.axis]);
      CHECK(std::fabs(frame.shear[i]) <= 1.0f);
    }
  }
}

TEST_CASE("frames exist for valid rays only") {
  RayFrame frame = {};
  CHECK(makeRayFrame(rayAlong(0, 0, 0x1p-149f), frame));
  CHECK(makeRayFrame(rayAlong(kMaxFloat, kMaxFloat, kMaxFloat), frame));
  CHECK(!makeRayFrame(rayAlong(0, -0.0f, 0), frame));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const float bad : {kNaN, kInf, -kInf}) {
      Ray ray = rayAlong(1, 1, 1);
      ray.direction[axis] = bad;
      CHECK(!makeRayFrame(ray, frame));
      ray = rayAlong(1, 1, 1);
      ray.origin[axis] = bad;
      CHECK(!makeRayFrame(ray, frame));
    }
    Ray ray = rayAlong(1, 1, 1);
    for (const float sign : {1.0f, -1.0f}) {
      ray.origin[axis] = sign * 1e15f;
      CHECK(makeRayFrame(ray, frame));
      ray.origin[axis] = std::nextafter(sign * 1e15f, sign * kInf);
      CHECK(!makeRayFrame(ray, frame));
    }
  }
  struct Limits {
    float tMin, tMax;
    bool isValid;
  };
  for (const Limits& limits : {Limits{0, 0, true}, Limits{1, 0.5f, false}, Limits{-kInf, kInf, true},
                               Limits{kInf, kInf, true}, Limits{-kInf, -kInf, true}, Limits{kInf, -kInf, false},
                               Limits{kNaN, 1, false}, Limits{0, kNaN, false}, Limits{-2, -1, true}}) {
    Ray ray = rayAlong(1, 0, 0);
    ray.tMin = limits.tMin;
    ray.tMax = limits.tMax;
    CHECK(makeRayFrame(ray, frame) == limits.isValid);
  }
}

TEST_CASE("directions that differ by a power of two cross the same triangles, and t counts in multiples of them") {
  const QueryMesh mesh = starMesh(1, 860);
  QueryRays rays(mesh, 861);
  int nbCrossed = 0;
  for (int i = 0; i < 2000; ++i) {
    const Ray ray = rays.chord();
    const int exponent = static_cast<int>(rays.anyNumber(80)) - 40;
    Ray scaled = ray;
    for (float& component : scaled.direction) component = std::ldexp(component, exponent);
    RayFrame frame = {}, scaledFrame = {};
    REQUIRE(makeRayFrame(ray, frame));
    REQUIRE(makeRayFrame(scaled, scaledFrame));
    const std::size_t t = rays.anyNumber(static_cast<std::uint32_t>(mesh.triangleCount()));
    Crossing one = {}, other = {};
    const bool isCrossed = crossesLine(frame, mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2), one);
    CHECK(crossesLine(scaledFrame, mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2), other) == isCrossed);
    if (!isCrossed) continue;
    ++nbCrossed;
    CHECK(other.t == std::ldexp(one.t, -exponent));
    CHECK(other.u == one.u);
    CHECK(other.v == one.v);
    CHECK(other.isFront == one.isFront);
  }
  CHECK(nbCrossed > 10);
}

TEST_CASE("limits are inclusive, and faces choose the side") {
  const float a[] = {-1.0f, -1.0f, 2.0f}, b[] = {1.0f, -1.0f, 2.0f}, c[] = {0.0f, 1.0f, 2.0f};
  struct Case {
    float tMin, tMax;
    bool isHit;
  };
  for (const Case& one : {Case{0, kInf, true}, Case{2, 2, true}, Case{2, 3, true}, Case{1, 2, true},
                          Case{std::nextafter(2.0f, 3.0f), 3, false}, Case{0, std::nextafter(2.0f, 1.0f), false},
                          Case{-kInf, 0, false}, Case{-kInf, kInf, true}, Case{kInf, kInf, false}}) {
    const Ray ray = {{0.0f, 0.0f, 0.0f}, one.tMin, {0.0f, 0.0f, 1.0f}, one.tMax};
    RayFrame frame = {};
    REQUIRE(makeRayFrame(ray, frame));
    Crossing crossing = {};
    // direction . normal > 0: the back.
    CHECK(hitsTriangle(frame, Faces::both, a, b, c, crossing) == one.isHit);
    CHECK(hitsTriangle(frame, Faces::back, a, b, c, crossing) == one.isHit);
    CHECK(!hitsTriangle(frame, Faces::front, a, b, c, crossing));
    CHECK(hitsTriangle(frame, Faces::front, a, c, b, crossing) == one.isHit);
    CHECK(!hitsTriangle(frame, Faces::back, a, c, b, crossing));
  }
}

TEST_CASE("the front is where the normal points, along every axis and both ways") {
  // The triangle lies across an axis; its normal points along it.
  for (std::size_t axis = 0; axis < 3; ++axis) {
    std::array<float, 3> a = {}, b = {}, c = {};
    a[(axis + 1) % 3] = b[(axis + 2) % 3] = -1.0f;
    c[(axis + 1) % 3] = c[(axis + 2) % 3] = 1.0f;
    // (b - a) x (c - a) = (1, -1) x (2, 1) = 3 along the axis.
    for (const float way : {1.0f, -1.0f}) {
      Ray ray = {};
      ray.tMin = -kInf;
      ray.tMax = kInf;
      ray.origin[axis] = 5.0f;
      ray.direction[axis] = way;
      ray.direction[(axis + 1) % 3] = 0.01f;
      RayFrame frame = {};
      REQUIRE(makeRayFrame(ray, frame));
      Crossing crossing = {};
      REQUIRE(crossesLine(frame, a.data(), b.data(), c.data(), crossing));
      CHECK(crossing.isFront == (way < 0.0f));
      CHECK(crossing.t == -5.0f * way);
    }
  }
}

TEST_CASE("hits are ordered by t, then by triangle") {
  const Hit first = {1.0f, 0.9f, 0.1f, 7}, second = {1.0f, 0.1f, 0.2f, 8}, third = {2.0f, 0.0f, 0.0f, 1};
  CHECK(comesBefore(first, second));
  CHECK(!comesBefore(second, first));
  CHECK(comesBefore(second, third));
  CHECK(!comesBefore(third, first));
  CHECK(!comesBefore(first, first));
  CHECK(comesBefore(third, Hit{}));  // no hit is behind all
}
