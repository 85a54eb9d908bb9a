#pragma once
// How much memory a piece of code holds, and what it does when there is none. Linked into the executables that name
// qzHeapMeter.cpp among their sources: that file replaces operator new and delete of the whole program, the shared
// libraries included.

#include <cstddef>
#include <cstdint>

namespace qzTest {

/// Measures what is asked of operator new while it lives. One at a time.
class HeapMeter {
 public:
  HeapMeter();
  /// The most bytes held at once since construction, beyond those held then.
  std::size_t peak() const;
  /// The bytes held now beyond those held at construction.
  std::size_t held() const;

 private:
  std::size_t mHeldBefore;
};

/// Makes allocation number n from its construction on, counted from 0, throw std::bad_alloc, if it gets that far.
class RefusedAllocation {
 public:
  explicit RefusedAllocation(std::uint64_t n);
  ~RefusedAllocation();
  RefusedAllocation(const RefusedAllocation&) = delete;
  RefusedAllocation& operator=(const RefusedAllocation&) = delete;
  bool hasHappened() const;
};

}  // namespace qzTest
