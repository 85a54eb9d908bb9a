#include <doctest/doctest.h>
#include <qzSystem/qzStringUtils.h>

#include <locale>
#include <sstream>

namespace {

/// Decimal comma and grouped thousands, as some locales have them.
class CommaAndDots : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST_CASE("the shared locale is the classic one") {
  CHECK(qz::qzStringUtils::msCplusLocale == std::locale::classic());
  CHECK(qz::qzStringUtils::msCplusLocale.name() == "C");
}

TEST_CASE("numbers have a decimal point and no grouping under any global locale") {
  const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaAndDots));
  std::ostringstream global, classic;
  classic.imbue(qz::qzStringUtils::msCplusLocale);
  global << 1234567 << ' ' << 1.5;
  classic << 1234567 << ' ' << 1.5;
  std::locale::global(previous);
  CHECK(global.str() == "1.234.567 1,5");
  CHECK(classic.str() == "1234567 1.5");
}
