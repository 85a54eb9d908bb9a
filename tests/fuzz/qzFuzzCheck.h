#pragma once
// Reports findings and ends the fuzzer's run.

#include <string>

namespace qzFuzz {

/// Writes the message to standard error and aborts.
[[noreturn]] void fail(const std::string& what);

/// Fails unless difference is empty.
inline void expectNone(const std::string& difference) {
  if (!difference.empty()) fail(difference);
}

/// Makes sanitizers report to the present standard error, even if it is redirected later.
void keepReports();

/// Crashes of processes started after this call are not recorded as findings.
void ignoreChildren();

/// Makes failed doctest assertions findings, which helpers of other tests use.
void useAssertions();

}  // namespace qzFuzz
