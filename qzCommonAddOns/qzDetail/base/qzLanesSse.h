#pragma once
// The operations of qzLanes.h in SSE2; select uses SSE4.1 where the compiler may. Include qzLanes.h, not this.

#include <qzCommonAddOns/qzDetail/base/qzInline.h>

#include <emmintrin.h>
#if defined(__SSE4_1__)
#include <smmintrin.h>
#endif

#include <cstdint>

namespace qzDetail {

struct tFloat4 {
  __m128 mLanes;
};
struct tMask4 {
  __m128 mLanes;
};
struct tInt4 {
  __m128i mLanes;
};

// Constants and memory. load and store take addresses of 16-byte alignment.

QZ_ALWAYS_INLINE tFloat4 float4(float all) {
  return {_mm_set1_ps(all)};
}
QZ_ALWAYS_INLINE tFloat4 float4(float x, float y, float z, float w) {
  return {_mm_setr_ps(x, y, z, w)};
}
QZ_ALWAYS_INLINE tInt4 int4(std::int32_t all) {
  return {_mm_set1_epi32(all)};
}
QZ_ALWAYS_INLINE tInt4 int4(std::int32_t x, std::int32_t y, std::int32_t z, std::int32_t w) {
  return {_mm_setr_epi32(x, y, z, w)};
}
QZ_ALWAYS_INLINE tMask4 mask4(bool all) {
  return {_mm_castsi128_ps(_mm_set1_epi32(all ? -1 : 0))};
}
/// [ word  0  0  0 ], as bits.
QZ_ALWAYS_INLINE tFloat4 firstWord(std::uint32_t word) {
  return {_mm_castsi128_ps(_mm_cvtsi32_si128(static_cast<int>(word)))};
}

QZ_ALWAYS_INLINE tFloat4 load(const float* from) {
  return {_mm_load_ps(from)};
}
QZ_ALWAYS_INLINE tInt4 load(const std::uint32_t* from) {
  return {_mm_load_si128(reinterpret_cast<const __m128i*>(from))};
}
QZ_ALWAYS_INLINE tFloat4 loadUnaligned(const float* from) {
  return {_mm_loadu_ps(from)};
}
QZ_ALWAYS_INLINE void store(float* to, tFloat4 a) {
  _mm_store_ps(to, a.mLanes);
}
QZ_ALWAYS_INLINE void store(std::int32_t* to, tInt4 a) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to), a.mLanes);
}
/// The bits of floats.
QZ_ALWAYS_INLINE void store(std::uint32_t* to, tFloat4 a) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to), _mm_castps_si128(a.mLanes));
}
QZ_ALWAYS_INLINE void storeUnaligned(float* to, tFloat4 a) {
  _mm_storeu_ps(to, a.mLanes);
}

// Floats.

