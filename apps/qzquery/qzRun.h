#pragma once
// The whole program qzquery as a function.

#include <toolkit/run/qzCancelToken.h>

namespace qzQuery {

/// Exit codes: all was done; or not, after one line that says why.
constexpr int kExitSuccess = 0, kExitFailure = 2;
/// Added to the number of the signal that stopped the work, as shells do.
constexpr int kExitSignalBase = 128;

/// Does what a command line asks for. Data go to standard output or to a file, messages to standard error. Returns the
/// exit code. cancel stops the work; its reason is the number of a signal. One call at a time.
int run(int argc, const char* const* argv, const qzToolkit::qzCancelToken& cancel);

}  // namespace qzQuery
