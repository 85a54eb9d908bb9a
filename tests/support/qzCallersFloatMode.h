#pragma once
// Floating-point modes that a caller may run in, as after linking with -ffast-math.

#include <xmmintrin.h>

namespace qzTest {

/// Sets the processor's floating-point mode while it lives: all exceptions masked and their flags clear.
class CallersFloatMode {
 public:
  enum Mode : unsigned int {
    eDefault = 0,  ///< rounds to nearest, keeps denormals
    eFlushToZero = 0x8000,
    eDenormalsAreZero = 0x0040,
    eRoundDown = 0x2000,
    eRoundUp = 0x4000,
    eRoundToZero = 0x6000,
    eFastMath = eFlushToZero | eDenormalsAreZero,
    eFastMathRoundUp = eFastMath | eRoundUp,
  };
  /// All but the default.
  static constexpr Mode kModes[] = {eFlushToZero, eDenormalsAreZero, eRoundDown,      eRoundUp,
                                    eRoundToZero, eFastMath,         eFastMathRoundUp};
  static constexpr unsigned int kNbModes = sizeof kModes / sizeof kModes[0];

  explicit CallersFloatMode(Mode mode) : mMode(mode), mPrevious(_mm_getcsr()) { _mm_setcsr(kAllMasked | mMode); }
  ~CallersFloatMode() { _mm_setcsr(mPrevious); }
  CallersFloatMode(const CallersFloatMode&) = delete;
  CallersFloatMode& operator=(const CallersFloatMode&) = delete;

  /// Whether this is the processor's mode now, whatever exception flags were raised.
  static bool isNow(Mode mode) { return (_mm_getcsr() & ~kExceptionFlags) == (kAllMasked | mode); }
  bool isKept() const { return isNow(mMode); }

  static unsigned int exceptionFlags() { return _mm_getcsr() & kExceptionFlags; }
  static constexpr unsigned int kDivisionByZero = 0x04;

 private:
  static constexpr unsigned int kAllMasked = 0x1F80, kExceptionFlags = 0x3F;
  Mode mMode;
  unsigned int mPrevious;
};

}  // namespace qzTest
