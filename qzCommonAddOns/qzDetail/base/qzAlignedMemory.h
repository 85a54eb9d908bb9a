#pragma once
// Blocks for four-lane data, at least 16-byte aligned; null if there is no memory. Contents are uninitialised.
// A block of several megabytes starts on a large page and asks the system for large pages: a traversal reads such a
// block at random, and a TLB miss costs it more than a cache miss.

#if defined(_WIN32)
#include <malloc.h>
#endif
#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <cstddef>
#include <cstdlib>

namespace qzDetail {

constexpr std::size_t kLargePage = std::size_t(1) << 21;
constexpr std::size_t kCacheLine = 64;  // a node is two lines, the equations of a quadruplet three

/// Whether a block is large enough that the unused part of its last large page does not matter.
inline bool isWorthLargePages(std::size_t bytes) {
  return bytes >= 2 * kLargePage;
}

/// Asks for large pages for a block that starts on one. No effect if the system has none or refuses.
inline void preferLargePages(void* block, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  if (block != nullptr) madvise(block, bytes, MADV_HUGEPAGE);
#else
  (void)block, (void)bytes;
#endif
}

inline void* allocateBlock(std::size_t bytes, std::size_t alignment) {
#if defined(_WIN32)
  return _aligned_malloc(bytes, alignment);
#else
  void* block = nullptr;
  return posix_memalign(&block, alignment, bytes) == 0 ? block : nullptr;
#endif
}

inline void releaseBlock(void* block) {
#if defined(_WIN32)
  _aligned_free(block);
#else
  std::free(block);
#endif
}

template <class T>
T* allocateAligned(std::size_t count) {
  const std::size_t bytes = count * sizeof(T);
  const bool isLarge = isWorthLargePages(bytes);
  void* block = allocateBlock(bytes, isLarge ? kLargePage : kCacheLine);
  if (isLarge) preferLargePages(block, bytes);
  return static_cast<T*>(block);
}

template <class T>
void releaseAligned(T*& block) {
  if (block != nullptr) releaseBlock(block);
  block = nullptr;
}

}  // namespace qzDetail
