// Triangles in boxes beside exact arithmetic, and triangles in regions beside what clipping leaves by hand.

#include <doctest/doctest.h>

#include <qzMeshQueries/kernel/Regions.h>

#include <algorithm>
#include <array>

#include "meshqueries/kernel/qzExact.h"
#include "support/scenes/qzNearQuestions.h"

using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

/// A convex polygon with rational corners.
using Corner = std::array<mpq_class, 3>;

/// What is left of the polygon where sign * x[axis] <= sign * limit.
std::vector<Corner> clipped(const std::vector<Corner>& polygon, std::size_t axis, int sign, const mpq_class& limit) {
  std::vector<Corner> left;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const Corner &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
    const mpq_class before = sign * (limit - p[axis]), behind = sign * (limit - q[axis]);
    if (before >= 0) left.push_back(p);
    if ((before > 0 && behind < 0) || (before < 0 && behind > 0)) {
      const mpq_class share = before / (before - behind);
      Corner crossing;
      for (std::size_t k = 0; k < 3; ++k) crossing[k] = p[k] + share * (q[k] - p[k]);
      left.push_back(crossing);
    }
  }
  return left;
}

bool exactlyInBox(const RegionBox& box, const float* a, const float* b, const float* c) {
  std::vector<Corner> polygon;
  for (const float* corner : {a, b, c})
    polygon.push_back({mpq_class(corner[0]), mpq_class(corner[1]), mpq_class(corner[2])});
  for (std::size_t axis = 0; axis < 3; ++axis) {
    polygon = clipped(polygon, axis, 1, mpq_class(box.max[axis]));
    polygon = clipped(polygon, axis, -1, mpq_class(box.min[axis]));
  }
  return !polygon.empty();
}

bool inRegion(const std::vector<PlaneOf>& planes, const float* a, const float* b, const float* c) {
  return liesInRegion(reinterpret_cast<const float(*)[4]>(planes.data()), planes.size(), a, b, c);
}

}  // namespace

TEST_CASE("on a coarse grid, where all is exact, boxes hold what they hold exactly") {
  Random random(3401);
  const auto place = [&] { return static_cast<float>(static_cast<int>(random.below(9)) - 4); };
  int nbInside = 0, nbWrong = 0;
  for (int i = 0; i < 20000; ++i) {
    float corners[3][3];
    RegionBox box = {};
    for (std::size_t k = 0; k < 3; ++k) {
      for (auto& corner : corners) corner[k] = place();
      const float p = place(), q = place();
      box.min[k] = 0.5f * std::min(p, q);
      box.max[k] = 0.5f * std::max(p, q);
    }
    const bool isInside = exactlyInBox(box, corners[0], corners[1], corners[2]);
    nbInside += isInside ? 1 : 0;
    nbWrong += liesInBox(box, corners[0], corners[1], corners[2]) != isInside ? 1 : 0;
  }
  CHECK(nbWrong == 0);
  CHECK(nbInside > 4000);
  CHECK(nbInside < 16000);
}

TEST_CASE("boxes of any coordinates hold what they hold exactly, but for what touches them by a rounding") {
  Random random(3402);
  int nbInside = 0, nbWrong = 0, nbJudged = 0;
  for (int i = 0; i < 20000; ++i) {
    float corners[3][3];
    RegionBox box = {}, smaller = {}, larger = {};
    const float size = std::ldexp(1.0f, 1 - static_cast<int>(random.below(6)));
    for (std::size_t k = 0; k < 3; ++k) {
      for (auto& corner : corners) corner[k] = random.between(-1.0f, 1.0f);
      box.min[k] = random.between(-1.0f, 1.0f);
      box.max[k] = box.min[k] + size * random.unit();
      smaller.min[k] = box.min[k] + 1e-6f;
      smaller.max[k] = box.max[k] - 1e-6f;
      larger.min[k] = box.min[k] - 1e-6f;
      larger.max[k] = box.max[k] + 1e-6f;
    }
    const bool isInside = exactlyInBox(smaller, corners[0], corners[1], corners[2]);
    if (isInside != exactlyInBox(larger, corners[0], corners[1], corners[2])) continue;
    ++nbJudged;
    nbInside += isInside ? 1 : 0;
    nbWrong += liesInBox(box, corners[0], corners[1], corners[2]) != isInside ? 1 : 0;
  }
  CHECK(nbWrong == 0);
  CHECK(nbJudged > 15000);
  CHECK(nbInside > 1000);
}

