#pragma once
// qzSignals: binds one cancellation token to the signals that ask a program to stop. The only place that handles
// signals.

#include <toolkit/run/qzCancelToken.h>

namespace qzQuery {

class qzSignals {
 public:
  /// While this lives, SIGINT, SIGTERM and SIGHUP cancel token, the signal's number being the reason. A signal that the
  /// process was started to ignore stays ignored. System calls that wait fail with EINTR. One object at a time: a
  /// second one throws std::logic_error.
  explicit qzSignals(qzToolkit::qzCancelToken& token);
  /// The signals do what they did before.
  ~qzSignals();
  qzSignals(const qzSignals&) = delete;
  qzSignals& operator=(const qzSignals&) = delete;

  /// While it lives, the signals of a living qzSignals end the process at once, as they would without it: for long work
  /// that polls no token and leaves nothing to tidy up. Does nothing without a qzSignals.
  class tEndAtOnce {
   public:
    tEndAtOnce();
    ~tEndAtOnce();
    tEndAtOnce(const tEndAtOnce&) = delete;
    tEndAtOnce& operator=(const tEndAtOnce&) = delete;
  };
};

}  // namespace qzQuery
