#pragma once
// qz::qzStringUtils: the locale of the family's text formatting. Stand-in for the system library's type.

#include <locale>

namespace qz {

struct qzStringUtils {
  static const std::locale msCplusLocale;  // the classic locale
};

}  // namespace qz
