#pragma once
// The operations of qzLanes.h in NEON, for AArch64. Include qzLanes.h, not this.
//
// NEON's minimum and maximum propagate NaN and order zeros, and its conversions to integers saturate. Comparisons give
// what qzLanes.h promises instead.

#include <qzCommonAddOns/qzDetail/base/qzInline.h>

#include <arm_neon.h>

#include <cstdint>
#include <limits>

namespace qzDetail {

struct tFloat4 {
  float32x4_t mLanes;
};
struct tMask4 {
  uint32x4_t mLanes;
};
struct tInt4 {
  int32x4_t mLanes;
};

// Constants and memory.

QZ_ALWAYS_INLINE tFloat4 float4(float all) {
  return {vdupq_n_f32(all)};
}
QZ_ALWAYS_INLINE tFloat4 float4(float x, float y, float z, float w) {
  return {float32x4_t{x, y, z, w}};
}
QZ_ALWAYS_INLINE tInt4 int4(std::int32_t all) {
  return {vdupq_n_s32(all)};
}
QZ_ALWAYS_INLINE tInt4 int4(std::int32_t x, std::int32_t y, std::int32_t z, std::int32_t w) {
  return {int32x4_t{x, y, z, w}};
}
QZ_ALWAYS_INLINE tMask4 mask4(bool all) {
  return {vdupq_n_u32(all ? 0xFFFFFFFFu : 0u)};
}
/// [ word  0  0  0 ], as bits.
QZ_ALWAYS_INLINE tFloat4 firstWord(std::uint32_t word) {
  return {vreinterpretq_f32_u32(uint32x4_t{word, 0, 0, 0})};
}

QZ_ALWAYS_INLINE tFloat4 load(const float* from) {
  return {vld1q_f32(from)};
}
QZ_ALWAYS_INLINE tInt4 load(const std::uint32_t* from) {
  return {vreinterpretq_s32_u32(vld1q_u32(from))};
}
QZ_ALWAYS_INLINE tFloat4 loadUnaligned(const float* from) {
  return {vld1q_f32(from)};
}
QZ_ALWAYS_INLINE void store(float* to, tFloat4 a) {
  vst1q_f32(to, a.mLanes);
}
QZ_ALWAYS_INLINE void store(std::int32_t* to, tInt4 a) {
  vst1q_s32(to, a.mLanes);
}
/// The bits of floats.
QZ_ALWAYS_INLINE void store(std::uint32_t* to, tFloat4 a) {
  vst1q_u32(to, vreinterpretq_u32_f32(a.mLanes));
}
QZ_ALWAYS_INLINE void storeUnaligned(float* to, tFloat4 a) {
  vst1q_f32(to, a.mLanes);
}

// Floats.

QZ_ALWAYS_INLINE tFloat4 operator+(tFloat4 a, tFloat4 b) {
  return {vaddq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator-(tFloat4 a, tFloat4 b) {
  return {vsubq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator*(tFloat4 a, tFloat4 b) {
  return {vmulq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator/(tFloat4 a, tFloat4 b) {
  return {vdivq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 squareRoot(tFloat4 a) {
  return {vsqrtq_f32(a.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 smallerOf(tFloat4 x, tFloat4 y) {
  return {vbslq_f32(vcltq_f32(x.mLanes, y.mLanes), x.mLanes, y.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 largerOf(tFloat4 x, tFloat4 y) {
  return {vbslq_f32(vcgtq_f32(x.mLanes, y.mLanes), x.mLanes, y.mLanes)};
}
/// Flips the sign bits of the lanes in which signs is -0.0f; the others of signs are 0.0f.
QZ_ALWAYS_INLINE tFloat4 flipSigns(tFloat4 a, tFloat4 signs) {
  return {vreinterpretq_f32_u32(veorq_u32(vreinterpretq_u32_f32(a.mLanes), vreinterpretq_u32_f32(signs.mLanes)))};
}
QZ_ALWAYS_INLINE tFloat4 operator-(tFloat4 a) {
  return flipSigns(a, float4(-0.0f));
}
/// Clears the sign bits.
QZ_ALWAYS_INLINE tFloat4 magnitude(tFloat4 a) {
  return {vreinterpretq_f32_u32(vandq_u32(vreinterpretq_u32_f32(a.mLanes), vdupq_n_u32(0x7FFFFFFFu)))};
}
/// Bitwise or.
QZ_ALWAYS_INLINE tFloat4 uniteBits(tFloat4 a, tFloat4 b) {
  return {vreinterpretq_f32_u32(vorrq_u32(vreinterpretq_u32_f32(a.mLanes), vreinterpretq_u32_f32(b.mLanes)))};
}

QZ_ALWAYS_INLINE tMask4 operator<(tFloat4 a, tFloat4 b) {
  return {vcltq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator<=(tFloat4 a, tFloat4 b) {
  return {vcleq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator>(tFloat4 a, tFloat4 b) {
  return {vcgtq_f32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator>=(tFloat4 a, tFloat4 b) {
  return {vcgeq_f32(a.mLanes, b.mLanes)};
}
/// The lanes where neither is NaN.
QZ_ALWAYS_INLINE tMask4 areOrdered(tFloat4 a, tFloat4 b) {
  return {vandq_u32(vceqq_f32(a.mLanes, a.mLanes), vceqq_f32(b.mLanes, b.mLanes))};
}

// Masks.

QZ_ALWAYS_INLINE tMask4 operator&(tMask4 a, tMask4 b) {
  return {vandq_u32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator|(tMask4 a, tMask4 b) {
  return {vorrq_u32(a.mLanes, b.mLanes)};
}
/// a and not b.
QZ_ALWAYS_INLINE tMask4 except(tMask4 a, tMask4 b) {
  return {vbicq_u32(a.mLanes, b.mLanes)};
}
/// Bit k for lane k.
QZ_ALWAYS_INLINE int bitsOf(tMask4 a) {
  return static_cast<int>(vaddvq_u32(vandq_u32(a.mLanes, uint32x4_t{1, 2, 4, 8})));
}
/// The sign bit of lane k at bit k.
QZ_ALWAYS_INLINE int signBitsOf(tFloat4 a) {
  return bitsOf({vreinterpretq_u32_s32(vshrq_n_s32(vreinterpretq_s32_f32(a.mLanes), 31))});
}
/// a where the mask is set, b elsewhere.
QZ_ALWAYS_INLINE tFloat4 select(tMask4 mask, tFloat4 a, tFloat4 b) {
  return {vbslq_f32(mask.mLanes, a.mLanes, b.mLanes)};
}
/// a where the mask is set, 0.0f elsewhere.
QZ_ALWAYS_INLINE tFloat4 zeroUnless(tMask4 mask, tFloat4 a) {
  return select(mask, a, float4(0.0f));
}
/// 0.0f where the mask is set, a elsewhere.
QZ_ALWAYS_INLINE tFloat4 zeroWhere(tMask4 mask, tFloat4 a) {
  return select(mask, float4(0.0f), a);
}

// Order of lanes.

/// [ a.k0  a.k1  b.k2  b.k3 ]
template <int k0, int k1, int k2, int k3>
QZ_ALWAYS_INLINE tFloat4 shuffle(tFloat4 a, tFloat4 b) {
  return {__builtin_shufflevector(a.mLanes, b.mLanes, k0, k1, k2 + 4, k3 + 4)};
}
/// [ a.k0  a.k1  a.k2  a.k3 ]
template <int k0, int k1, int k2, int k3>
QZ_ALWAYS_INLINE tFloat4 shuffle(tFloat4 a) {
  return shuffle<k0, k1, k2, k3>(a, a);
}
/// [ a.2  a.3  a.2  a.3 ]
QZ_ALWAYS_INLINE tFloat4 upperPair(tFloat4 a) {
  return shuffle<2, 3, 2, 3>(a);
}
/// [ a.0  a.1  b.0  b.1 ]
QZ_ALWAYS_INLINE tFloat4 lowerPairs(tFloat4 a, tFloat4 b) {
  return shuffle<0, 1, 0, 1>(a, b);
}
/// [ a.0  b.0  a.1  b.1 ]
QZ_ALWAYS_INLINE tFloat4 interleaveLower(tFloat4 a, tFloat4 b) {
  return {vzip1q_f32(a.mLanes, b.mLanes)};
}
/// [ b.0  a.1  a.2  a.3 ]
QZ_ALWAYS_INLINE tFloat4 withFirst(tFloat4 a, tFloat4 b) {
  return {vcopyq_laneq_f32(a.mLanes, 0, b.mLanes, 0)};
}
/// Four rows to four columns.
QZ_ALWAYS_INLINE void transpose(tFloat4& a, tFloat4& b, tFloat4& c, tFloat4& d) {
  const tFloat4 ab = interleaveLower(a, b), cd = interleaveLower(c, d);  // [ a.0  b.0  a.1  b.1 ]
  const tFloat4 abUpper = {vzip2q_f32(a.mLanes, b.mLanes)}, cdUpper = {vzip2q_f32(c.mLanes, d.mLanes)};
  a = lowerPairs(ab, cd);                     // [ a.0  b.0  c.0  d.0 ]
  b = shuffle<2, 3, 2, 3>(ab, cd);            // [ a.1  b.1  c.1  d.1 ]
  c = lowerPairs(abUpper, cdUpper);           // [ a.2  b.2  c.2  d.2 ]
  d = shuffle<2, 3, 2, 3>(abUpper, cdUpper);  // [ a.3  b.3  c.3  d.3 ]
}
/// Lane 0 as a number.
QZ_ALWAYS_INLINE float firstOf(tFloat4 a) {
  return vgetq_lane_f32(a.mLanes, 0);
}

// Integers. Sums wrap.

QZ_ALWAYS_INLINE tInt4 truncate(tFloat4 a) {
  const tMask4 isHeld = (a >= float4(-0x1p31f)) & (a < float4(0x1p31f));
  const tInt4 smallest = int4(std::numeric_limits<std::int32_t>::min());
  return {vbslq_s32(isHeld.mLanes, vcvtq_s32_f32(a.mLanes), smallest.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator+(tInt4 a, tInt4 b) {
  return {vaddq_s32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator-(tInt4 a, tInt4 b) {
  return {vsubq_s32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator&(tInt4 a, tInt4 b) {
  return {vandq_s32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator|(tInt4 a, tInt4 b) {
  return {vorrq_s32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator==(tInt4 a, tInt4 b) {
  return {vreinterpretq_s32_u32(vceqq_s32(a.mLanes, b.mLanes))};
}
QZ_ALWAYS_INLINE tInt4 operator<(tInt4 a, tInt4 b) {
  return {vreinterpretq_s32_u32(vcltq_s32(a.mLanes, b.mLanes))};
}
QZ_ALWAYS_INLINE tInt4 operator>(tInt4 a, tInt4 b) {
  return b < a;
}
/// All ones where the sign bit is set.
QZ_ALWAYS_INLINE tInt4 signs(tInt4 a) {
  return {vshrq_n_s32(a.mLanes, 31)};
}
QZ_ALWAYS_INLINE tInt4 signs(tFloat4 a) {
  return {vshrq_n_s32(vreinterpretq_s32_f32(a.mLanes), 31)};
}
/// a where the mask, of all ones or all zeros, is set, b elsewhere.
QZ_ALWAYS_INLINE tInt4 select(tInt4 mask, tInt4 a, tInt4 b) {
  return {vbslq_s32(vreinterpretq_u32_s32(mask.mLanes), a.mLanes, b.mLanes)};
}
/// All ones and all zeros as a mask of floats.
QZ_ALWAYS_INLINE tMask4 maskOf(tInt4 a) {
  return {vreinterpretq_u32_s32(a.mLanes)};
}
/// Rounded to nearest.
QZ_ALWAYS_INLINE tFloat4 toFloats(tInt4 a) {
  return {vcvtq_f32_s32(a.mLanes)};
}
/// Lanes from 0 to 255 as the bytes of a word, lane 0 lowest.
QZ_ALWAYS_INLINE std::uint32_t packBytes(tInt4 a) {
  return vaddvq_u32(vshlq_u32(vreinterpretq_u32_s32(a.mLanes), int32x4_t{0, 8, 16, 24}));
}
/// The same bits as floats.
QZ_ALWAYS_INLINE tFloat4 asFloats(tInt4 a) {
  return {vreinterpretq_f32_s32(a.mLanes)};
}

// Single numbers.

/// Toward zero; the smallest integer for NaN and values out of the range of 64 bits.
QZ_ALWAYS_INLINE std::int64_t truncate64(float x) {
  return x >= -0x1p63f && x < 0x1p63f ? static_cast<std::int64_t>(x) : std::int64_t(std::uint64_t(1) << 63);
}

/// Prefetches the cache line at an address, which may be invalid.
QZ_ALWAYS_INLINE void prefetchLine(const void* line) {
  __builtin_prefetch(line);
}

// The control register. Exceptions raised so far are in a register of their own, so there are no flags in this one.

using tFloatControl = std::uint64_t;
constexpr tFloatControl kFloatFlags = 0;
constexpr tFloatControl kFloatDefault = 0;  // no trap, round to nearest, denormals and NaN kept

QZ_ALWAYS_INLINE tFloatControl readFloatControl() {
  tFloatControl control;
  asm volatile("mrs %0, fpcr" : "=r"(control));
  return control;
}
QZ_ALWAYS_INLINE void writeFloatControl(tFloatControl control) {
  asm volatile("msr fpcr, %0" : : "r"(control) : "memory");
}
/// Forces the compiler to compute x before this point.
QZ_ALWAYS_INLINE void computeHere(float& x) {
  asm volatile("" : "+w"(x) : : "memory");
}
QZ_ALWAYS_INLINE void computeHere(double& x) {
  asm volatile("" : "+w"(x) : : "memory");
}

}  // namespace qzDetail
