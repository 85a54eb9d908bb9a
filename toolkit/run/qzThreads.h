#pragma once
// qzThreads: a thread pool with parallel loops and streams. Its owner passes it to whatever may use several threads.
// It is a task arena of oneTBB; two pools at the same time are independent, but share the worker threads of the
// process.

#include <tbb/task_arena.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <functional>

namespace qzToolkit {

class qzThreads {
 public:
  /// At most nbThreads threads, the calling one included; 0 and below: as many as possible. oneTBB runs no more threads
  /// than there are processors, unless the process sets another limit by a tbb::global_control of
  /// max_allowed_parallelism before it makes the pool. The pool sets no process-wide limit.
  explicit qzThreads(int nbThreads);

  /// Threads that may run at once.
  int getNbThreads() const { return mNbThreads; }

  /// Calls function and returns when it has; algorithms of oneTBB in it use the threads of this pool. It runs in the
  /// calling thread, or in another one of the pool if all its threads are busy, so function must not depend on which.
  void execute(const std::function<void()>& function) const;

  /// Splits the numbers 0 to count - 1 into blocks of at most blockSize and calls body(begin, end) once for each, in
  /// any order and from several threads at once. Returns when all are done. The blocks do not depend on the number of
  /// threads. An exception of body ends the loop early and is rethrown here. cancel is polled before each block.
  void forEachBlock(std::size_t count, std::size_t blockSize, const tCancel* cancel,
                    const std::function<void(std::size_t begin, std::size_t end)>& body) const;

  /// Pipelines any number of blocks through nbSlots slots of the caller, numbered from 0, that hold one block each.
  ///
  /// read(slot)   reads the next block into a slot, or returns false at the end; one call at a time
  /// work(slot)   processes a block; several calls at once
  /// write(slot)  writes the block; one call at a time, in reading order. Then the slot is reused.
  ///
  /// Returns when all blocks are written. An exception ends the stream early and is rethrown here: that of the first
  /// block in reading order for which any of the three functions throws, after all earlier blocks are written. So it
  /// does not depend on the number of threads. cancel is polled before the work on each block.
  void streamBlocks(std::size_t nbSlots, const tCancel* cancel, const std::function<bool(std::size_t slot)>& read,
                    const std::function<void(std::size_t slot)>& work,
                    const std::function<void(std::size_t slot)>& write) const;

 private:
  int mNbThreads;
  mutable tbb::task_arena mArena;
};

}  // namespace qzToolkit
