#pragma once
// Functions inlined without exception.
//
// Code that is compiled once for each kind of processor calls no other inline functions but its own: a copy in an
// object for one kind could be the one that the linker takes for all.

#if defined(_MSC_VER)
#define QZ_ALWAYS_INLINE __forceinline
#else
#define QZ_ALWAYS_INLINE inline __attribute__((always_inline))
#endif
