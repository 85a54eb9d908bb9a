#pragma once
// Threads of oneTBB for one call.

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cstddef>

namespace qzMeshQueries::detail {

/// The number of threads to use when so many are asked for; 0: as many as the machine has. Never more than the program
/// allows, as oneTBB prints a warning then.
inline int nbThreadsOf(int threads) {
  const auto most = int(tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism));
  return threads > 0 ? std::min(threads, most) : most;
}

/// Runs work on so many threads, the calling one among them. An exception of any of them leaves through here.
template <class Work>
void onThreads(int threads, const Work& work) {
  tbb::task_arena arena(nbThreadsOf(threads));
  arena.execute(work);
}

}  // namespace qzMeshQueries::detail
