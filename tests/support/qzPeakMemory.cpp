#include "support/qzPeakMemory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

std::size_t held = 0, peak = 0;

// The size of a block stands in front of it, in the last word of as many bytes as keep its alignment.
constexpr std::size_t kDefaultAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

void* allocate(std::size_t size, std::size_t alignment) {
  const std::size_t whole = (size + 2 * alignment - 1) / alignment * alignment;
  char* const block = static_cast<char*>(std::aligned_alloc(alignment, whole));
  if (block == nullptr) throw std::bad_alloc();
  char* const memory = block + alignment;
  reinterpret_cast<std::size_t*>(memory)[-1] = size;
  held += size;
  peak = std::max(peak, held);
  return memory;
}

void release(void* memory, std::size_t alignment) noexcept {
  if (memory == nullptr) return;
  held -= static_cast<std::size_t*>(memory)[-1];
  std::free(static_cast<char*>(memory) - alignment);
}

std::size_t atLeastDefault(std::align_val_t alignment) {
  return std::max(static_cast<std::size_t>(alignment), kDefaultAlignment);
}

}  // namespace

namespace qzTest {

PeakMemory::PeakMemory() : mHeldBefore(held) {
  peak = held;
}
std::size_t PeakMemory::bytes() const {
  return peak - mHeldBefore;
}

}  // namespace qzTest

// The array and the nothrow forms end up in these.
void* operator new(std::size_t size) {
  return allocate(size, kDefaultAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, atLeastDefault(alignment));
}
void operator delete(void* memory) noexcept {
  release(memory, kDefaultAlignment);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory, kDefaultAlignment);
}
void operator delete(void* memory, std::align_val_t alignment) noexcept {
  release(memory, atLeastDefault(alignment));
}
void operator delete(void* memory, std::size_t, std::align_val_t alignment) noexcept {
  release(memory, atLeastDefault(alignment));
}
