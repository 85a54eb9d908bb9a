#include <doctest/doctest.h>
#include <toolkit/io/file/qzLines.h>

#include <cstdint>

#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

TEST_CASE("lines have numbers, no comments and no surrounding spaces; empty ones are skipped") {
  const std::string name = "file", text = "one \r\n\n# nothing\n \t two # and a half\nthree";
  qzLines lines(name, text);
  const std::pair<const char*, std::size_t> expected[] = {{"one", 1}, {"two", 4}, {"three", 5}};
  for (const auto& [line, number] : expected) {
    REQUIRE(lines.next());
    CHECK(lines.line() == line);
    CHECK(lines.number() == number);
  }
  CHECK(errorOf([&] { lines.fail("too short"); }) == "file:5: too short");
  CHECK_FALSE(lines.next());
}

TEST_CASE("words end at any white space") {
  const std::string text = " a\tb\r\nc\vd\fe ";
  std::string_view rest = text;
  for (const char* word : {"a", "b", "c", "d", "e", "", ""}) CHECK(takeWord(rest) == word);
}

TEST_CASE("an integer is a whole word within the range of its type") {
  CHECK(integerOf<int>("-12") == -12);
  CHECK(integerOf<std::uint32_t>("4294967295") == 4294967295u);
  for (const char* word : {"", "-", "+1", "1x", "1.5", "0x1", " 1", "2147483648"}) {
    CAPTURE(word);
    CHECK_FALSE(integerOf<int>(word).has_value());
  }
  CHECK_FALSE(integerOf<std::uint32_t>("-1").has_value());
}
