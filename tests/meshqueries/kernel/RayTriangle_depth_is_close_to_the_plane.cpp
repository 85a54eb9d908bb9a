// t, u and v of a crossing beside exact arithmetic: the depth along the axis of the largest |direction| differs from that
// of the exact ray and plane by at most
//
//     8 * 2^-24 * reach * (1 + slope) + 4 * 2^-24 * depth
//
// where reach is the largest |coordinate| of the corners relative to the origin and slope the steepness of the plane over
// the image. This is an eighth of what is promised. Below the normal numbers roundings of 2^-150 add to it. The depth lies
// between those of the corners, and a + u (b - a) + v (c - a) within the same of the ray.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/RayTriangle.h>

#include <algorithm>
#include <array>

#include "meshqueries/kernel/qzExact.h"
#include "support/scenes/qzQueryRays.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

using Vector = std::array<Whole, 3>;

Vector exactOf(const float* p) {
  return {qzTest::exactOf(p[0]), qzTest::exactOf(p[1]), qzTest::exactOf(p[2])};
}
Vector operator-(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Vector crossOf(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Whole dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

const Whole kOne = Whole(1) << 149u;

/// How far answers are from the exact ones, in parts of what is allowed.
struct Worst {
  double depth = 0, place = 0;
  int nbJudged = 0, nbEdgeOn = 0;
};

void judge(const Ray& ray, const float* a, const float* b, const float* c, Worst& worst) {
  RayFrame frame = {};
  Crossing crossing = {};
  if (!makeRayFrame(ray, frame) || !crossesLine(frame, a, b, c, crossing)) return;
  CHECK(crossing.u >= 0.0f);
  CHECK(crossing.v >= 0.0f);
  CHECK(double(crossing.u) + double(crossing.v) <= 1.0 + 0x1p-22);
  CHECK(!(crossing.t == 0.0f && std::signbit(crossing.t)));  // never -0
  CHECK(!std::signbit(crossing.u));
  CHECK(!std::signbit(crossing.v));

  const double length = frame.lengthAlong;
  const double corners[] = {see(frame, a).depth / length, see(frame, b).depth / length, see(frame, c).depth / length};
  const auto range = std::minmax_element(corners, corners + 3);
  CHECK(crossing.t >= std::nextafter(static_cast<float>(*range.first), -kInf));
  CHECK(crossing.t <= std::nextafter(static_cast<float>(*range.second), kInf));
  if (std::fabs(crossing.t) > kMaxFloat) return;

  const auto x = static_cast<std::size_t>(frame.axis[0]), y = static_cast<std::size_t>(frame.axis[1]),
             z = static_cast<std::size_t>(frame.axis[2]);
  const Vector o = exactOf(ray.origin), d = exactOf(ray.direction);
  const Vector p = exactOf(a) - o, q = exactOf(b) - o, r = exactOf(c) - o;
  const Vector normal = crossOf(q - p, r - p);
  const Whole along = dot(d, normal);
  if (along == 0) {
    ++worst.nbEdgeOn;
    return;
  }
  Whole reach = 0;
  for (const Vector& corner : {p, q, r})
    for (const Whole& coordinate : corner) reach = abs(coordinate) > reach ? Whole(abs(coordinate)) : reach;

  // The plane over the image rises by -(normal x, normal y) / (along / direction z).
  const double slope = std::hypot(ratio(normal[x] * d[z], along), ratio(normal[y] * d[z], along));
  const Whole height = dot(p, normal);  // t = height / along
  const double depth = std::fabs(ratio(height * d[z], along * kOne));
  const double allowed = 8 * (0x1p-24 * ratio(reach, kOne) + 0x1p-150) * (1 + slope) + 4 * 0x1p-24 * depth;
  const double off =
      std::fabs(ratio((qzTest::exactOf(crossing.t) * along - height * kOne) * d[z], along * kOne * kOne));
  const double rounding = 0x1p-150 * std::fabs(length);  // of a t that is denormal
  worst.depth = std::max(worst.depth, (off - rounding) / allowed);

  // The place by its weights, in units of 2^-298; its distance from the ray in the image.
  const Whole u = qzTest::exactOf(crossing.u), v = qzTest::exactOf(crossing.v);
  Vector place;
  for (std::size_t i = 0; i < 3; ++i) place[i] = p[i] * kOne + u * (q[i] - p[i]) + v * (r[i] - p[i]);
  for (const std::size_t axis : {x, y}) {
    const Whole beside = place[axis] * d[z] - place[z] * d[axis];
    worst.place = std::max(worst.place, std::fabs(ratio(beside, d[z] * kOne * kOne)) / allowed);
  }
  ++worst.nbJudged;
}

}  // namespace

TEST_CASE("depths and places are within the stated bounds on difficult meshes") {
  std::uint32_t seed = 830;
  Worst worst;
  for (const QueryMesh& mesh : difficultMeshes()) {
    QueryRays rays(mesh, ++seed);
    for (int i = 0; i < 300; ++i) {
      const Ray ray = rays.any();
      for (std::size_t t = 0; t < mesh.triangleCount(); ++t)
        judge(ray, mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2), worst);
    }
  }
  INFO("depth ", worst.depth, " of what is allowed, place ", worst.place, ", ", worst.nbJudged, " crossings");
  CHECK(worst.depth <= 1.0);
  CHECK(worst.place <= 1.0);
  CHECK(worst.nbJudged > 5000);
  CHECK(worst.nbEdgeOn > 10);
}

