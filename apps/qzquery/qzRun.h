#pragma once
// The program qzquery as a function.

#include <toolkit/run/qzCancelToken.h>

namespace qzQuery {

/// Exit codes; a failure prints one line that says why.
constexpr int kExitSuccess = 0, kExitFailure = 2;
/// Added to the number of the signal that stopped the work, as shells do.
constexpr int kExitSignalBase = 128;

/// Runs a command line. Data go to standard output or to a file, messages to standard error. Returns the exit code.
/// cancel  cancels the work; its reason is the number of a signal
/// Threads: one call at a time, as the library's log is process-wide.
int run(int argc, const char* const* argv, const qzToolkit::qzCancelToken& cancel);

}  // namespace qzQuery
