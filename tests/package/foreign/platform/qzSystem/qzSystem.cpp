#include <qzSystem/qzLogObject.h>
#include <qzSystem/qzStringUtils.h>

namespace qz {

qzLog* qzLog::msInstance = nullptr;

std::locale qzStringUtils::msCplusLocale = std::locale::classic();

qzLogObject::qzLogObject(qzLogType type, const char* category, qzLog* log, void*, bool)
    : mLog(log), mLine(std::to_string(static_cast<int>(type)) + " " + category + ": ") {}

qzLogObject::~qzLogObject() {
  if (mLog != nullptr) mLog->mLines.push_back(mLine);
}

qzLogObject& qzLogObject::operator<<(const char* text) {
  mLine += text;
  return *this;
}

qzLogObject& qzLogObject::operator<<(double number) {
  mLine += std::to_string(number);
  return *this;
}

}  // namespace qz
