#pragma once
// The whole program qzquery as a function.

namespace qzQuery {

/// Does what a command line asks for. Data go to standard output or to a file, messages to standard error. Returns the
/// exit code: 0, or 2 after one line that says why. One call at a time.
int run(int argc, const char* const* argv);

}  // namespace qzQuery
