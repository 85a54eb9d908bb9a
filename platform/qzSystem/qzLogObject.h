#pragma once
// qz::qzLogObject: one log record, composed with << and written by the destructor. Stand-in for the system
// library's type.

#include <qzSystem/qzLog.h>

#include <string>

namespace qz {

class qzLogObject {
 public:
  /// A null logger sends the record to std::clog, as a line "category: text". context and immediate are for loggers
  /// that queue records; this stand-in writes at once and uses neither. A record whose logger throws is lost.
  qzLogObject(qzLogType type, const char* category, qzLog* logger, const void* context, bool immediate);
  ~qzLogObject();
  qzLogObject(const qzLogObject&) = delete;
  qzLogObject& operator=(const qzLogObject&) = delete;

  qzLogObject& operator<<(const char* text);

 private:
  qzLogType mType;
  std::string mCategory;
  qzLog* mLogger;
  std::string mText;
};

}  // namespace qz
