#pragma once
// Ending a fuzzer's run with a finding.

#include <string>

namespace qzFuzz {

/// Says what is wrong on standard error and aborts.
[[noreturn]] void fail(const std::string& what);

/// Fails unless difference is empty.
inline void expectNone(const std::string& difference) {
  if (!difference.empty()) fail(difference);
}

/// Lets sanitizers go on reporting where standard error leads now, whatever becomes of it.
void keepReports();

/// Lets processes started from here on break down without leaving an input behind as a finding.
void ignoreChildren();

/// Makes failed doctest assertions findings, which helpers of other tests use.
void useAssertions();

}  // namespace qzFuzz
