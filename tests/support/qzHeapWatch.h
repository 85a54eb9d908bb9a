#pragma once
// Counts and refuses allocations. Executables that link the library qzHeapWatch have its operator new and delete, also
// in their shared libraries, and its posix_memalign, which allocates the aligned blocks of four-lane data.

#include <cstddef>
#include <cstdint>

namespace qzTest {

/// Counts calls of operator new and delete and of the aligned allocator during its lifetime. One at a time.
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

/// Refuses allocation number n after its construction, counted from 0: operator new throws
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
