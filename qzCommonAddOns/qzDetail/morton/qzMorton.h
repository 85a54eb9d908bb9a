#pragma once
// Morton codes: the bits of grid coordinates interleaved, so that codes that share their top bits share a cell.

#include <qzCommonAddOns/qzDetail/base/qzLanes.h>

#include <cstdint>

namespace qzDetail {

/// Table of all ten-bit numbers with bit k moved to bit 3k.
struct tSpread3 {
  std::uint32_t mOf[1024];

  constexpr tSpread3() : mOf() {
    for (std::uint32_t q = 0; q < 1024; ++q) {
      for (unsigned int bit = 0; bit < 10; ++bit) mOf[q] |= (q >> bit & 1u) << (3 * bit);
    }
  }
};
inline constexpr tSpread3 kSpread3;

/// Bit k of a coordinate of up to 21 bits to bit 3k.
inline std::uint64_t spreadBits3(std::uint32_t q) {
  return kSpread3.mOf[q & 1023] | std::uint64_t(kSpread3.mOf[q >> 10 & 1023]) << 30 | std::uint64_t(q >> 20) << 60;
}

/// x at bits 0, 3, 6, ..., y at bits 1, 4, 7, ..., z at bits 2, 5, 8, ...
inline std::uint64_t encodeMorton3(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return spreadBits3(x) | spreadBits3(y) << 1 | spreadBits3(z) << 2;
}

/// Bit k of a coordinate of up to 16 bits to bit 2k.
inline std::uint32_t spreadBits2(std::uint32_t q) {
  q = (q | q << 8) & 0x00FF00FFu;
  q = (q | q << 4) & 0x0F0F0F0Fu;
  q = (q | q << 2) & 0x33333333u;
  q = (q | q << 1) & 0x55555555u;
  return q;
}

/// x at bits 0, 2, 4, ..., y at bits 1, 3, 5, ...
inline std::uint32_t encodeMorton2(std::uint32_t x, std::uint32_t y) {
  return spreadBits2(x) | spreadBits2(y) << 1;
}

/// One axis of the quantisation grid: 2^bits cells from origin on.
struct tGridAxis {
  float mOrigin, mScale;

  /// Cell of a coordinate: truncated toward zero to a 64-bit integer, cut to its low 32 bits and clamped to the last
  /// cell. So a coordinate a cell or more below the origin is in the last cell, a NaN or an infinity in cell 0.
  std::uint32_t cellOf(float coordinate, std::uint32_t lastCell) const {
    const auto cell = static_cast<std::uint32_t>(truncate64((coordinate - mOrigin) * mScale));
    return cell < lastCell ? cell : lastCell;
  }
};

/// One axis of the grid of a cube (in 2D a square) with this edge, centred between min and max.
inline tGridAxis gridAxis(float min, float max, float edge, unsigned int bits) {
  return {(min + max) * 0.5f - edge * 0.5f, static_cast<float>(1u << bits) / edge};
}

}  // namespace qzDetail
