#pragma once
// Blocks for four-lane data, at least 16-byte aligned. Null when there is no memory; what is in them is unset.
// A block of several megabytes starts on a large page and asks the system for large pages: a walk touches such a block
// at random, and finding a small page costs it more than finding the data.

#include <xmmintrin.h>
#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <cstddef>

namespace qzDetail {

constexpr std::size_t kLargePage = std::size_t(1) << 21;
constexpr std::size_t kCacheLine = 64;  // a node is two lines, the equations of a quadruplet three

/// Whether a block is so large that what large pages save is more than what the last one wastes.
inline bool isWorthLargePages(std::size_t bytes) {
  return bytes >= 2 * kLargePage;
}

/// Asks for large pages under a block that starts on one. A system that has none, or refuses, changes nothing.
inline void preferLargePages(void* block, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  if (block != nullptr) madvise(block, bytes, MADV_HUGEPAGE);
#else
  (void)block, (void)bytes;
#endif
}

template <class T>
T* allocateAligned(std::size_t count) {
  const std::size_t bytes = count * sizeof(T);
  const bool isLarge = isWorthLargePages(bytes);
  void* block = _mm_malloc(bytes, isLarge ? kLargePage : kCacheLine);
  if (isLarge) preferLargePages(block, bytes);
  return static_cast<T*>(block);
}

template <class T>
void releaseAligned(T*& block) {
  if (block != nullptr) _mm_free(block);
  block = nullptr;
}

}  // namespace qzDetail
