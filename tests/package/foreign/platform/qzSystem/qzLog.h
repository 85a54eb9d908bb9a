#pragma once
// A log that keeps its lines. Its types have names of their own; only their numbers agree.

#include <string>
#include <vector>

namespace qz {

enum qzLogType { eDetail, eMessage, eFailure };

class qzLog {
 public:
  static qzLog* msInstance;
  bool isLogTypeEnabled(qzLogType type) { return type >= mLowest; }

  qzLogType mLowest = eDetail;
  std::vector<std::string> mLines;
};

}  // namespace qz
