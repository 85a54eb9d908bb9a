// The kernel of boundary edges: one triangle's crossing less the turns of its edges against its solid angle, in long
// double.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/EdgeAngle.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "plain/qzPlainWinding.h"
#include "support/qzBits.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

using Place = std::array<float, 3>;
using Corners = std::array<Place, 3>;

RayFrame frameAt(const Place& point) {
  RayFrame frame = {};
  REQUIRE(makeRayFrame(windingRay(point.data()), frame));
  return frame;
}

EdgeTurn turnOf(const Place& from, const Place& to, const Place& point) {
  return turnOf(frameAt(point), from.data(), to.data(), project(from.data(), point.data()),
                project(to.data(), point.data()));
}

double turnsOf(const EdgeTurn& turn) {
  return static_cast<double>(turn.turns) + argument(turn.re, turn.im);
}

Mesh meshOf(const Corners& corners) {
  static const std::uint32_t kTriangle[3] = {0, 1, 2};
  return {corners[0].data(), 3, kTriangle, 1};
}

double windingOf(const Corners& corners, const Place& point) {
  const RayFrame frame = frameAt(point);
  Crossings crossings;
  Crossing crossing;
  if (hitsTriangle(frame, Faces::both, corners[0].data(), corners[1].data(), corners[2].data(), crossing))
    ++(crossing.isFront ? crossings.front : crossings.back);
  Turning sum;
  for (std::size_t k = 0; k < 3; ++k) add(sum, turnOf(corners[k], corners[(k + 1) % 3], point));
  return detail::windingOf(crossings, sum);
}

double errorOf(const Corners& corners, const Place& point) {
  return std::fabs(windingOf(corners, point) -
                   static_cast<double>(qzPlain::solidAngles(meshOf(corners), point.data())));
}

bool isFar(const Corners& corners, const Place& point, double distance) {
  return static_cast<double>(qzPlain::distanceFrom(meshOf(corners), point.data())) > distance;
}

}  // namespace

TEST_CASE("the frame of a point is that of its ray") {
  Random random(2000);
  int nbValid = 0, nbInvalid = 0;
  for (int i = 0; i < 5000; ++i) {
    const Place point = {random.anyFloat(), random.anyFloat(), i % 2 == 0 ? 1e15f : random.anyFloat()};
    RayFrame frame = {}, expected = {};
    const bool isValid = makeWindingFrame(point.data(), frame);
    CHECK(isValid == makeRayFrame(windingRay(point.data()), expected));
    ++(isValid ? nbValid : nbInvalid);
    if (!isValid) continue;
    const float vertex[3] = {random.between(-2.0f, 2.0f), random.anyFloat(), random.between(-2.0f, 2.0f)};
    CHECK(sameBitsOrNaN(see(frame, vertex).x, see(expected, vertex).x));
    CHECK(sameBitsOrNaN(see(frame, vertex).y, see(expected, vertex).y));
    CHECK(sameBits(see(frame, vertex).depth, see(expected, vertex).depth));
    CHECK(frame.tMin == expected.tMin);
    CHECK(frame.tMax == expected.tMax);
    CHECK(frame.lengthAlong == expected.lengthAlong);
    for (int axis = 0; axis < 3; ++axis) CHECK(frame.axis[axis] == expected.axis[axis]);
  }
  CHECK(nbValid > 1000);
  CHECK(nbInvalid > 1000);
}

