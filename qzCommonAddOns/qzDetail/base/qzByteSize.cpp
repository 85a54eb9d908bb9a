#include <qzCommonAddOns/qzDetail/base/qzByteSize.h>

#include <qzSystem/qzStringUtils.h>

#include <cmath>
#include <sstream>

namespace qzDetail {

std::string formatByteSize(std::int64_t size) {
  // The first prefix whose power the size reaches.
  static const char kPrefixes[] = "YZEPTGMk";
  double x = std::abs(static_cast<double>(static_cast<std::uint64_t>(size)));
  std::string prefix;
  for (int i = 0; i < 8 && prefix.empty(); ++i) {
    const int exponent = 80 - 10 * i;
    if (x >= std::ldexp(1.0, exponent)) {
      prefix = kPrefixes[i];
      x *= std::ldexp(1.0, -exponent);
    }
  }

  // Below 100 one decimal, from 100 on none.
  int decimals = x > 1.0 ? static_cast<int>(2.0 - std::floor(std::log10(x))) : 2;
  decimals = decimals < 0 ? 0 : decimals > 1 ? 1 : decimals;

  std::ostringstream stream;
  stream.imbue(qz::qzStringUtils::msCplusLocale);
  if (decimals == 0) {
    stream << static_cast<std::int64_t>(std::abs(std::ceil(x - 0.5)));
    return stream.str() + prefix;
  }
  stream.setf(std::ios::fixed, std::ios::floatfield);
  stream.precision(1);
  stream << std::abs(std::ceil(10.0 * x - 0.5)) / 10.0;
  std::string text = stream.str();
  while (!text.empty() && text.back() == '0') text.pop_back();
  if (!text.empty() && (text.back() == '.' || text.back() == ',')) text.pop_back();
  return text + prefix;
}

}  // namespace qzDetail