QZ_ALWAYS_INLINE tFloat4 operator+(tFloat4 a, tFloat4 b) {
  return {_mm_add_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator-(tFloat4 a, tFloat4 b) {
  return {_mm_sub_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator*(tFloat4 a, tFloat4 b) {
  return {_mm_mul_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator/(tFloat4 a, tFloat4 b) {
  return {_mm_div_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 squareRoot(tFloat4 a) {
  return {_mm_sqrt_ps(a.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 smallerOf(tFloat4 x, tFloat4 y) {
  return {_mm_min_ps(x.mLanes, y.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 largerOf(tFloat4 x, tFloat4 y) {
  return {_mm_max_ps(x.mLanes, y.mLanes)};
}
/// Flips the sign bits of the lanes in which signs is -0.0f; the others of signs are 0.0f.
QZ_ALWAYS_INLINE tFloat4 flipSigns(tFloat4 a, tFloat4 signs) {
  return {_mm_xor_ps(a.mLanes, signs.mLanes)};
}
QZ_ALWAYS_INLINE tFloat4 operator-(tFloat4 a) {
  return flipSigns(a, float4(-0.0f));
}
/// Clears the sign bits.
QZ_ALWAYS_INLINE tFloat4 magnitude(tFloat4 a) {
  return {_mm_andnot_ps(_mm_set1_ps(-0.0f), a.mLanes)};
}
/// Bitwise or.
QZ_ALWAYS_INLINE tFloat4 uniteBits(tFloat4 a, tFloat4 b) {
  return {_mm_or_ps(a.mLanes, b.mLanes)};
}

QZ_ALWAYS_INLINE tMask4 operator<(tFloat4 a, tFloat4 b) {
  return {_mm_cmplt_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator<=(tFloat4 a, tFloat4 b) {
  return {_mm_cmple_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator>(tFloat4 a, tFloat4 b) {
  return {_mm_cmpgt_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator>=(tFloat4 a, tFloat4 b) {
  return {_mm_cmpge_ps(a.mLanes, b.mLanes)};
}
/// The lanes where neither is NaN.
QZ_ALWAYS_INLINE tMask4 areOrdered(tFloat4 a, tFloat4 b) {
  return {_mm_cmpord_ps(a.mLanes, b.mLanes)};
}

// Masks.

QZ_ALWAYS_INLINE tMask4 operator&(tMask4 a, tMask4 b) {
  return {_mm_and_ps(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tMask4 operator|(tMask4 a, tMask4 b) {
  return {_mm_or_ps(a.mLanes, b.mLanes)};
}
/// a and not b.
QZ_ALWAYS_INLINE tMask4 except(tMask4 a, tMask4 b) {
  return {_mm_andnot_ps(b.mLanes, a.mLanes)};
}
/// Bit k for lane k.
QZ_ALWAYS_INLINE int bitsOf(tMask4 a) {
  return _mm_movemask_ps(a.mLanes);
}
/// The sign bit of lane k at bit k.
QZ_ALWAYS_INLINE int signBitsOf(tFloat4 a) {
  return _mm_movemask_ps(a.mLanes);
}
/// a where the mask is set, b elsewhere.
QZ_ALWAYS_INLINE tFloat4 select(tMask4 mask, tFloat4 a, tFloat4 b) {
#if defined(__SSE4_1__)
  return {_mm_blendv_ps(b.mLanes, a.mLanes, mask.mLanes)};
#else
  return {_mm_or_ps(_mm_and_ps(mask.mLanes, a.mLanes), _mm_andnot_ps(mask.mLanes, b.mLanes))};
#endif
}
/// a where the mask is set, 0.0f elsewhere.
QZ_ALWAYS_INLINE tFloat4 zeroUnless(tMask4 mask, tFloat4 a) {
  return {_mm_and_ps(mask.mLanes, a.mLanes)};
}
/// 0.0f where the mask is set, a elsewhere.
QZ_ALWAYS_INLINE tFloat4 zeroWhere(tMask4 mask, tFloat4 a) {
  return {_mm_andnot_ps(mask.mLanes, a.mLanes)};
}

// Order of lanes.

/// [ a.k0  a.k1  a.k2  a.k3 ]
template <int k0, int k1, int k2, int k3>
QZ_ALWAYS_INLINE tFloat4 shuffle(tFloat4 a) {
  return {_mm_shuffle_ps(a.mLanes, a.mLanes, _MM_SHUFFLE(k3, k2, k1, k0))};
}
/// [ a.k0  a.k1  b.k2  b.k3 ]
template <int k0, int k1, int k2, int k3>
QZ_ALWAYS_INLINE tFloat4 shuffle(tFloat4 a, tFloat4 b) {
  return {_mm_shuffle_ps(a.mLanes, b.mLanes, _MM_SHUFFLE(k3, k2, k1, k0))};
}
/// [ a.2  a.3  a.2  a.3 ]
QZ_ALWAYS_INLINE tFloat4 upperPair(tFloat4 a) {
  return {_mm_movehl_ps(a.mLanes, a.mLanes)};
}
/// [ a.0  a.1  b.0  b.1 ]
QZ_ALWAYS_INLINE tFloat4 lowerPairs(tFloat4 a, tFloat4 b) {
  return {_mm_movelh_ps(a.mLanes, b.mLanes)};
}
/// [ a.0  b.0  a.1  b.1 ]
QZ_ALWAYS_INLINE tFloat4 interleaveLower(tFloat4 a, tFloat4 b) {
  return {_mm_unpacklo_ps(a.mLanes, b.mLanes)};
}
/// [ b.0  a.1  a.2  a.3 ]
QZ_ALWAYS_INLINE tFloat4 withFirst(tFloat4 a, tFloat4 b) {
  return {_mm_move_ss(a.mLanes, b.mLanes)};
}
/// Four rows to four columns.
QZ_ALWAYS_INLINE void transpose(tFloat4& a, tFloat4& b, tFloat4& c, tFloat4& d) {
  _MM_TRANSPOSE4_PS(a.mLanes, b.mLanes, c.mLanes, d.mLanes);
}
/// Lane 0 as a number.
QZ_ALWAYS_INLINE float firstOf(tFloat4 a) {
  return _mm_cvtss_f32(a.mLanes);
}

// Integers. Sums wrap.

QZ_ALWAYS_INLINE tInt4 truncate(tFloat4 a) {
  return {_mm_cvttps_epi32(a.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator+(tInt4 a, tInt4 b) {
  return {_mm_add_epi32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator-(tInt4 a, tInt4 b) {
  return {_mm_sub_epi32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator&(tInt4 a, tInt4 b) {
  return {_mm_and_si128(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator|(tInt4 a, tInt4 b) {
  return {_mm_or_si128(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator==(tInt4 a, tInt4 b) {
  return {_mm_cmpeq_epi32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator<(tInt4 a, tInt4 b) {
  return {_mm_cmplt_epi32(a.mLanes, b.mLanes)};
}
QZ_ALWAYS_INLINE tInt4 operator>(tInt4 a, tInt4 b) {
  return {_mm_cmpgt_epi32(a.mLanes, b.mLanes)};
}
/// All ones where the sign bit is set.
QZ_ALWAYS_INLINE tInt4 signs(tInt4 a) {
  return {_mm_srai_epi32(a.mLanes, 31)};
}
QZ_ALWAYS_INLINE tInt4 signs(tFloat4 a) {
  return {_mm_srai_epi32(_mm_castps_si128(a.mLanes), 31)};
}
/// a where the mask, of all ones or all zeros, is set, b elsewhere.
QZ_ALWAYS_INLINE tInt4 select(tInt4 mask, tInt4 a, tInt4 b) {
  return {_mm_or_si128(_mm_and_si128(mask.mLanes, a.mLanes), _mm_andnot_si128(mask.mLanes, b.mLanes))};
}
/// All ones and all zeros as a mask of floats.
QZ_ALWAYS_INLINE tMask4 maskOf(tInt4 a) {
  return {_mm_castsi128_ps(a.mLanes)};
}
/// Rounded to nearest.
QZ_ALWAYS_INLINE tFloat4 toFloats(tInt4 a) {
  return {_mm_cvtepi32_ps(a.mLanes)};
}
/// Lanes from 0 to 255 as the bytes of a word, lane 0 lowest.
QZ_ALWAYS_INLINE std::uint32_t packBytes(tInt4 a) {
  const __m128i words = _mm_packs_epi32(a.mLanes, a.mLanes);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
}

/// The same bits as floats.
QZ_ALWAYS_INLINE tFloat4 asFloats(tInt4 a) {
  return {_mm_castsi128_ps(a.mLanes)};
}

// Single numbers.

/// Toward zero; the smallest integer for NaN and values out of the range of 64 bits.
QZ_ALWAYS_INLINE std::int64_t truncate64(float x) {
  return _mm_cvttss_si64(_mm_set_ss(x));
}

// Prefetching. A function that only prefetches must always be inlined too: gcc believes that it has no effect and drops
// calls of it.

/// Prefetches the cache line at an address, which may be invalid.
QZ_ALWAYS_INLINE void prefetchLine(const void* line) {
  _mm_prefetch(static_cast<const char*>(line), _MM_HINT_T0);
}

// The control register of vector arithmetic.

using tFloatControl = unsigned int;
constexpr tFloatControl kFloatFlags = 0x3Fu;      // exceptions raised so far
constexpr tFloatControl kFloatDefault = 0x1F80u;  // all exceptions masked, round to nearest, denormals kept

QZ_ALWAYS_INLINE tFloatControl readFloatControl() {
  return _mm_getcsr();
}
QZ_ALWAYS_INLINE void writeFloatControl(tFloatControl control) {
  _mm_setcsr(control);
}
/// Forces the compiler to compute x before this point.
#if defined(__GNUC__)
QZ_ALWAYS_INLINE void computeHere(float& x) {
  asm volatile("" : "+x"(x) : : "memory");
}
QZ_ALWAYS_INLINE void computeHere(double& x) {
  asm volatile("" : "+x"(x) : : "memory");
}
#endif

}  // namespace qzDetail
