// What qzLanes.h promises for every instruction set, bit for bit, over all pairs of special and ordinary floats.

#include <doctest/doctest.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/qzBits.h"

using namespace qzDetail;
using namespace qzTest;

namespace {

using Lanes = std::vector<float>;

Lanes lanesOf(tFloat4 a) {
  alignas(16) float lanes[4];
  store(lanes, a);
  return {lanes, lanes + 4};
}

std::uint32_t wordOf(float x) {
  std::uint32_t word;
  std::memcpy(&word, &x, sizeof word);
  return word;
}

const std::vector<float>& specialFloats() {
  static const std::vector<float> floats = [] {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> all = {0.0f,    0x1p-149f,       0x1p-126f, 0.999f,    1.0f,
                              1.5f,    0x1.fffffep30f,  0x1p31f,   0x1.8p31f, 0x1.fffffep62f,
                              0x1p63f, 0x1.fffffep127f, inf,       nan};
    for (std::size_t i = 0, n = all.size(); i < n; ++i) all.push_back(-all[i]);
    return all;
  }();
  return floats;
}

}  // namespace

TEST_CASE("minimum and maximum keep the second operand when the two are equal and when one is NaN") {
  for (const float x : specialFloats()) {
    for (const float y : specialFloats()) {
      CAPTURE(x);
      CAPTURE(y);
      const tFloat4 a = float4(1.0f, x, 2.0f, x), b = float4(3.0f, y, -1.0f, y);
      CHECK(wordOf(lanesOf(smallerOf(a, b))[1]) == wordOf(x < y ? x : y));
      CHECK(wordOf(lanesOf(largerOf(a, b))[3]) == wordOf(x > y ? x : y));
    }
  }
}

TEST_CASE("comparisons, masks and choices go lane by lane; NaN compares false") {
  for (const float x : specialFloats()) {
    for (const float y : specialFloats()) {
      CAPTURE(x);
      CAPTURE(y);
      const tFloat4 a = float4(0.0f, x, 2.0f, x), b = float4(1.0f, y, 1.0f, y);
      CHECK(bitsOf(a < b) == (1 | 10 * (x < y)));
      CHECK(bitsOf(a <= b) == (1 | 10 * (x <= y)));
      CHECK(bitsOf(a > b) == (4 | 10 * (x > y)));
      CHECK(bitsOf(a >= b) == (4 | 10 * (x >= y)));
      CHECK(bitsOf(areOrdered(a, b)) == (5 | 10 * (!std::isnan(x) && !std::isnan(y))));
      CHECK(bitsOf(except(mask4(true), a < b)) == (kAllLanes & ~(1 | 10 * (x < y))));
      CHECK(wordOf(lanesOf(select(a < b, a, b))[1]) == wordOf(x < y ? x : y));
      CHECK(wordOf(lanesOf(zeroUnless(a < b, a))[3]) == wordOf(x < y ? x : 0.0f));
      CHECK(wordOf(lanesOf(zeroWhere(a < b, a))[3]) == wordOf(x < y ? 0.0f : x));
    }
  }
}

TEST_CASE("signs are bits, also of zeros and NaN") {
  for (const float x : specialFloats()) {
    CAPTURE(x);
    const tFloat4 a = float4(1.0f, x, -1.0f, 0.0f);
    const bool isNegative = std::signbit(x);
    CHECK(wordOf(lanesOf(-a)[1]) == (wordOf(x) ^ 0x80000000u));
    CHECK(wordOf(lanesOf(magnitude(a))[1]) == (wordOf(x) & 0x7FFFFFFFu));
    CHECK(wordOf(lanesOf(flipSigns(a, float4(0.0f, -0.0f, 0.0f, -0.0f)))[1]) == (wordOf(x) ^ 0x80000000u));
    CHECK(signBitsOf(a) == (4 | 2 * isNegative));
    CHECK(bitsOf(maskOf(signs(a))) == (4 | 2 * isNegative));
  }
}

TEST_CASE("integers become the nearest floats") {
  alignas(16) float floats[4];
  store(floats, toFloats(int4(-7, 0, (1 << 24) + 1, (1 << 24) + 3)));
  CHECK(floats[0] == -7.0f);
  CHECK(floats[1] == 0.0f);
  CHECK(floats[2] == 0x1p24f);
  CHECK(floats[3] == 0x1p24f + 4.0f);
}

TEST_CASE("conversions truncate, and give the smallest integer for what does not fit") {
  for (const float x : specialFloats()) {
    CAPTURE(x);
    alignas(16) std::int32_t words[4];
    store(words, truncate(float4(-2.7f, x, 2.7f, x)));
    CHECK(words[0] == -2);
    CHECK(words[2] == 2);
    const bool fits32 = x >= -0x1p31f && x < 0x1p31f, fits64 = x >= -0x1p63f && x < 0x1p63f;
    CHECK(words[1] == (fits32 ? static_cast<std::int32_t>(x) : std::numeric_limits<std::int32_t>::min()));
    CHECK(truncate64(x) == (fits64 ? static_cast<std::int64_t>(x) : std::numeric_limits<std::int64_t>::min()));
  }
}

TEST_CASE("shuffles, pairs and transposes put every lane where the comment of the function draws it") {
  const tFloat4 a = float4(0, 1, 2, 3), b = float4(4, 5, 6, 7);
  CHECK(lanesOf(shuffle<3, 0, 2, 1>(a)) == Lanes{3, 0, 2, 1});
  CHECK(lanesOf(shuffle<3, 0, 2, 1>(a, b)) == Lanes{3, 0, 6, 5});
  CHECK(lanesOf(spread<2>(a)) == Lanes{2, 2, 2, 2});
  CHECK(laneOf<3>(a) == 3.0f);
  CHECK(firstOf(b) == 4.0f);
  CHECK(lanesOf(upperPair(a)) == Lanes{2, 3, 2, 3});
  CHECK(lanesOf(lowerPairs(a, b)) == Lanes{0, 1, 4, 5});
  CHECK(lanesOf(interleaveLower(a, b)) == Lanes{0, 4, 1, 5});
  CHECK(lanesOf(withFirst(a, b)) == Lanes{4, 1, 2, 3});
  tFloat4 c = float4(8, 9, 10, 11), d = float4(12, 13, 14, 15), rows[2] = {a, b};
  transpose(rows[0], rows[1], c, d);
  CHECK(lanesOf(rows[0]) == Lanes{0, 4, 8, 12});
  CHECK(lanesOf(rows[1]) == Lanes{1, 5, 9, 13});
  CHECK(lanesOf(c) == Lanes{2, 6, 10, 14});
  CHECK(lanesOf(d) == Lanes{3, 7, 11, 15});
  CHECK(packBytes(int4(1, 255, 0, 128)) == 0x8000FF01u);
  CHECK(wordOf(firstOf(firstWord(0xFFFFFFFFu))) == 0xFFFFFFFFu);
  CHECK(bitsOf(maskOf(select(int4(-1, 0, -1, 0), int4(7), int4(9)) == int4(7))) == 5);
  CHECK(bitsOf(maskOf(signs(int4(-5, 5, 0, std::numeric_limits<std::int32_t>::min())))) == 9);
}
