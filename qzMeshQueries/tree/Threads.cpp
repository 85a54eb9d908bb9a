#include <qzMeshQueries/tree/Threads.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>

// oneTBB is not instrumented for the thread sanitizer, which therefore does not see how a loop synchronises. Code that is
// compiled from its headers must not be instrumented either: it is in this file, which tells the sanitizer instead.
#ifdef QZ_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace qzMeshQueries::detail {

namespace {

/// For the thread sanitizer: what precedes release() happens before what follows a later acquire().
class HandOver {
 public:
#ifdef QZ_THREAD_SANITIZER
  void release() {
    __tsan_release(this);
  }
  void acquire() {
    __tsan_acquire(this);
  }
#else
  void release() {}
  void acquire() {}
#endif
};

/// Calls a function at the end of a scope, also when an exception leaves it.
template <class Function>
struct AtExit {
  Function function;
  explicit AtExit(Function f) : function(f) {}
  ~AtExit() { function(); }
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;
};

}  // namespace

int nbThreadsOf(int threads) {
  const auto most = int(tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism));
  return threads > 0 ? std::min(threads, most) : most;
}

void onThreads(int threads, const std::function<void()>& work) {
  tbb::task_arena arena(nbThreadsOf(threads));
  arena.execute(work);
}

void forEachRange(std::size_t count, const std::function<void(std::size_t begin, std::size_t end)>& work) {
  HandOver start, finish;
  start.release();
  const AtExit acquireFinish([&] { finish.acquire(); });
  tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count), [&](const tbb::blocked_range<std::size_t>& range) {
    start.acquire();
    const AtExit releaseFinish([&] { finish.release(); });
    const qzDetail::tFloatMode mode;
    work(range.begin(), range.end());
  });
}

}  // namespace qzMeshQueries::detail
