#pragma once
// Cooperative cancellation. The caller owns a token and passes it to whatever may run long; the work polls it, cleans
// up and throws a qzInterrupted. There is no process-wide token: two jobs with two tokens are independent.

#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <atomic>
#include <exception>

namespace qzToolkit {

/// The interface that the toolkit polls; the library's builders poll the same one. It is passed as a pointer, null for
/// work that is never cancelled, and must outlive the work. Several threads may poll it at once.
using tCancel = qz::qzCancelInterfaceReadOnly;

/// Thrown by cancelled work. Not a qzError: nothing was wrong.
class qzInterrupted : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

/// Throws a qzInterrupted if the work is cancelled.
inline void throwIfCanceled(const tCancel* cancel) {
  if (cancel != nullptr && cancel->isCanceled()) throw qzInterrupted();
}

/// A flag that is set once, from any thread or from a signal handler.
class qzCancelToken : public tCancel {
 public:
  static constexpr int kNoReason = 0;
  static constexpr int kRequested = -1;

  qzCancelToken() = default;
  qzCancelToken(const qzCancelToken&) = delete;
  qzCancelToken& operator=(const qzCancelToken&) = delete;

  /// Cancels all work that polls this token. reason is any number but kNoReason, for example that of a signal; the
  /// first reason is kept. Lock-free and async-signal-safe.
  void cancel(int reason = kRequested) noexcept {
    int expected = kNoReason;
    mReason.compare_exchange_strong(expected, reason, std::memory_order_relaxed);
  }

  /// The reason that cancel was called with, or kNoReason.
  int getReason() const noexcept { return mReason.load(std::memory_order_relaxed); }

  bool isCanceled() const override { return getReason() != kNoReason; }

  /// Throws a qzInterrupted if cancel was called.
  void check() const { throwIfCanceled(this); }

 private:
  static_assert(std::atomic<int>::is_always_lock_free);  // a signal handler must not wait for a lock
  std::atomic<int> mReason{kNoReason};
};

}  // namespace qzToolkit
