// Which instruction sets there are, and that the chosen one is used.

#include <doctest/doctest.h>

#include <algorithm>

#include "meshqueries/qzQueryBuilds.h"

using namespace qzMeshQueries;
using namespace qzTest;

TEST_CASE("the best instruction set of the processor is in use, and every other one can be chosen") {
  const std::vector<std::string> names = detail::instructionSets();
  REQUIRE(!names.empty());
  CHECK(detail::walks().name == names.front());
  for (const std::string& name : names) {
    CHECK(std::count(names.begin(), names.end(), name) == 1);
    const UsedInstructionSet used(name);
    CHECK(detail::walks().name == name);
  }
  CHECK(detail::walks().name == names.front());
  CHECK(!detail::useInstructionSet("no such instruction set"));
  CHECK(detail::walks().name == names.front());
}

#if defined(__x86_64__) && defined(__GNUC__)
TEST_CASE("on this processor the library has walks for what it can run") {
  const std::vector<std::string> names = detail::instructionSets();
  const auto has = [&](const char* name) { return std::count(names.begin(), names.end(), name) == 1; };
  __builtin_cpu_init();
  if (__builtin_cpu_supports("sse4.2")) CHECK(has("SSE4"));
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) CHECK(has("AVX2"));
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512bw"))
    CHECK(has("AVX-512"));
}
#endif
