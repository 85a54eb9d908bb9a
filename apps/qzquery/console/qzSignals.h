#pragma once
// qzSignals: binds one cancellation token to the signals that ask a program to stop. The only place that handles
// signals.

#include <toolkit/run/qzCancelToken.h>

namespace qzQuery {

class qzSignals {
 public:
  /// While this lives, SIGINT, SIGTERM and SIGHUP cancel token, the signal's number being the reason. A signal that the
  /// process was started to ignore stays ignored. Blocking system calls fail with EINTR. One object at a time: a second
  /// one throws std::logic_error.
  explicit qzSignals(qzToolkit::qzCancelToken& token);
  /// Restores the previous handlers.
  ~qzSignals();
  qzSignals(const qzSignals&) = delete;
  qzSignals& operator=(const qzSignals&) = delete;

  /// While this lives, the signals end the process at once, as without the qzSignals: for long work that polls no token
  /// and needs no cleanup. No effect if there is no qzSignals.
  class tEndAtOnce {
   public:
    tEndAtOnce();
    ~tEndAtOnce();
    tEndAtOnce(const tEndAtOnce&) = delete;
    tEndAtOnce& operator=(const tEndAtOnce&) = delete;
  };
};

}  // namespace qzQuery
