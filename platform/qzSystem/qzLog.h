#pragma once
// qz::qzLog: a sink for log records. Stand-in for the system library's type.

#include <string>

namespace qz {

enum qzLogType : int { eLogTrace = 0, eLogInfo = 1, eLogError = 2 };

/// An application derives from it and sets msInstance, and resets msInstance before destroying the object.
class qzLog {
 public:
  static qzLog* msInstance;  // null at start

  virtual ~qzLog();
  virtual bool isLogTypeEnabled(qzLogType type) const = 0;
  virtual void write(qzLogType type, const std::string& category, const std::string& text) = 0;
};

}  // namespace qz