TEST_CASE("the argument is right to 2^-52 of a turn, all around") {
  double worst = 0;
  Random random(2001);
  for (int i = 0; i < 100000; ++i) {
    double re = random.between(-1.0f, 1.0f), im = random.between(-1.0f, 1.0f);
    if (i % 4 == 1) im = std::ldexp(im, -static_cast<int>(random.below(300)));
    if (i % 4 == 2) re = std::ldexp(re, -static_cast<int>(random.below(300)));
    if (i % 4 == 3) im = re * (1.0 + std::ldexp(im, -static_cast<int>(random.below(60))));
    const long double expected =
        std::atan2(static_cast<long double>(im), static_cast<long double>(re)) / (2 * std::acos(-1.0L));
    worst = std::max(worst, std::fabs(static_cast<double>(static_cast<long double>(argument(re, im)) - expected)));
  }
  CHECK(worst < 0x1p-52);
  CHECK(worst > 0);
  CHECK(argument(2, 0.0) == 0);
  CHECK(argument(0.0, 3) == 0.25);
  CHECK(argument(0.0, -3) == -0.25);
  CHECK(argument(-1, 0.0) == 0.5);
  CHECK(argument(-1, -0.0) == -0.5);
  CHECK(std::fabs(argument(5, 5) - 0.125) < 0x1p-54);
}

TEST_CASE("a triangle anywhere has the winding number of its solid angle") {
  Random random(2002);
  double worst = 0;
  int nbJudged = 0;
  for (int i = 0; i < 40000; ++i) {
    Corners corners;
    Place point;
    for (Place& corner : corners)
      for (float& x : corner) x = i % 4 == 0 ? 0.5f * static_cast<float>(random.below(5)) : random.between(-1.0f, 1.0f);
    for (float& x : point) x = i % 4 == 0 ? 0.5f * static_cast<float>(random.below(5)) : random.between(-1.0f, 1.0f);
    if (i % 4 == 1)  // a sliver
      for (std::size_t k = 0; k < 3; ++k) corners[2][k] = corners[0][k] + random.between(-1e-3f, 1e-3f);
    if (i % 4 == 2)  // small and far away
      for (Place& corner : corners)
        for (float& x : corner) x = 1e-3f * x + 0.7f;
    if (!isFar(corners, point, 1e-4)) continue;
    ++nbJudged;
    worst = std::max(worst, errorOf(corners, point));
  }
  CHECK(nbJudged > 30000);
  CHECK(worst < 1e-12);
}

TEST_CASE("beneath an edge the turn jumps on the side where the crossing ends") {
  // Points from which an edge passes the ray by some roundings on either side, or exactly.
  Random random(2003);
  double worst = 0;
  int nbOther = 0, nbCrossed = 0;
  for (int i = 0; i < 40000; ++i) {
    Corners corners;
    for (Place& corner : corners)
      for (float& x : corner) x = std::ldexp(random.between(-1.0f, 1.0f), -static_cast<int>(random.below(3)));
    const float s = random.unit();
    Place point;
    for (std::size_t k = 0; k < 3; ++k) point[k] = corners[0][k] + s * (corners[1][k] - corners[0][k]);
    point[2] -= std::ldexp(1.5e-4f, static_cast<int>(random.below(13)));
    for (std::uint32_t k = random.below(5); k > 0; --k) point[0] = std::nextafter(point[0], i % 2 == 0 ? kInf : -kInf);
    if (!isFar(corners, point, 1e-4)) continue;
    const RayFrame frame = frameAt(point);
    const SphereVertex a = project(corners[0].data(), point.data()), b = project(corners[1].data(), point.data());
    const EdgeTurn turn = turnOf(corners[0], corners[1], point);
    CHECK(turn.re < 0);
    const int passed = side(see(frame, corners[0].data()), see(frame, corners[1].data()));
    nbOther += turn.turns != 0;
    CHECK((turn.turns != 0) == ((turn.im > 0) != (passed > 0)));
    CHECK(turn.turns * passed >= 0);
    CHECK(turn.im == doctest::Approx(a.x * b.y - a.y * b.x));
    nbCrossed += std::fabs(turnsOf(turn)) > 0.4;
    worst = std::max(worst, errorOf(corners, point));
  }
  CHECK(nbOther > 100);  // images lie on the other side than the exact edges
  CHECK(nbCrossed > 20000);
  CHECK(worst < 1e-10);
}

