#include "support/qzHeapMeter.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr std::uint64_t kNoRefusal = ~std::uint64_t(0);

std::size_t heldBytes = 0, peakBytes = 0;
std::uint64_t nbUntilRefusal = kNoRefusal;

// The size of a block stands in front of it, in the last word of as many bytes as keep its alignment.
constexpr std::size_t kDefaultAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

void* allocateOrNull(std::size_t size, std::size_t alignment) noexcept {
  if (nbUntilRefusal != kNoRefusal && nbUntilRefusal-- == 0) return nullptr;  // and is kNoRefusal from here on
  const std::size_t whole = (size + 2 * alignment - 1) / alignment * alignment;
  char* const block = static_cast<char*>(std::aligned_alloc(alignment, whole));
  if (block == nullptr) return nullptr;
  char* const memory = block + alignment;
  reinterpret_cast<std::size_t*>(memory)[-1] = size;
  heldBytes += size;
  peakBytes = std::max(peakBytes, heldBytes);
  return memory;
}

void* allocate(std::size_t size, std::size_t alignment) {
  void* const memory = allocateOrNull(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void release(void* memory, std::size_t alignment) noexcept {
  if (memory == nullptr) return;
  heldBytes -= static_cast<std::size_t*>(memory)[-1];
  std::free(static_cast<char*>(memory) - alignment);
}

std::size_t atLeastDefault(std::align_val_t alignment) {
  return std::max(static_cast<std::size_t>(alignment), kDefaultAlignment);
}

}  // namespace

namespace qzTest {

HeapMeter::HeapMeter() : mHeldBefore(heldBytes) {
  peakBytes = heldBytes;
}
std::size_t HeapMeter::peak() const {
  return peakBytes - mHeldBefore;
}
std::size_t HeapMeter::held() const {
  return heldBytes - mHeldBefore;
}

RefusedAllocation::RefusedAllocation(std::uint64_t n) {
  nbUntilRefusal = n;
}
RefusedAllocation::~RefusedAllocation() {
  nbUntilRefusal = kNoRefusal;
}
bool RefusedAllocation::hasHappened() const {
  return nbUntilRefusal == kNoRefusal;
}

}  // namespace qzTest

// All forms, as a sanitizer's own array forms would not end up in the others.
void* operator new(std::size_t size) {
  return allocate(size, kDefaultAlignment);
}
void* operator new[](std::size_t size) {
  return allocate(size, kDefaultAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, atLeastDefault(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocate(size, atLeastDefault(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, kDefaultAlignment);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, kDefaultAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, atLeastDefault(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, atLeastDefault(alignment));
}
void operator delete(void* memory) noexcept {
  release(memory, kDefaultAlignment);
}
void operator delete[](void* memory) noexcept {
  release(memory, kDefaultAlignment);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory, kDefaultAlignment);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory, kDefaultAlignment);
}
void operator delete(void* memory, std::align_val_t alignment) noexcept {
  release(memory, atLeastDefault(alignment));
}
void operator delete[](void* memory, std::align_val_t alignment) noexcept {
  release(memory, atLeastDefault(alignment));
}
void operator delete(void* memory, std::size_t, std::align_val_t alignment) noexcept {
  release(memory, atLeastDefault(alignment));
}
void operator delete[](void* memory, std::size_t, std::align_val_t alignment) noexcept {
  release(memory, atLeastDefault(alignment));
}
