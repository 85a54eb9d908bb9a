#pragma once
// qzThreads: parallel loops and streams over a given number of threads.

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <cstddef>
#include <functional>

namespace qzToolkit {

class qzThreads {
 public:
  /// nbThreads threads, more than the machine has if need be; 0 and below: as many as the machine has.
  /// The limit holds for everything that uses oneTBB while the object lives, so keep one at a time.
  explicit qzThreads(int nbThreads);

  int getNbThreads() const { return mNbThreads; }

  /// Calls body(begin, end) once for every block of at most blockSize of the numbers 0 to count - 1, in any order and
  /// from several threads at once, and returns when all are done. The blocks do not depend on the number of threads.
  /// An exception of body ends the loop early and comes out here, and so does that of checkInterruption(), which is
  /// asked before each block.
  void forEachBlock(std::size_t count, std::size_t blockSize,
                    const std::function<void(std::size_t begin, std::size_t end)>& body) const;

  /// Streams blocks of work, as many as there are, through a few places that the caller has for one block each,
  /// numbered from 0 to nbSlots - 1.
  ///
  /// read(slot)   puts the next block into a place, or returns false when there is none; one call at a time
  /// work(slot)   works on a block; several calls at once
  /// write(slot)  takes the block away; one call at a time, in the order of reading. Then the place is used again, so
  ///              that never more than nbSlots blocks exist.
  ///
  /// Returns when all blocks are written. An exception ends the stream early and comes out here: that of the first
  /// block, in the order of reading, that has one in any of the three, after all blocks before it were written. So it
  /// does not depend on the number of threads. checkInterruption() is asked before the work on each block.
  void streamBlocks(std::size_t nbSlots, const std::function<bool(std::size_t slot)>& read,
                    const std::function<void(std::size_t slot)>& work,
                    const std::function<void(std::size_t slot)>& write) const;

 private:
  int mNbThreads;
  tbb::global_control mLimit;
  mutable tbb::task_arena mArena;
};

}  // namespace qzToolkit
