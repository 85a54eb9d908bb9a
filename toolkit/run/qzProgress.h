#pragma once
// qzProgress: how far a long loop has come, as one line on a terminal that goes away at the end.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace qzToolkit {

class qzProgress {
 public:
  /// Counts towards total on standard error, beginning with label. Shows nothing when it is not enabled or standard
  /// error is not a terminal.
  qzProgress(std::string label, std::size_t total, bool enabled);
  ~qzProgress();
  qzProgress(const qzProgress&) = delete;
  qzProgress& operator=(const qzProgress&) = delete;

  /// count more are done; from any thread.
  void advance(std::size_t count);

 private:
  const std::string mLabel;
  const std::size_t mTotal;
  const bool mShown;
  std::atomic<std::size_t> mDone{0};
  std::mutex mMutex;  // guards the terminal and the time
  std::chrono::steady_clock::time_point mLastTime;
};

}  // namespace qzToolkit
