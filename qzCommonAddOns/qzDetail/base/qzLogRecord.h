#pragma once
// How the library writes a log record.

#include <qzSystem/qzLog.h>
#include <qzSystem/qzLogObject.h>

namespace qzDetail {

/// Types of records by number: a family's own logger may give them other names.
constexpr qz::qzLogType kLogInfo = qz::qzLogType(1), kLogError = qz::qzLogType(2);

/// Whether a record of this type goes anywhere: there is no logger, or it wants the type.
inline bool isLogged(qz::qzLogType type) {
  return qz::qzLog::msInstance == nullptr || qz::qzLog::msInstance->isLogTypeEnabled(type);
}

/// Writes one record; ask isLogged first, which saves putting the text together.
inline void logRecord(qz::qzLogType type, const char* category, const char* text) {
  qz::qzLogObject(type, category, qz::qzLog::msInstance, nullptr, false) << text;
}

}  // namespace qzDetail