TEST_CASE("a box holds a triangle with a corner in it, whatever the sizes, and none beyond a face") {
  Random random(3403);
  for (int i = 0; i < 3000; ++i) {
    float corners[3][3];
    RegionBox box = {};
    for (std::size_t k = 0; k < 3; ++k) {
      for (auto& corner : corners)
        corner[k] = std::ldexp(random.between(-1.0f, 1.0f), static_cast<int>(random.below(80)) - 40);
      box.min[k] = box.max[k] = corners[i % 3][k];
    }
    CHECK(liesInBox(box, corners[0], corners[1], corners[2]));
    const std::size_t axis = random.below(3);
    box.min[axis] = std::nextafter(std::max({corners[0][axis], corners[1][axis], corners[2][axis]}), kInf);
    box.max[axis] = 1e15f;
    CHECK(!liesInBox(box, corners[0], corners[1], corners[2]));
  }
}

TEST_CASE("a box is valid unless it is inverted or NaN, and infinite ones are cut down") {
  RegionBox box = {};
  const Place low = {-kInf, 0.0f, 1.0f}, high = {2.0f, kInf, 1.0f};
  REQUIRE(makeRegionBox(low.data(), high.data(), box));
  CHECK(box.min[0] == -2e15f);
  CHECK(box.max[1] == 2e15f);
  CHECK(box.min[2] == 1.0f);
  CHECK(box.max[2] == 1.0f);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Place wrong = low;
    wrong[axis] = kNaN;
    CHECK(!makeRegionBox(wrong.data(), high.data(), box));
    CHECK(!makeRegionBox(low.data(), wrong.data(), box));
    wrong = low;
    wrong[axis] = std::nextafter(high[axis], kInf);
    if (high[axis] < kInf) CHECK(!makeRegionBox(wrong.data(), high.data(), box));
  }
}

TEST_CASE("a region holds what has a part strictly inside, also where no corner is") {
  const float a[] = {-4.0f, -1.0f, 0.0f}, b[] = {4.0f, -1.0f, 0.0f}, c[] = {0.0f, 5.0f, 0.0f};
  const std::vector<PlaneOf> middle = {
      {1.0f, 0.0f, 0.0f, 1.0f}, {-1.0f, 0.0f, 0.0f, 1.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f, 1.0f}};
  CHECK(inRegion(middle, a, b, c));
  std::vector<PlaneOf> planes = middle;
  planes.push_back({0.0f, 0.0f, 1.0f, 0.0f});  // the triangle lies in it
  CHECK(!inRegion(planes, a, b, c));
  planes.back()[3] = 0x1p-20f;
  CHECK(inRegion(planes, a, b, c));
  // Two planes that leave nothing together, and do so for every triangle.
  CHECK(!inRegion({{1.0f, 0.0f, 0.0f, 0.0f}, {-1.0f, 0.0f, 0.0f, 0.0f}}, a, b, c));
  // Beside the triangle, within its box.
  CHECK(!inRegion({{-1.0f, 1.0f, 0.0f, -6.0f}}, a, b, c));
  CHECK(inRegion({{-1.0f, 1.0f, 0.0f, -4.0f}}, a, b, c));
  // A point and a segment have parts inside or not.
  CHECK(inRegion({{1.0f, 0.0f, 0.0f, 5.0f}}, a, a, a));
  CHECK(!inRegion({{1.0f, 0.0f, 0.0f, 4.0f}}, a, a, a));
  CHECK(inRegion({{1.0f, 0.0f, 0.0f, 1.0f}, {-1.0f, 0.0f, 0.0f, 1.0f}}, a, b, a));
}
