// Whether a line crosses a triangle, judged by integers of any size: the image's origin is moved by a displacement that
// is smaller than all distances between floats, (e, e * e) with e = 2^-250 units, and then lies strictly within the image
// or strictly outside.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/RayTriangle.h>

#include <array>
#include <string>

#include "meshqueries/kernel/qzExact.h"
#include "support/scenes/qzQueryRays.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

/// A place in the image as seen from the displaced origin, in units of 2^-649.
struct Displaced {
  Whole x, y;
  explicit Displaced(const SeenVertex& p)
      : x((exactOf(p.x) << 500u) - (Whole(1) << 250u)), y((exactOf(p.y) << 500u) - 1) {}
};

int exactSide(const Displaced& p, const Displaced& q) {
  return signOf(p.x * q.y - p.y * q.x);
}

int exactSide(const SeenVertex& p, const SeenVertex& q) {
  return exactSide(Displaced(p), Displaced(q));
}

/// 1 if the displaced origin lies within a counterclockwise image, -1 within a clockwise one, 0 outside.
int exactTurn(const SeenVertex& p, const SeenVertex& q, const SeenVertex& r) {
  const Displaced a(p), b(q), c(r);
  const int side = exactSide(a, b);
  return side == exactSide(b, c) && side == exactSide(c, a) ? side : 0;
}

std::string describe(const SeenVertex& p) {
  char text[80];
  std::snprintf(text, sizeof text, "(%a, %a)", double(p.x), double(p.y));
  return text;
}

/// Images of vertices that are hard to tell apart.
class Images {
 public:
  explicit Images(std::uint32_t seed) : mRandom(seed) {}

  SeenVertex any() {
    SeenVertex p = {};
    const std::uint32_t kind = mRandom.below(6);
    p.x = coordinate(kind);
    p.y = coordinate(kind);
    return p;
  }
  /// On a line with p and the origin as far as floats can be, or a few units beside.
  SeenVertex inLineWith(const SeenVertex& p) {
    const float factor = mRandom.between(-2.0f, 2.0f);
    return {beside(p.x * factor), beside(p.y * factor), 0.0f};
  }
  std::uint32_t below(std::uint32_t count) { return mRandom.below(count); }

 private:
  float coordinate(std::uint32_t kind) {
    switch (kind) {
      case 0:  // many ties
        return static_cast<float>(static_cast<int>(mRandom.below(5)) - 2);
      case 1:
        return static_cast<float>(static_cast<int>(mRandom.below(5)) - 2) * 0x1p-149f;
      case 2:
        return mRandom.between(-4e15f, 4e15f);
      case 3:
        return std::ldexp(mRandom.between(-1.0f, 1.0f), static_cast<int>(mRandom.below(200)) - 149);
      case 4:
        return mRandom.below(2) == 0 ? 0.0f : -0.0f;
      default:
        return mRandom.between(-1.0f, 1.0f);
    }
  }
  float beside(float value) {
    const std::uint32_t steps = mRandom.below(4);
    for (std::uint32_t i = 1; i < steps; ++i) value = std::nextafter(value, mRandom.below(2) == 0 ? kInf : -kInf);
    return value;
  }

  Random mRandom;
};

}  // namespace

TEST_CASE("the side of an edge is that of exact arithmetic, and the other one for the edge turned round") {
  Images images(801);
  int nb[3] = {}, nbDecidedByDisplacement = 0;
  for (int i = 0; i < 60000; ++i) {
    const SeenVertex p = images.any();
    SeenVertex q = images.below(3) == 0 ? images.any() : images.inLineWith(p);
    if (images.below(50) == 0) q = p;
    const int found = side(p, q);
    INFO(describe(p), " ", describe(q));
    if (found != exactSide(p, q)) FAIL_CHECK("side is ", found);
    if (side(q, p) != -found) FAIL_CHECK("side is not antisymmetric");
    ++nb[1 + found];
    nbDecidedByDisplacement += found != 0 && signOf(exactOf(p.x) * exactOf(q.y) - exactOf(p.y) * exactOf(q.x)) == 0;
  }
  CHECK(nb[0] > 10000);
  CHECK(nb[1] > 100);
  CHECK(nb[2] > 10000);
  CHECK(nbDecidedByDisplacement > 2000);
}

TEST_CASE("sides of all edges of a small grid are those of exact arithmetic") {
  for (int i = 0; i < 625; ++i) {
    const auto at = [&](int digit) { return static_cast<float>(i / digit % 5 - 2); };
    const SeenVertex p = {at(1), at(5), 0.0f}, q = {at(25), at(125), 0.0f};
    INFO(describe(p), " ", describe(q));
    CHECK(side(p, q) == exactSide(p, q));
    CHECK((side(p, q) == 0) == (p.x == q.x && p.y == q.y));
  }
}

