#pragma once
// A person's wish to stop (Ctrl-C) as something that work asks for at its own pace, so that it can tidy up.

#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <atomic>
#include <exception>

namespace qzToolkit {

/// What checkInterruption throws. No qzError: nothing was wrong.
class qzInterrupted : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

/// For builders of the library.
class qzInterruption : public qz::qzCancelInterfaceReadOnly {
 public:
  /// From now on the signals SIGINT, SIGTERM and SIGHUP only ask the process to stop. Those that it was started to
  /// ignore stay ignored. System calls that wait are not taken up again by themselves: they fail with EINTR.
  static void CatchSignals();

  /// The signal that asked to stop, or 0. It stays once it is there.
  static int Signal() { return msSignal.load(std::memory_order_relaxed); }

  bool isCanceled() const override { return Signal() != 0; }

 private:
  friend class qzSuddenInterruption;

  static_assert(std::atomic<int>::is_always_lock_free);  // else a signal could find it locked
  static inline std::atomic<int> msSignal{0};
  static inline bool msIsCatching = false;
};

/// Throws a qzInterrupted when a signal has asked to stop; from any thread. Costs next to nothing.
inline void checkInterruption() {
  if (qzInterruption::Signal() != 0) throw qzInterrupted();
}

/// While it lives, the signals that CatchSignals() has caught end the process at once, as they would without it: around
/// long work that cannot be stopped, and that leaves nothing to tidy up.
class qzSuddenInterruption {
 public:
  /// Throws a qzInterrupted when a signal has asked already.
  qzSuddenInterruption();
  ~qzSuddenInterruption();
  qzSuddenInterruption(const qzSuddenInterruption&) = delete;
  qzSuddenInterruption& operator=(const qzSuddenInterruption&) = delete;
};

}  // namespace qzToolkit
