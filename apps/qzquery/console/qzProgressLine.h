#pragma once
// qzProgressLine: shows progress as one line on a terminal, cleared at the end.

#include <toolkit/run/qzProgress.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace qzQuery {

class qzProgressLine : public qzToolkit::qzProgress {
 public:
  /// Counts towards total on standard error, beginning with label. Shows nothing when it is not enabled, when total is
  /// 0 or when standard error is not a terminal.
  qzProgressLine(std::string label, std::size_t total, bool enabled);
  ~qzProgressLine() override;
  qzProgressLine(const qzProgressLine&) = delete;
  qzProgressLine& operator=(const qzProgressLine&) = delete;

  void advance(std::size_t count) override;

 private:
  const std::string mLabel;
  const std::size_t mTotal;
  const bool mIsShown;
  std::atomic<std::size_t> mDone{0};
  std::mutex mMutex;  // guards the terminal and mLastTime
  std::chrono::steady_clock::time_point mLastTime;
};

}  // namespace qzQuery
