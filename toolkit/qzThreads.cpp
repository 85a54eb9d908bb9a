#include <tbb/parallel_for.h>
#include <toolkit/qzThreads.h>

#include <algorithm>

// oneTBB is not built with the thread sanitizer, which therefore does not see how a loop hands work over and waits for
// it. So this file is compiled without it as well, and tells it, if the program has one. Null if it has none.
extern "C" {
__attribute__((weak)) void __tsan_acquire(void* address);
__attribute__((weak)) void __tsan_release(void* address);
}

namespace qzToolkit {

namespace {

/// What happened before a release happened before the acquires that follow.
class tHandOver {
 public:
  void release() {
    if (__tsan_release != nullptr) __tsan_release(this);
  }
  void acquire() {
    if (__tsan_acquire != nullptr) __tsan_acquire(this);
  }
};

/// Calls a function when a scope is left, by an exception, too.
template <class Function>
class tAtExit {
 public:
  explicit tAtExit(Function function) : mFunction(function) {}
  ~tAtExit() { mFunction(); }
  tAtExit(const tAtExit&) = delete;
  tAtExit& operator=(const tAtExit&) = delete;

 private:
  Function mFunction;
};

}  // namespace

qzThreads::qzThreads(int nbThreads)
    : mNbThreads(nbThreads > 0 ? nbThreads : tbb::this_task_arena::max_concurrency()),
      mLimit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(mNbThreads)),
      mArena(mNbThreads) {}

void qzThreads::forEachBlock(std::size_t count, std::size_t blockSize,
                             const std::function<void(std::size_t, std::size_t)>& body) const {
  const std::size_t nbBlocks = count / blockSize + (count % blockSize != 0);
  tHandOver start, end;
  start.release();
  const auto work = [&](std::size_t block) {
    start.acquire();
    const tAtExit releaseEnd([&] { end.release(); });
    body(block * blockSize, std::min(count, (block + 1) * blockSize));
  };
  const tAtExit acquireEnd([&] { end.acquire(); });
  mArena.execute([&] { tbb::parallel_for(std::size_t(0), nbBlocks, work); });
}

}  // namespace qzToolkit
