#include <doctest/doctest.h>
#include <toolkit/base/qzNumber.h>

#include "support/qzBits.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

float readBack(const std::string& text) {
  float value = -77.0f;
  CHECK(readNumber(text, value) == tNumberResult::eNumber);
  return value;
}

std::string written(float value) {
  std::string text;
  appendNumber(text, value);
  return text;
}

}  // namespace

TEST_CASE("a written float reads back to the same bits") {
  const std::uint32_t seed = 31;
  CAPTURE(seed);
  Random random(seed);
  for (int i = 0; i < 100000; ++i) {
    const float value = random.anyFloat();
    CAPTURE(value);
    CHECK(sameBitsOrNaN(readBack(written(value)), value));
  }
}

TEST_CASE("a float is written with as few digits as possible") {
  CHECK(written(0.1f) == "0.1");
  CHECK(written(-0.0f) == "-0");
  CHECK(written(16777216.0f) == "16777216");
  CHECK(written(kInf) == "inf");
  CHECK(written(-kInf) == "-inf");
  CHECK(written(kNaN) == "nan");
  CHECK(written(-kNaN) == "nan");
}

TEST_CASE("numbers are accepted in many notations") {
  CHECK(readBack(" \t+1.5\r") == 1.5f);
  CHECK(readBack(".5") == 0.5f);
  CHECK(readBack("5.") == 5.0f);
  CHECK(readBack("-2.5E+1") == -25.0f);
  CHECK(readBack("Inf") == kInf);
  CHECK(readBack("-infinity") == -kInf);
  CHECK(std::isnan(readBack("NaN")));
}

TEST_CASE("a decimal number becomes the nearest float") {
  CHECK(sameBits(readBack("16777217"), 16777216.0f));  // halfway: to even
  CHECK(sameBits(readBack("16777217.0000000001"), 16777218.0f));
  CHECK(sameBits(readBack("3.4028235e38"), kMaxFloat));
  CHECK(sameBits(readBack("1e-45"), 0x1p-149f));
  CHECK(sameBits(readBack("1e-60"), 0.0f));
  CHECK(sameBits(readBack("-1e-400"), -0.0f));
}

TEST_CASE("invalid and out-of-range numbers are told apart") {
  float value;
  for (const char* text : {"", " ", "x", "1x", "1 2", "+", "-", "+-1", "--1", "0x10", "1,5", "1e", "e5"}) {
    CAPTURE(text);
    CHECK(readNumber(text, value) == tNumberResult::eNoNumber);
  }
  for (const char* text : {"3.5e38", "-1e39", "1e400", "+1e999999"}) {
    CAPTURE(text);
    CHECK(readNumber(text, value) == tNumberResult::eOutOfRange);
  }
}
