#include <qzSystem/qzLog.h>

namespace qz {

qzLog* qzLog::msInstance = nullptr;

qzLog::~qzLog() = default;

}  // namespace qz
