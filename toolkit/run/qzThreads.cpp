#include <toolkit/run/qzThreads.h>

#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_pipeline.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <vector>

// oneTBB is not instrumented for the thread sanitizer, which therefore misses the synchronisation of loops and streams.
// Code compiled from its headers, here and in qzMeshReport.cpp, is not instrumented either, and this file announces the
// synchronisation. Both functions are null in programs without the sanitizer.
extern "C" {
__attribute__((weak)) void __tsan_acquire(void* address);
__attribute__((weak)) void __tsan_release(void* address);
}

namespace qzToolkit {

namespace {

/// For the thread sanitizer: what precedes release() happens before what follows a later acquire().
class tHandOver {
 public:
  void release() {
    if (__tsan_release != nullptr) __tsan_release(this);
  }
  void acquire() {
    if (__tsan_acquire != nullptr) __tsan_acquire(this);
  }
};

/// Calls a function at the end of a scope.
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

/// nbThreads clamped to what oneTBB grants. It ignores larger requests and warns on standard error.
int grantedThreads(int nbThreads) {
  const std::size_t limit = tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism);
  const int most = static_cast<int>(std::min<std::size_t>(limit, std::numeric_limits<int>::max()));
  return nbThreads > 0 ? std::min(nbThreads, most) : most;
}

}  // namespace

qzThreads::qzThreads(int nbThreads) : mNbThreads(grantedThreads(nbThreads)), mArena(mNbThreads) {}

void qzThreads::execute(const std::function<void()>& function) const {
  mArena.execute([&] { function(); });
}

void qzThreads::forEachBlock(std::size_t count, std::size_t blockSize, const tCancel* cancel,
                             const std::function<void(std::size_t, std::size_t)>& body) const {
  const std::size_t nbBlocks = count / blockSize + (count % blockSize != 0);
  tHandOver start, end;
  start.release();
  const auto work = [&](std::size_t block) {
    start.acquire();
    const tAtExit releaseEnd([&] { end.release(); });
    throwIfCanceled(cancel);
    body(block * blockSize, std::min(count, (block + 1) * blockSize));
  };
  const tAtExit acquireEnd([&] { end.acquire(); });
  mArena.execute([&] { tbb::parallel_for(std::size_t(0), nbBlocks, work); });
}

void qzThreads::streamBlocks(std::size_t nbSlots, const tCancel* cancel, const std::function<bool(std::size_t)>& read,
                             const std::function<void(std::size_t)>& work,
                             const std::function<void(std::size_t)>& write) const {
  struct tSlot {
    tHandOver mHandOver;
    std::exception_ptr mFailure;  // rethrown in reading order
  };
  std::vector<tSlot> slots(nbSlots);
  tHandOver reading, writing;  // order successive calls
  const auto guarded = [](tSlot& slot, const auto& stage) {
    slot.mHandOver.acquire();
    const tAtExit releaseSlot([&] { slot.mHandOver.release(); });
    try {
      stage();
    } catch (...) {
      slot.mFailure = std::current_exception();
    }
  };

  // At most nbSlots blocks are in flight and they are written in order, so the next slot is always free.
  std::size_t nbRead = 0;
  bool isEnd = false;
  const auto readNext = [&](tbb::flow_control& control) {
    const std::size_t number = nbRead++ % nbSlots;
    if (!isEnd) {
      reading.acquire();
      const tAtExit releaseReading([&] { reading.release(); });
      guarded(slots[number], [&] { isEnd = !read(number); });
      if (slots[number].mFailure != nullptr) {
        isEnd = true;
        return number;
      }
    }
    if (isEnd) control.stop();
    return number;
  };
  const auto workOn = [&](std::size_t number) {
    if (slots[number].mFailure != nullptr) return number;
    guarded(slots[number], [&] {
      throwIfCanceled(cancel);
      work(number);
    });
    return number;
  };
  const auto writeOut = [&](std::size_t number) {
    tSlot& slot = slots[number];
    slot.mHandOver.acquire();
    const tAtExit releaseSlot([&] { slot.mHandOver.release(); });
    if (slot.mFailure != nullptr) std::rethrow_exception(slot.mFailure);
    writing.acquire();
    const tAtExit releaseWriting([&] { writing.release(); });
    write(number);
  };

  for (tHandOver* handOver : {&reading, &writing}) handOver->release();
  const tAtExit acquireEnd([&] {
    for (tHandOver* handOver : {&reading, &writing}) handOver->acquire();
    for (tSlot& slot : slots) slot.mHandOver.acquire();
  });
  mArena.execute([&] {
    using tbb::filter_mode;
    tbb::parallel_pipeline(nbSlots, tbb::make_filter<void, std::size_t>(filter_mode::serial_in_order, readNext) &
                                        tbb::make_filter<std::size_t, std::size_t>(filter_mode::parallel, workOn) &
                                        tbb::make_filter<std::size_t, void>(filter_mode::serial_in_order, writeOut));
  });
}

}  // namespace qzToolkit
