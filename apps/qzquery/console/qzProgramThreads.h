#pragma once
// qzProgramThreads: the thread pool of a subcommand, with as many threads as --threads asks for.

#include <tbb/global_control.h>
#include <toolkit/run/qzThreads.h>

#include <algorithm>
#include <cstddef>

namespace qzQuery {

/// oneTBB runs no more threads than there are processors unless the process allows more. That is for the program to
/// decide, not for the toolkit: while this object lives, the process may run nbThreads.
class qzProgramThreads {
 public:
  /// 0: as many as there are processors.
  explicit qzProgramThreads(int nbThreads)
      : mAllowance(kLimit, std::max(tbb::global_control::active_value(kLimit), static_cast<std::size_t>(nbThreads))),
        mThreads(nbThreads) {}

  const qzToolkit::qzThreads& get() const { return mThreads; }

 private:
  static constexpr auto kLimit = tbb::global_control::max_allowed_parallelism;

  tbb::global_control mAllowance;
  qzToolkit::qzThreads mThreads;
};

}  // namespace qzQuery
