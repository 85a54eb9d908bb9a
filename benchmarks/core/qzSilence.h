#pragma once
// qzSilence: discards the log records of the library while it lives, so that writing them is not timed.

#include <qzSystem/qzLog.h>

#include <string>

namespace qzBench {

class qzSilence : public qz::qzLog {
 public:
  qzSilence() : mBefore(msInstance) { msInstance = this; }
  ~qzSilence() override { msInstance = mBefore; }
  qzSilence(const qzSilence&) = delete;
  qzSilence& operator=(const qzSilence&) = delete;

  bool isLogTypeEnabled(qz::qzLogType) const override { return false; }
  void write(qz::qzLogType, const std::string&, const std::string&) override {}

 private:
  qz::qzLog* mBefore;
};

}  // namespace qzBench
