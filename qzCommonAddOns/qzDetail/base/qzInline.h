#pragma once
// QZ_ALWAYS_INLINE: a function that is inlined even in unoptimised builds.
//
// Code that is compiled for several kinds of processor calls no other inline functions than these and its own.
// Otherwise an object compiled for AVX could hold an out-of-line copy, and the linker might use that copy for all
// callers.

#if defined(_MSC_VER)
#define QZ_ALWAYS_INLINE __forceinline
#else
#define QZ_ALWAYS_INLINE inline __attribute__((always_inline))
#endif
