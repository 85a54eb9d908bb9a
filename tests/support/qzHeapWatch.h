#pragma once
// What a piece of code asks of the heap, and what it does when it gets nothing. Linked into the executables that name
// qzHeapWatch.cpp among their sources: that file stands in for operator new and delete of the whole program, the shared
// libraries included, and for the posix_memalign under the aligned blocks of four-lane data.

#include <cstddef>
#include <cstdint>

namespace qzTest {

/// Counts what goes through operator new and delete while it lives, and what the aligned allocator hands out. One at a
/// time.
class HeapWatch {
 public:
  HeapWatch();
  ~HeapWatch();
  HeapWatch(const HeapWatch&) = delete;
  HeapWatch& operator=(const HeapWatch&) = delete;

  std::size_t nbAllocations() const;  ///< aligned blocks included
  std::size_t nbAlignedBlocks() const;
  std::size_t nbReleases() const;  ///< aligned blocks, which leave through std::free, do not count
  /// Place of release number i, in order of time, for the first kNoted releases.
  const void* released(std::size_t i) const;
  static constexpr std::size_t kNoted = 16;

  /// The most bytes of operator new held at once since construction, beyond those held then.
  std::size_t peak() const;
  /// The bytes of operator new held now beyond those held at construction.
  std::size_t held() const;

 private:
  std::size_t mHeldBefore;
};

/// Refuses allocation number n from its construction on, counted from 0, if it gets that far: operator new throws
/// std::bad_alloc, the aligned allocator returns null. eOnce: later ones succeed. eFromThenOn: they fail as well.
class RefusedAllocation {
 public:
  enum Span { eOnce, eFromThenOn };
  enum Kind { eOperatorNew, eAlignedBlock };  ///< what is counted and refused; the other kind succeeds
  explicit RefusedAllocation(std::uint64_t n, Span span = eOnce, Kind kind = eOperatorNew);
  ~RefusedAllocation();
  RefusedAllocation(const RefusedAllocation&) = delete;
  RefusedAllocation& operator=(const RefusedAllocation&) = delete;
  bool hasHappened() const;
};

}  // namespace qzTest
