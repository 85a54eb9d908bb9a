#include <doctest/doctest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string contentOf(const std::string& name) {
  std::ifstream file(QZ_SOURCE_DIR "/" + name, std::ios::binary);
  REQUIRE(file);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

TEST_CASE("the example in the README is examples/first_hit.cpp to the letter") {
  const std::string readme = contentOf("README.md"), example = contentOf("examples/first_hit.cpp");
  const std::string start = "```cpp\n";
  const std::size_t at = readme.find(start);
  REQUIRE(at != std::string::npos);
  const std::size_t end = readme.find("```\n", at + start.size());
  REQUIRE(end != std::string::npos);
  CHECK(readme.substr(at + start.size(), end - at - start.size()) == example);
}
