#pragma once
// What a piece of code asks of the heap. Linked into the executables that name qzAllocationWatch.cpp among their
// sources: that file replaces operator new and delete of the whole program, the shared libraries included.

#include <cstddef>

namespace qzTest {

/// Counts allocations and notes the first releases while it lives. One at a time.
class AllocationWatch {
 public:
  AllocationWatch();
  ~AllocationWatch();
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;

  std::size_t nbAllocations() const;
  std::size_t nbReleases() const;
  /// Place of release number i, in order of time, for the first kNoted releases.
  const void* released(std::size_t i) const;
  static constexpr std::size_t kNoted = 16;
};

}  // namespace qzTest
