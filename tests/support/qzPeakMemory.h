#pragma once
// How much memory a piece of code holds at its worst. Linked into the executables that name qzPeakMemory.cpp among
// their sources: that file replaces operator new and delete of the whole program, the shared libraries included.

#include <cstddef>

namespace qzTest {

/// Watches what is asked of operator new while it lives. One at a time.
class PeakMemory {
 public:
  PeakMemory();
  /// The most bytes held at once since construction, beyond those held then.
  std::size_t bytes() const;

 private:
  std::size_t mHeldBefore;
};

}  // namespace qzTest
