#pragma once
// One line of the log, complete when destroyed.

#include <qzSystem/qzLog.h>

namespace qz {

class qzLogObject {
 public:
  qzLogObject(qzLogType type, const char* category, qzLog* log, void* window, bool modal);
  ~qzLogObject();
  qzLogObject& operator<<(const char* text);
  qzLogObject& operator<<(double number);

 private:
  qzLog* mLog;
  std::string mLine;
};

}  // namespace qz