TEST_CASE("a vertex exactly ahead counts as seen from the displaced origin") {
  Random random(2004);
  double worst = 0;
  for (int i = 0; i < 20000; ++i) {
    Corners corners;
    for (Place& corner : corners)
      for (float& x : corner) x = i % 2 == 0 ? random.between(-1.0f, 1.0f) : static_cast<float>(random.below(3));
    const std::size_t k = random.below(3);
    Place point = corners[k];
    point[2] -= random.between(0.01f, 1.0f);
    if (i % 5 == 0) {  // and an edge along the ray
      corners[(k + 1) % 3][0] = point[0];
      corners[(k + 1) % 3][1] = point[1];
    }
    if (!isFar(corners, point, 1e-4)) continue;
    worst = std::max(worst, errorOf(corners, point));
  }
  CHECK(worst < 1e-12);
  // The azimuth is that of -(e, e * e).
  const float ahead[3] = {0, 0, 2}, behind[3] = {0, 0, -2}, origin[3] = {0, 0, 0};
  const SphereVertex a = project(ahead, origin), b = project(behind, origin), same = project(origin, origin);
  CHECK((a.u == 0 && a.x == -1 && a.y == 0));
  CHECK((b.u == 4 && b.x == 0 && b.y == 0));
  CHECK((same.u == 0 && same.x == -1 && same.y == 0));
  CHECK(turnsOf(turnOf({0, 0, 1}, {0, 0, 2}, {0, 0, 0})) == 0);
  CHECK(turnsOf(turnOf({0, 0, 1}, {-1, 0, 0}, {0, 0, 0})) == 0);
  CHECK(turnsOf(turnOf({0, 0, 1}, {0, 1, 0}, {0, 0, 0})) == -0.25);  // from the azimuth of -x, a bit on, to that of y
  CHECK(turnsOf(turnOf({0, 0, 1}, {0, -1, 0}, {0, 0, 0})) == 0.25);
  CHECK(turnsOf(turnOf({0, 0, 1}, {1, 0, 0}, {0, 0, 0})) == 0.5);
}

TEST_CASE("a vertex nearly ahead or behind loses no digits") {
  Random random(2008);
  double worst = 0;
  for (int i = 0; i < 20000; ++i) {
    Corners corners;
    for (Place& corner : corners)
      for (float& x : corner) x = random.between(-1.0f, 1.0f);
    const std::size_t k = random.below(3);
    const int exponent = -static_cast<int>(random.below(60));
    for (std::size_t axis = 0; axis < 2; ++axis) corners[k][axis] = std::ldexp(corners[k][axis], exponent);
    const Place origin = {};
    if (!isFar(corners, origin, 1e-3)) continue;
    worst = std::max(worst, errorOf(corners, origin));
  }
  CHECK(worst < 1e-12);
}

TEST_CASE("an edge backwards has the opposite turn, and one that holds the point has none") {
  Random random(2005);
  int nbWrong = 0;
  for (int i = 0; i < 20000; ++i) {
    Place from, to, point;
    for (Place* place : {&from, &to, &point})
      for (float& x : *place) x = i % 2 == 0 ? random.between(-1.0f, 1.0f) : static_cast<float>(random.below(3));
    if (i % 3 == 0) point = {from[0], to[1], point[2]};
    if (from == point || to == point) continue;
    const EdgeTurn there = turnOf(from, to, point), back = turnOf(to, from, point);
    Turning sum;
    add(sum, there);
    add(sum, back);
    const double rest = static_cast<double>(sum.turns) + argument(sum.re, sum.im);
    nbWrong += std::fabs(rest) > 1e-14;
  }
  CHECK(nbWrong == 0);
  for (const Place& other : {Place{0, 0, -1}, Place{0, 0, 0}, Place{0, 0, 1}})
    CHECK(turnsOf(turnOf({0, 0, 1}, other, {0, 0, 0})) == 0);
  CHECK(turnsOf(turnOf({-1, 0, 0}, {1, 0, 0}, {0, 0, 0})) == 0);
}

