#pragma once
// qz::qzLog: where log records go. Stand-in for the system library's type.

#include <string>

namespace qz {

enum qzLogType : int { eLogTrace = 0, eLogInfo = 1, eLogError = 2 };

/// A sink; an application installs its own by setting msInstance, and takes it out again before destroying it.
class qzLog {
 public:
  static qzLog* msInstance;  // null at start

  virtual ~qzLog();
  virtual bool isLogTypeEnabled(qzLogType type) const = 0;
  virtual void write(qzLogType type, const std::string& category, const std::string& text) = 0;
};

}  // namespace qz
