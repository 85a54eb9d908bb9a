#pragma once
// The locale that texts are made with.

#include <locale>

namespace qz {

class qzStringUtils {
 public:
  static std::locale msCplusLocale;
};

}  // namespace qz