TEST_CASE("a sum of many turns counts the full ones, whatever their directions") {
  Random random(2006);
  for (int round = 0; round < 200; ++round) {
    Turning sum;
    long double expected = 0;
    for (int i = 0; i < 3000; ++i) {
      // All directions, close to half a turn, and exact multiples of a quarter.
      const double angle = round % 3 == 0 ? random.between(-3.1415f, 3.1415f) : random.between(2.9f, 3.1415f);
      const double size = std::ldexp(1.0, static_cast<int>(random.below(400)) - 200);
      EdgeTurn turn = {size * std::cos(angle), size * std::sin(angle), 0};
      if (round % 3 == 2) {
        static const double kQuarters[4][2] = {{1, 0.0}, {0.0, 1}, {-1, 0.0}, {0.0, -1}};
        const double* const quarter = kQuarters[random.below(4)];
        turn = {size * quarter[0], size * quarter[1], static_cast<std::int64_t>(random.below(3)) - 1};
      }
      add(sum, turn);
      expected +=
          static_cast<long double>(turn.turns) +
          std::atan2(static_cast<long double>(turn.im), static_cast<long double>(turn.re)) / (2 * std::acos(-1.0L));
    }
    const double total = static_cast<double>(sum.turns) + argument(sum.re, sum.im);
    CHECK(std::fabs(static_cast<double>(static_cast<long double>(total) - expected)) < 1e-12);
    CHECK(std::max(std::fabs(sum.re), std::fabs(sum.im)) >= 1);
    CHECK(std::max(std::fabs(sum.re), std::fabs(sum.im)) < 2);
    if (round % 3 == 2) CHECK(sum.re * sum.im == 0);
  }
}

TEST_CASE("a winding number is backs less fronts less turns, exactly if no part of a turn is left") {
  const Crossings crossings = {1, 3};
  CHECK(sameBits(detail::windingOf(crossings, {1, 0.0, 0}), 2.0));
  CHECK(sameBits(detail::windingOf(crossings, {1.5, -0.0, 2}), 0.0));
  CHECK(sameBits(detail::windingOf({5, 1}, {1, 0.0, -1}), -3.0));
  CHECK(sameBits(detail::windingOf(crossings, {-1, 0.0, 1}), 0.5));
  CHECK(sameBits(detail::windingOf(crossings, {-1, -0.0, 0}), 2.5));
  CHECK(sameBits(detail::windingOf(crossings, {0.0, 1, 0}), 1.75));
  CHECK(sameBits(detail::windingOf(crossings, {0.0, -1.5, 0}), 2.25));
}

TEST_CASE("sums that are joined give the sum of all") {
  Random random(2007);
  Turning sums[kTurnings], all;
  for (int i = 0; i < 400; ++i) {
    const EdgeTurn turn = {random.between(-1.0f, 1.0f), random.between(-1.0f, 1.0f), i % 3 - 1};
    add(sums[i % kTurnings], turn);
    add(all, turn);
  }
  const Turning joined = joinTurnings(sums);
  CHECK(static_cast<double>(joined.turns) + argument(joined.re, joined.im) ==
        doctest::Approx(static_cast<double>(all.turns) + argument(all.re, all.im)).epsilon(1e-13));
}

TEST_CASE("coordinates of any size give the same numbers as those of size 1") {
  const Corners unit = {Place{0.25f, 1, 0.5f}, Place{1, -0.75f, 0.25f}, Place{-1, -0.5f, 1}};
  const Place point = {0.125f, 0.25f, -0.5f};
  const double expected = windingOf(unit, point);
  CHECK(expected < -0.05);
  for (const int exponent : {-140, -100, -30, 10, 49}) {
    Corners corners = unit;
    Place scaled = point;
    for (Place& corner : corners)
      for (float& x : corner) x = std::ldexp(x, exponent);
    for (float& x : scaled) x = std::ldexp(x, exponent);
    CHECK(sameBits(windingOf(corners, scaled), expected));
  }
}
