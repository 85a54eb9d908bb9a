#pragma once
// How the library writes a log record.

#include <qzSystem/qzLog.h>
#include <qzSystem/qzLogObject.h>

namespace qzDetail {

/// Types of records by number, as another platform's logger may name them differently.
constexpr qz::qzLogType kLogInfo = qz::qzLogType(1), kLogError = qz::qzLogType(2);

/// Whether a record of this type is written: without a logger all are, otherwise the logger decides.
inline bool isLogged(qz::qzLogType type) {
  return qz::qzLog::msInstance == nullptr || qz::qzLog::msInstance->isLogTypeEnabled(type);
}

/// Writes one record. Check isLogged first, before composing the text.
inline void logRecord(qz::qzLogType type, const char* category, const char* text) {
  qz::qzLogObject(type, category, qz::qzLog::msInstance, nullptr, false) << text;
}

}  // namespace qzDetail