TEST_CASE("depths and places are within the stated bounds on triangles seen nearly edge-on, near and far") {
  Random random(850);
  Worst worst;
  for (int i = 0; i < 20000; ++i) {
    // The third corner is nearly in a plane with the ray, the origin anywhere between touching and far away.
    Ray ray;
    float a[3], b[3], c[3];
    const float far = std::ldexp(1.0f, static_cast<int>(random.below(24)) - 4);
    const float lift = std::ldexp(random.between(-1.0f, 1.0f), -static_cast<int>(random.below(30)));
    for (std::size_t k = 0; k < 3; ++k) {
      ray.direction[k] = random.between(-1.0f, 1.0f);
      a[k] = random.between(-1.0f, 1.0f);
    }
    for (std::size_t k = 0; k < 3; ++k) {
      ray.origin[k] = a[k] - far * ray.direction[k] + random.between(-0.1f, 0.1f);
      b[k] = a[k] + random.between(-0.5f, 0.5f);
      c[k] = 0.5f * (a[k] + b[k]) + random.between(-1.0f, 1.0f) * ray.direction[k] + lift * random.unit();
    }
    judge(ray, a, b, c, worst);
  }
  INFO("depth ", worst.depth, " of what is allowed, place ", worst.place, ", ", worst.nbJudged, " crossings");
  CHECK(worst.depth <= 1.0);
  CHECK(worst.place <= 1.0);
  CHECK(worst.nbJudged > 500);
}

TEST_CASE("where all operations are exact, t, u and v are") {
  // Small whole numbers, along an axis: the image is exact and weights are.
  const float a[] = {-4.0f, -4.0f, 8.0f}, b[] = {12.0f, -4.0f, 8.0f}, c[] = {-4.0f, 12.0f, 24.0f};
  const Ray ray = {{0.0f, 0.0f, 0.0f}, 0.0f, {0.0f, 0.0f, 2.0f}, kInf};
  RayFrame frame = {};
  REQUIRE(makeRayFrame(ray, frame));
  Crossing crossing = {};
  REQUIRE(crossesLine(frame, a, b, c, crossing));
  CHECK(crossing.t == 6.0f);
  CHECK(crossing.u == 0.25f);
  CHECK(crossing.v == 0.25f);
  CHECK(!crossing.isFront);
  REQUIRE(crossesLine(frame, a, c, b, crossing));
  CHECK(crossing.isFront);
}

TEST_CASE("t, u and v are never -0") {
  // The origin is on the triangle; seen downwards, the depth 0 has the sign of a negative length.
  const float a[] = {-4.0f, -4.0f, 0.0f}, b[] = {12.0f, -4.0f, 0.0f}, c[] = {-4.0f, 12.0f, 0.0f};
  for (const float way : {1.0f, -1.0f}) {
    const Ray ray = {{0.0f, 0.0f, 0.0f}, 0.0f, {0.0f, 0.0f, way}, kInf};
    RayFrame frame = {};
    REQUIRE(makeRayFrame(ray, frame));
    Crossing crossing = {};
    REQUIRE(crossesLine(frame, a, b, c, crossing));
    CHECK(bitsOf(crossing.t) == 0);
    REQUIRE(crossesLine(frame, a, c, b, crossing));
    CHECK(bitsOf(crossing.t) == 0);
  }
}
