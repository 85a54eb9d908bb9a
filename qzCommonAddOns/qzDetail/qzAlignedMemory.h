#pragma once
// 16-byte aligned blocks for four-lane data. Null when there is no memory; what is in them is unset.

#include <xmmintrin.h>

#include <cstddef>

namespace qzDetail {

template <class T>
T* allocateAligned(std::size_t count) {
  return static_cast<T*>(_mm_malloc(count * sizeof(T), 16));
}

template <class T>
void releaseAligned(T*& block) {
  if (block != nullptr) _mm_free(block);
  block = nullptr;
}

}  // namespace qzDetail
