#include <qzSystem/qzStringUtils.h>

namespace qz {

const std::locale qzStringUtils::msCplusLocale = std::locale::classic();

}  // namespace qz
