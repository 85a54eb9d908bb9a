#pragma once
// The processor's floating-point mode, held at its default while the library computes.
// A program linked with -ffast-math starts with flush-to-zero and denormals-are-zero set, and a caller may have changed
// the rounding; either would change results. The check costs a few cycles, a change only happens when it is needed.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <atomic>
#include <type_traits>

namespace qzDetail {

/// While one lives, vector arithmetic rounds to nearest, keeps denormals and raises no trap. Puts the caller's mode
/// back, with the exception flags that were raised meanwhile.
/// To a compiler, arithmetic has nothing to do with the mode. What is read from memory is read, and what is written is
/// written, while one lives; but what a function returns in a register may be computed past its end, where the caller's
/// mode is back: such a result goes through keep.
class tFloatMode {
 public:
  tFloatMode() : mCallers(readFloatControl()) {
    if ((mCallers & ~kFloatFlags) != kFloatDefault) writeFloatControl(kFloatDefault | (mCallers & kFloatFlags));
    stayInOrder();
  }
  ~tFloatMode() {
    stayInOrder();
    if ((mCallers & ~kFloatFlags) != kFloatDefault) writeFloatControl(mCallers | (readFloatControl() & kFloatFlags));
  }
  /// The value, computed here and not later.
  template <class T>
  T keep(T value) const {
#if defined(__GNUC__)
    if constexpr (std::is_same_v<T, float>) {
      computeHere(value);
    } else {
      asm volatile("" : "+m"(value) : : "memory");
    }
#else
    stayInOrder();
#endif
    return value;
  }

  tFloatMode(const tFloatMode&) = delete;
  tFloatMode& operator=(const tFloatMode&) = delete;

 private:
  static void stayInOrder() {
#if defined(__GNUC__)
    asm volatile("" : : : "memory");
#else
    std::atomic_signal_fence(std::memory_order_seq_cst);
#endif
  }

  tFloatControl mCallers;
};

}  // namespace qzDetail