TEST_CASE("zeros of either sign are one place") {
  const SeenVertex places[] = {{0.0f, 0.0f, 0.0f}, {-0.0f, 0.0f, 0.0f}, {0.0f, -0.0f, 0.0f}, {-0.0f, -0.0f, 0.0f}};
  const SeenVertex others[] = {{1.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f}, {-3.0f, 2.0f, 0.0f}};
  for (const SeenVertex& p : places) {
    for (const SeenVertex& q : places) CHECK(side(p, q) == 0);
    for (const SeenVertex& q : others) CHECK(side(p, q) == side(places[0], q));
  }
}

TEST_CASE("lines cross the triangles that exact arithmetic says, on the side that it says") {
  std::uint32_t seed = 810;
  int nbCrossed = 0, nbMissed = 0, nbTies = 0;
  for (const QueryMesh& mesh : difficultMeshes()) {
    if (mesh.triangles.empty()) continue;
    QueryRays rays(mesh, ++seed);
    for (int i = 0; i < 500; ++i) {
      const Ray ray = rays.any();
      RayFrame frame = {};
      if (!makeRayFrame(ray, frame)) continue;
      const std::size_t triangle = rays.anyNumber(static_cast<std::uint32_t>(mesh.triangleCount()));
      const float *a = mesh.corner(triangle, 0), *b = mesh.corner(triangle, 1), *c = mesh.corner(triangle, 2);
      const SeenVertex p = see(frame, a), q = see(frame, b), r = see(frame, c);
      const int turn = exactTurn(p, q, r);
      Crossing crossing = {};
      const bool isCrossed = crossesLine(frame, a, b, c, crossing);
      INFO(mesh.name, ", triangle ", triangle, ", ", qzTest::describe(ray));
      if (isCrossed != (turn != 0)) FAIL_CHECK("crossed: ", isCrossed);
      // A counterclockwise image is seen by rays that come from the far end of the axis.
      if (isCrossed && crossing.isFront != (turn > 0 ? frame.lengthAlong < 0 : frame.lengthAlong > 0))
        FAIL_CHECK("front: ", crossing.isFront);
      ++(isCrossed ? nbCrossed : nbMissed);
      nbTies += cross(p, q) == 0 || cross(q, r) == 0 || cross(r, p) == 0;

      // The order of the corners decides the side only, and so does the direction.
      Crossing other = {};
      CHECK(crossesLine(frame, b, c, a, other) == isCrossed);
      if (isCrossed) CHECK(other.isFront == crossing.isFront);
      CHECK(crossesLine(frame, a, c, b, other) == isCrossed);
      if (isCrossed) CHECK(other.isFront != crossing.isFront);
      Ray back = ray;
      for (float& component : back.direction) component = -component;
      RayFrame backFrame = {};
      REQUIRE(makeRayFrame(back, backFrame));
      CHECK(crossesLine(backFrame, a, b, c, other) == isCrossed);
      if (isCrossed) {
        CHECK(other.isFront != crossing.isFront);
        CHECK(other.t == -crossing.t);
        CHECK(other.u == crossing.u);
        CHECK(other.v == crossing.v);
      }
    }
  }
  CHECK(nbCrossed > 1000);
  CHECK(nbMissed > 1000);
  CHECK(nbTies > 1000);
}

TEST_CASE(
    "of two triangles that share an edge a line through it crosses one if they lie on both sides, else both or none") {
  Images images(820);
  int nbBoth = 0, nbOne = 0;
  for (int i = 0; i < 20000; ++i) {
    const SeenVertex p = images.any(), q = images.inLineWith(p);
    const SeenVertex left = images.any(), right = images.any();
    // Seen along the z axis from the origin, places are their own images.
    const Ray ray = {{0.0f, 0.0f, 0.0f}, -kInf, {0.0f, 0.0f, 1.0f}, kInf};
    RayFrame frame = {};
    REQUIRE(makeRayFrame(ray, frame));
    const auto point = [](const SeenVertex& s) { return std::array<float, 3>{s.x, s.y, 1.0f}; };
    const auto a = point(p), b = point(q), c = point(left), d = point(right);
    Crossing crossing = {};
    int signedCount = 0, count = 0;
    const auto add = [&](const auto& x, const auto& y, const auto& z) {
      if (!crossesLine(frame, x.data(), y.data(), z.data(), crossing)) return;
      ++count;
      signedCount += crossing.isFront ? 1 : -1;
    };
    add(a, b, c);
    add(b, a, d);
    // With the other two faces of the tetrahedron it is closed.
    const int nbOfTwo = count;
    add(a, c, d);
    add(b, d, c);
    INFO(describe(p), " ", describe(q), " ", describe(left), " ", describe(right));
    CHECK(signedCount == 0);
    nbOne += nbOfTwo == 1;
    nbBoth += nbOfTwo == 2;
  }
  CHECK(nbOne > 1000);
  CHECK(nbBoth > 200);
}
