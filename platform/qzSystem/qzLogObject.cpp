#include <qzSystem/qzLogObject.h>

#include <iostream>

namespace qz {

qzLogObject::qzLogObject(qzLogType type, const char* category, qzLog* logger, const void* /*context*/,
                         bool /*immediate*/)
    : mType(type), mCategory(category), mLogger(logger) {}

qzLogObject::~qzLogObject() {
  // A destructor must not throw: if the logger throws, for lack of memory for example, the record is lost.
  try {
    if (mLogger != nullptr) {
      mLogger->write(mType, mCategory, mText);
    } else {
      std::clog << mCategory << (mCategory.empty() ? "" : ": ") << mText << '\n';
    }
  } catch (...) {
  }
}

qzLogObject& qzLogObject::operator<<(const char* text) {
  mText += text;
  return *this;
}

}  // namespace qz
