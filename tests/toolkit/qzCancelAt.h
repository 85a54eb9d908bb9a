#pragma once
// A cancel interface that counts polls and says yes from a given one on.

#include <toolkit/run/qzCancelToken.h>

#include <atomic>
#include <limits>

namespace qzTest {

class CancelAt : public qzToolkit::tCancel {
 public:
  static constexpr long kNever = std::numeric_limits<long>::max();

  /// poll  from 1
  explicit CancelAt(long poll = kNever) : mPoll(poll) {}
  bool isCanceled() const override { return ++mNbPolls >= mPoll; }
  long nbPolls() const { return mNbPolls; }

 private:
  const long mPoll;
  mutable std::atomic<long> mNbPolls{0};
};

}  // namespace qzTest
