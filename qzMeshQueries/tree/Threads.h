#pragma once
// Loops on several threads, those of oneTBB.

#include <cstddef>
#include <functional>

namespace qzMeshQueries::detail {

/// The number of threads to use when so many are asked for; 0 or less: as many as the machine has. Never more than the
/// program allows oneTBB, which would print a warning.
int nbThreadsOf(int threads);

/// Calls work on this thread. Loops in it run on up to so many threads, this one included.
/// Failure: what work throws; std::runtime_error if the system refuses a thread.
void onThreads(int threads, const std::function<void()>& work);

/// Calls work(begin, end) for ranges that together are 0 to count - 1, in any order, in the floating-point mode of
/// qzDetail::tFloatMode. An exception of any of them ends the loop early and leaves through here.
void forEachRange(std::size_t count, const std::function<void(std::size_t begin, std::size_t end)>& work);

/// The same for each number of a range.
template <class Work>
void forEach(std::size_t count, const Work& work) {
  forEachRange(count, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) work(i);
  });
}

}  // namespace qzMeshQueries::detail
