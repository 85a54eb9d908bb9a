#pragma once
// Bit scans. Bits are numbered from 0, the lowest.

#include <qzCommonAddOns/qzDetail/base/qzInline.h>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

#include <cstdint>

namespace qzDetail {

/// Number of the highest set bit; value must not be 0.
QZ_ALWAYS_INLINE unsigned int highestBit(std::uint64_t value) {
#if defined(_MSC_VER)
  unsigned long bit;
  _BitScanReverse64(&bit, value);
  return bit;
#else
  return 63u - static_cast<unsigned int>(__builtin_clzll(value));
#endif
}

/// Number of the lowest set bit; value must not be 0.
QZ_ALWAYS_INLINE int lowestBit(int value) {
#if defined(_MSC_VER)
  unsigned long bit;
  _BitScanForward(&bit, static_cast<unsigned long>(value));
  return static_cast<int>(bit);
#else
  return __builtin_ctz(static_cast<unsigned int>(value));
#endif
}

}  // namespace qzDetail
