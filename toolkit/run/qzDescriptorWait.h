#pragma once
// Waiting for a file descriptor in a way that can be cancelled.

#include <toolkit/run/qzCancelToken.h>

namespace qzToolkit {

/// Blocks until poll() reports one of events (POLLIN, POLLOUT), an error or a hang-up. Throws a qzInterrupted within a
/// tenth of a second of being cancelled, whichever thread cancels.
void waitFor(int descriptor, short events, const tCancel* cancel);

/// Sleeps a tenth of a second, for callers that can only retry. Throws a qzInterrupted if cancelled before.
void waitForRetry(const tCancel* cancel);

}  // namespace qzToolkit
