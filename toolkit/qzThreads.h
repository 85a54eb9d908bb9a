#pragma once
// qzThreads: parallel loops over a given number of threads.

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
  /// An exception of body ends the loop early and comes out here.
  void forEachBlock(std::size_t count, std::size_t blockSize,
                    const std::function<void(std::size_t begin, std::size_t end)>& body) const;

 private:
  int mNbThreads;
  tbb::global_control mLimit;
  mutable tbb::task_arena mArena;
};

}  // namespace qzToolkit
