#pragma once
// The whole program qzquery as a function.

namespace qzQuery {

/// Does what a command line asks for. Data go to standard output or to a file, messages to standard error. Returns the
/// exit code: 0; 2 after one line that says why; or, when work was given up because a signal asked to stop, 128 and the
/// number of the signal. One call at a time.
int run(int argc, const char* const* argv);

}  // namespace qzQuery
