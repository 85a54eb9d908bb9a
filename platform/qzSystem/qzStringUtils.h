#pragma once
// qz::qzStringUtils: what the family's text formatting shares. Stand-in for the system library's type.

#include <locale>

namespace qz {

struct qzStringUtils {
  static const std::locale msCplusLocale;  // the classic locale
};

}  // namespace qz
