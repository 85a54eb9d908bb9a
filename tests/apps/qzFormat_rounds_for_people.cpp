#include <apps/qzquery/console/qzFormat.h>
#include <doctest/doctest.h>

using namespace qzQuery;

TEST_CASE("a share has three digits, and that of nothing is 0") {
  CHECK(percent(1, 3) == "33.3 %");
  CHECK(percent(3, 3) == "100 %");
  CHECK(percent(0, 0) == "0 %");
}

TEST_CASE("seconds have three decimals and megabytes, of a million bytes, one") {
  CHECK(seconds(0.12345) == "0.123 s");
  CHECK(megabytes(1.25e9) == "1250.0 MB");
}

TEST_CASE("one thread is no threads") {
  CHECK(countOfThreads(1) == "1 thread");
  CHECK(countOfThreads(2) == "2 threads");
}
