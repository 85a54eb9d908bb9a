// The distance of a triangle beside exact arithmetic. Before it is rounded to float, it is off by at most
//
//     2^-47 * reach / sine      if the sine of the angle at the first corner is at least 2^-20
//     2^-25 * reach             for any triangle, a quarter of what is promised
//
// where reach is the largest |coordinate| of the corners relative to the point. The reported place has that distance.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/PointTriangle.h>

#include <algorithm>
#include <array>

#include "meshqueries/kernel/qzExact.h"
#include "support/scenes/qzNearQuestions.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

using Exact = std::array<Whole, 3>;

Exact exactOf(const float* p) {
  return {qzTest::exactOf(p[0]), qzTest::exactOf(p[1]), qzTest::exactOf(p[2])};
}
Exact operator-(const Exact& a, const Exact& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Exact crossOf(const Exact& a, const Exact& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Whole dot(const Exact& a, const Exact& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Squared distances, in squared units of 2^-149.
mpq_class squaredToEdge(const Exact& p, const Exact& q) {
  const Exact edge = q - p;
  const Whole along = -dot(p, edge), length = dot(edge, edge);
  if (along <= 0) return dot(p, p);
  if (along >= length) return dot(q, q);
  mpq_class squared(Whole(dot(p, p) * length - along * along), length);
  squared.canonicalize();
  return squared;
}
mpq_class squaredTo(const Exact& p, const Exact& q, const Exact& r) {
  mpq_class squared = std::min(squaredToEdge(p, q), std::min(squaredToEdge(q, r), squaredToEdge(r, p)));
  const Exact normal = crossOf(q - p, r - p);
  if (dot(normal, crossOf(p, q)) >= 0 && dot(normal, crossOf(q, r)) >= 0 && dot(normal, crossOf(r, p)) >= 0 &&
      dot(normal, normal) > 0) {
    const Whole height = dot(normal, p);
    mpq_class foot(Whole(height * height), dot(normal, normal));
    foot.canonicalize();
    squared = std::min(squared, foot);
  }
  return squared;
}
/// In units of 1, with 200 bits.
mpf_class lengthOf(const mpq_class& squared) {
  mpf_class root(squared, 200);
  root = sqrt(root);
  mpf_div_2exp(root.get_mpf_t(), root.get_mpf_t(), 149);
  return root;
}

/// How far distances are from the exact ones, in parts of what is allowed.
struct Worst {
  double usual = 0, any = 0, place = 0, point = 0;
  int nbUsual = 0, nbThin = 0, nbInside = 0;
};

void judge(const float* point, const float* a, const float* b, const float* c, Worst& worst) {
  const ClosestPoint closest = closestPoint(point, a, b, c);
  CHECK(closest.u >= 0);
  CHECK(closest.v >= 0);
  CHECK(closest.u + closest.v <= 1 + 0x1p-52);

  const Exact o = exactOf(point);
  const Exact p = exactOf(a) - o, q = exactOf(b) - o, r = exactOf(c) - o;
  Whole largest = 0;
  for (const Exact& corner : {p, q, r})
    for (const Whole& coordinate : corner) largest = abs(coordinate) > largest ? Whole(abs(coordinate)) : largest;
  const double reach = std::ldexp(largest.get_d(), -149);
  const mpf_class exact = lengthOf(squaredTo(p, q, r));
  const double off = std::fabs(mpf_class(mpf_class(std::sqrt(closest.squared), 200) - exact).get_d());
  const Exact ab = q - p, ac = r - p, normal = crossOf(ab, ac);
  const Whole sides = dot(ab, ab) * dot(ac, ac);
  const double sine = sides == 0 ? 1.0 : std::sqrt(ratio(dot(normal, normal), sides));
  if (reach == 0) {
    CHECK(off == 0);
    return;
  }
  if (sine >= 0x1p-20) {
    worst.usual = std::max(worst.usual, off / (0x1p-47 * reach / sine));
    ++worst.nbUsual;
  } else {
    ++worst.nbThin;
  }
  worst.any = std::max(worst.any, off / (0x1p-25 * reach));
  worst.nbInside += closest.u > 0 && closest.v > 0 && closest.u + closest.v < 1 ? 1 : 0;

  // The place by its weights, and what is reported of it.
  double squared = 0;
  const Nearest nearest = nearestOn(point, a, b, c, 5);
  for (std::size_t i = 0; i < 3; ++i) {
    const long double place = (1.0L - closest.u - closest.v) * a[i] + static_cast<long double>(closest.u) * b[i] +
                              static_cast<long double>(closest.v) * c[i];
    const auto gap = static_cast<double>(place - point[i]);
    squared += gap * gap;
    const double size = std::max({std::fabs(double(a[i])), std::fabs(double(b[i])), std::fabs(double(c[i]))});
    const double allowed = 0x1p-24 * std::fabs(static_cast<double>(place)) + 0x1p-50 * size + 0x1p-150;
    worst.point = std::max(worst.point, static_cast<double>(std::fabs(place - nearest.point[i])) / allowed);
  }
  worst.place = std::max(worst.place, std::fabs(std::sqrt(squared) - std::sqrt(closest.squared)) /
                                          (0x1p-48 * (reach + std::fabs(double(point[0])) +
                                                      std::fabs(double(point[1])) + std::fabs(double(point[2])))));
  CHECK(nearest.triangle == 5);
  CHECK(sameBits(nearest.distance, distanceTo(point, a, b, c)));
  CHECK(nearest.distance == static_cast<float>(std::sqrt(closest.squared)));
}

void report(const Worst& worst) {
  INFO("usual ", worst.usual, ", any ", worst.any, ", place ", worst.place, ", point ", worst.point,
       " of what is allowed, ", worst.nbUsual, " usual and ", worst.nbThin, " thin triangles, ", worst.nbInside,
       " inside");
  CHECK(worst.usual <= 1.0);
  CHECK(worst.any <= 1.0);
  CHECK(worst.place <= 1.0);
  CHECK(worst.point <= 1.0);
}

}  // namespace

TEST_CASE("distances and places are within the stated bounds on difficult meshes") {
  std::uint32_t seed = 3100;
  Worst worst;
  for (const QueryMesh& mesh : difficultMeshes()) {
    NearQuestions questions(mesh, ++seed);
    for (int i = 0; i < 40; ++i) {
      const Place point = questions.point();
      if (!isValidPoint(point.data())) continue;
      for (std::size_t t = 0; t < std::min<std::size_t>(mesh.triangleCount(), 40); ++t)
        judge(point.data(), mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2), worst);
    }
  }
  report(worst);
  CHECK(worst.nbUsual > 10000);
  CHECK(worst.nbThin > 200);
  CHECK(worst.nbInside > 1000);
}

TEST_CASE("distances and places are within the stated bounds on slivers of every width, seen from near and far") {
  Worst worst;
  Random random(3200);
  for (int i = 0; i < 30000; ++i) {
    // The third corner is close to the line of the others, or to one of them; the point is above the inside.
    float a[3], b[3], c[3], point[3];
    const float width = std::ldexp(random.between(-1.0f, 1.0f), -static_cast<int>(random.below(50)));
    const float height = std::ldexp(random.between(-1.0f, 1.0f), 4 - static_cast<int>(random.below(50)));
    const float share = random.below(4) == 0 ? 0.0f : random.between(-0.5f, 1.5f);
    // A corner near the origin has finer coordinates than the others: edges have more bits than products can hold.
    const float center = random.below(2) == 0 ? 0.0f : 1.0f;
    const float fine = center == 0.0f ? std::ldexp(1.0f, -static_cast<int>(random.below(24))) : 1.0f;
    for (std::size_t k = 0; k < 3; ++k) {
      a[k] = center + fine * random.between(-1.0f, 1.0f);
      b[k] = center + random.between(-1.0f, 1.0f);
      c[k] = a[k] + share * (b[k] - a[k]) + width * random.between(-1.0f, 1.0f);
    }
    const Vector ab = difference(b, a), ac = difference(c, a), normal = cross(ab, ac);
    const double length = std::sqrt(dot(normal, normal));
    const double n[3] = {normal.x, normal.y, normal.z};
    const double u = random.unit(), v = random.unit() * (1 - u);
    for (std::size_t k = 0; k < 3; ++k)
      point[k] =
          static_cast<float>(double(a[k]) + u * (double(b[k]) - double(a[k])) + v * (double(c[k]) - double(a[k])) +
                             (length > 0 ? double(height) * n[k] / length : double(height)));
    switch (random.below(3)) {
      case 0:
        judge(point, a, b, c, worst);
        break;
      case 1:
        judge(point, b, c, a, worst);
        break;
      default:
        judge(point, c, a, b, worst);
    }
  }
  report(worst);
  CHECK(worst.nbUsual > 5000);
  CHECK(worst.nbThin > 5000);
  CHECK(worst.nbInside > 5000);
}

TEST_CASE("the closest point is where it is by hand: at corners, on edges and inside") {
  const float a[] = {0.0f, 0.0f, 0.0f}, b[] = {4.0f, 0.0f, 0.0f}, c[] = {0.0f, 4.0f, 0.0f};
  struct Case {
    float point[3], place[3], distance, u, v;
  };
  for (const Case& one : {Case{{-3.0f, -4.0f, 0.0f}, {0.0f, 0.0f, 0.0f}, 5.0f, 0.0f, 0.0f},
                          Case{{7.0f, 0.0f, 4.0f}, {4.0f, 0.0f, 0.0f}, 5.0f, 1.0f, 0.0f},
                          Case{{0.0f, 4.0f, -2.0f}, {0.0f, 4.0f, 0.0f}, 2.0f, 0.0f, 1.0f},
                          Case{{1.0f, -3.0f, 4.0f}, {1.0f, 0.0f, 0.0f}, 5.0f, 0.25f, 0.0f},
                          Case{{-3.0f, 3.0f, 4.0f}, {0.0f, 3.0f, 0.0f}, 5.0f, 0.0f, 0.75f},
                          Case{{5.0f, 3.0f, 1.0f}, {3.0f, 1.0f, 0.0f}, 3.0f, 0.75f, 0.25f},
                          Case{{1.0f, 1.0f, 7.0f}, {1.0f, 1.0f, 0.0f}, 7.0f, 0.25f, 0.25f},
                          Case{{1.0f, 2.0f, -7.0f}, {1.0f, 2.0f, 0.0f}, 7.0f, 0.25f, 0.5f},
                          Case{{2.0f, 1.0f, 0.0f}, {2.0f, 1.0f, 0.0f}, 0.0f, 0.5f, 0.25f}}) {
    const Nearest nearest = nearestOn(one.point, a, b, c, 9);
    INFO(one.point[0], " ", one.point[1], " ", one.point[2]);
    for (std::size_t i = 0; i < 3; ++i) CHECK(bitsOf(nearest.point[i]) == bitsOf(one.place[i]));
    CHECK(nearest.distance == one.distance);
    CHECK(nearest.u == one.u);
    CHECK(nearest.v == one.v);
    CHECK(nearest.triangle == 9);
  }
}

TEST_CASE("triangles without area have the closest point of a segment or a point") {
  const float p[] = {1.0f, 2.0f, 3.0f}, q[] = {3.0f, 2.0f, 3.0f}, middle[] = {2.0f, 2.0f, 3.0f};
  const float point[] = {2.5f, 5.0f, 7.0f}, beyond[] = {9.0f, 2.0f, 3.0f};
  const float* const forms[][3] = {{p, q, p},      {p, p, q},      {q, p, p},     {p, q, q},
                                   {p, middle, q}, {middle, q, p}, {q, p, middle}};
  for (const auto& form : forms) {
    CHECK(distanceTo(point, form[0], form[1], form[2]) == 5.0f);
    CHECK(nearestOn(point, form[0], form[1], form[2], 0).point[0] == 2.5f);
    CHECK(distanceTo(beyond, form[0], form[1], form[2]) == 6.0f);
  }
  CHECK(distanceTo(point, p, p, p) == std::sqrt(1.5f * 1.5f + 9.0f + 16.0f));
  CHECK(nearestOn(point, p, p, p, 0).u == 0.0f);
}

TEST_CASE("triangles at a corner agree on its distance, and it is met exactly") {
  Random random(3300);
  int nbCorners = 0;
  for (int i = 0; i < 3000; ++i) {
    // The corner has another size than the rest, and the point is anywhere.
    float corner[3], others[4][3], point[3];
    const float size = std::ldexp(1.0f, static_cast<int>(random.below(90)) - 80);
    for (std::size_t k = 0; k < 3; ++k) {
      corner[k] = size * random.between(-1.0f, 1.0f);
      for (auto& other : others) other[k] = random.between(-1.0f, 1.0f);
      point[k] = 4.0f * random.between(-1.0f, 1.0f);
    }
    const Nearest seen[] = {nearestOn(point, corner, others[0], others[1], 0),
                            nearestOn(point, others[1], corner, others[2], 1),
                            nearestOn(point, others[2], others[3], corner, 2)};
    float distance = -1.0f;
    for (const Nearest& one : seen) {
      const bool isAtCorner = one.triangle == 0   ? one.u == 0.0f && one.v == 0.0f
                              : one.triangle == 1 ? one.u == 1.0f && one.v == 0.0f
                                                  : one.u == 0.0f && one.v == 1.0f;
      if (!isAtCorner) continue;
      ++nbCorners;
      for (std::size_t k = 0; k < 3; ++k) CHECK(one.point[k] == corner[k]);
      if (distance >= 0.0f) CHECK(one.distance == distance);
      distance = one.distance;
    }
  }
  CHECK(nbCorners > 300);
}

TEST_CASE("points beyond 1e15, infinite ones and NaN have nothing near them") {
  CHECK(isValidPoint(Place{1e15f, -1e15f, -0.0f}.data()));
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const float wrong : {kNaN, kInf, -kInf, std::nextafter(1e15f, kInf), -kMaxFloat}) {
      Place point = {1.0f, 2.0f, 3.0f};
      point[axis] = wrong;
      CHECK(!isValidPoint(point.data()));
    }
  const Nearest none = nothingNear();
  CHECK(!none);
  CHECK(none.triangle == kNone);
  CHECK(none.distance == kInf);
  for (const float value : {none.point[0], none.point[1], none.point[2], none.u, none.v}) CHECK(std::isnan(value));
}
