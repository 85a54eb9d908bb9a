#pragma once
// Four lanes at a time: all vector instructions of the library, its prefetches and its access to the floating-point
// control register. Each instruction set has one header, included below; the rest of the library names no intrinsic.
//
//   tFloat4   four floats                       lane 0 comes first in memory, in argument lists and in comments
//   tMask4    results of comparing them         every lane all ones or all zeros
//   tInt4     four 32-bit signed integers       comparisons give a tInt4 of all ones or all zeros
//
// Arithmetic is that of float, lane by lane: one rounding per operation, never fused. Bit for bit:
//
//   smallerOf(x, y)   x < y ? x : y             y stays when the two are equal and when one is NaN
//   largerOf(x, y)    x > y ? x : y
//   -x                flips the sign bit        also of zeros and NaN
//   truncate(x)       toward zero               the smallest integer for NaN and values out of range
//
// Every function is always inlined, see qzInline.h.

#include <qzCommonAddOns/qzDetail/base/qzInline.h>
#if defined(__aarch64__)
#include <qzCommonAddOns/qzDetail/base/qzLanesNeon.h>
#else
#include <qzCommonAddOns/qzDetail/base/qzLanesSse.h>
#endif

namespace qzDetail {

constexpr int kAllLanes = 0xF;  // bits of a mask with all lanes set
constexpr int kXyz = 0x7;       // lanes 0 to 2

QZ_ALWAYS_INLINE tMask4& operator&=(tMask4& a, tMask4 b) {
  return a = a & b;
}
QZ_ALWAYS_INLINE tMask4& operator|=(tMask4& a, tMask4 b) {
  return a = a | b;
}

/// One lane in all lanes.
template <int kLane>
QZ_ALWAYS_INLINE tFloat4 spread(tFloat4 a) {
  return shuffle<kLane, kLane, kLane, kLane>(a);  // [ a.k  a.k  a.k  a.k ]
}

/// One lane as a number.
template <int kLane>
QZ_ALWAYS_INLINE float laneOf(tFloat4 a) {
  return firstOf(spread<kLane>(a));
}

}  // namespace qzDetail
