#pragma once
// Sending for memory ahead of its use.

#include <xmmintrin.h>

// A function that does nothing but prefetch must carry this too: gcc takes it for one without effect and leaves out the
// calls unless it was inlined before.
#if defined(_MSC_VER)
#define QZ_ALWAYS_INLINE __forceinline
#else
#define QZ_ALWAYS_INLINE inline __attribute__((always_inline))
#endif

namespace qzDetail {

/// Sends for the cache line at an address, which need not be one of ours.
QZ_ALWAYS_INLINE void prefetchLine(const void* line) {
  _mm_prefetch(static_cast<const char*>(line), _MM_HINT_T0);
}

}  // namespace qzDetail
