// The order of a batch of points, and the order of triangle numbers.

#include <doctest/doctest.h>

#include <qzMeshQueries/batch/Numbers.h>
#include <qzMeshQueries/batch/PointOrder.h>

#include <algorithm>

#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzMeshQueries::detail;
using namespace qzTest;

namespace {

const float kMin[3] = {-1.0f, 0.0f, 2.0f}, kMax[3] = {1.0f, 2.0f, 4.0f};

using Point = float[3];

}  // namespace

TEST_CASE("every point has its place in the order once, whatever the coordinates") {
  Random random(2301);
  for (const std::size_t count : {0u, 1u, 2u, 100u, 70000u}) {
    std::vector<float> coordinates(3 * count);
    for (float& coordinate : coordinates)
      coordinate = random.below(4) == 0 ? random.anyFloat() : random.between(-1.0f, 4.0f);
    std::vector<std::uint32_t> order =
        orderOfPoints(reinterpret_cast<const Point*>(coordinates.data()), count, kMin, kMax);
    std::sort(order.begin(), order.end());
    REQUIRE(order.size() == count);
    for (std::size_t i = 0; i < count; ++i) REQUIRE(order[i] == i);
  }
}

TEST_CASE("an octant of the box is finished before the next begins, and equal points keep their order") {
  const Point points[] = {{0.5f, 1.5f, 3.5f},  {-0.5f, 0.5f, 2.5f}, {0.5f, 0.5f, 2.5f},  {-0.5f, 1.5f, 2.5f},
                          {-0.5f, 0.5f, 2.5f}, {0.5f, 1.5f, 3.5f},  {-0.5f, 0.5f, 3.5f}, {-9.0f, -9.0f, -9.0f}};
  const std::vector<std::uint32_t> expected = {7, 1, 4, 2, 3, 6, 0, 5};
  CHECK(orderOfPoints(points, 8, kMin, kMax) == expected);
}

TEST_CASE("a box without extent keeps the order") {
  const Point points[] = {{3.0f, 0.0f, 0.0f}, {-1.0f, 0.0f, 0.0f}, {-1.0f, 0.0f, 2.0f}};
  const std::vector<std::uint32_t> order = orderOfPoints(points, 3, kMin, kMin);
  CHECK(order.size() == 3);
  CHECK(order[0] == 1);
}

TEST_CASE("numbers are sorted, few and many of them, of any size") {
  Random random(2302);
  for (const std::size_t count : {0u, 1u, 2u, 255u, 256u, 257u, 5000u})
    for (const std::uint32_t limit : {1u, 2000u, 2048u, 5000000u, 0xFFFFFFFFu}) {
      std::vector<std::uint32_t> numbers(count);
      for (std::uint32_t& number : numbers) number = random.below(limit);
      std::vector<std::uint32_t> expected = numbers;
      std::sort(expected.begin(), expected.end());
      sortNumbers(numbers);
      CHECK(numbers == expected);
    }
}
