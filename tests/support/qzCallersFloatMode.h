#pragma once
// A caller whose processor does not round to nearest or does not keep denormals, as after linking with -ffast-math.

#include <xmmintrin.h>

namespace qzTest {

/// Sets a floating-point mode while it lives.
class CallersFloatMode {
 public:
  enum Mode : unsigned int {
    eFlushToZero = 0x8000,
    eDenormalsAreZero = 0x0040,
    eRoundDown = 0x2000,
    eRoundUp = 0x4000,
    eRoundToZero = 0x6000,
    eFastMath = eFlushToZero | eDenormalsAreZero,
  };
  static constexpr Mode kModes[] = {eFlushToZero, eDenormalsAreZero, eRoundDown, eRoundUp, eRoundToZero, eFastMath};

  explicit CallersFloatMode(Mode mode) : mMode(kAllMasked | mode), mPrevious(_mm_getcsr()) { _mm_setcsr(mMode); }
  ~CallersFloatMode() { _mm_setcsr(mPrevious); }
  CallersFloatMode(const CallersFloatMode&) = delete;
  CallersFloatMode& operator=(const CallersFloatMode&) = delete;

  /// Whether the mode is still the one that was set, whatever exceptions were noted since.
  bool isKept() const { return (_mm_getcsr() & ~kExceptionFlags) == mMode; }

 private:
  static constexpr unsigned int kAllMasked = 0x1F80, kExceptionFlags = 0x3F;
  unsigned int mMode, mPrevious;
};

}  // namespace qzTest
