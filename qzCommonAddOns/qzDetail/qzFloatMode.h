#pragma once
// The processor's floating-point mode, held at its default while the library computes.
// A program linked with -ffast-math starts with flush-to-zero and denormals-are-zero set, and a caller may have changed
// the rounding; either would change results. The check costs a few cycles, a change only happens when it is needed.

#include <xmmintrin.h>

namespace qzDetail {

/// While one lives, SSE arithmetic rounds to nearest, keeps denormals and raises no trap. Puts the caller's mode back,
/// with the exception flags that were raised meanwhile.
class tFloatMode {
 public:
  tFloatMode() : mCallers(_mm_getcsr()) {
    if ((mCallers & ~kFlags) != kDefault) _mm_setcsr(kDefault | (mCallers & kFlags));
  }
  ~tFloatMode() {
    if ((mCallers & ~kFlags) != kDefault) _mm_setcsr(mCallers | (_mm_getcsr() & kFlags));
  }
  tFloatMode(const tFloatMode&) = delete;
  tFloatMode& operator=(const tFloatMode&) = delete;

 private:
  static constexpr unsigned int kFlags = 0x3Fu;      // exceptions raised so far
  static constexpr unsigned int kDefault = 0x1F80u;  // all exceptions masked, round to nearest, denormals kept

  unsigned int mCallers;
};

}  // namespace qzDetail
