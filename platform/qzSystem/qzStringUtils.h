#pragma once
// qz::qzStringUtils: the locale for formatting text. Stand-in for the system library's type.

#include <locale>

namespace qz {

struct qzStringUtils {
  static const std::locale msCplusLocale;  // the classic locale
};

}  // namespace qz
