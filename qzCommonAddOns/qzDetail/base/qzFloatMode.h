#pragma once
// The processor's floating-point mode, held at its default while the library computes.
// A program linked with -ffast-math starts with flush-to-zero and denormals-are-zero set, and a caller may have changed
// the rounding; either would change results. The check costs a few cycles; the mode is written only if it differs.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <atomic>
#include <type_traits>

namespace qzDetail {

/// While one exists, vector arithmetic rounds to nearest, keeps denormals and raises no trap. The destructor restores
/// the caller's mode and keeps the exception flags raised meanwhile.
/// Compilers do not know that arithmetic depends on the mode. Reads and writes of memory stay within the object's
/// lifetime, but a result that a function returns in a register may be computed after the destructor, in the caller's
/// mode. Pass such a result through keep.
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
  /// Forces the compiler to compute value here, not later; returns it.
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
