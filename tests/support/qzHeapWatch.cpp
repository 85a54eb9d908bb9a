#include "support/qzHeapWatch.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

// Threads may allocate concurrently; a watch or a refusal concerns one thread, so no memory order is needed.
std::atomic<std::size_t> heldBytes{0}, peakBytes{0};
std::atomic<bool> isWatching{false};
std::size_t nbAllocated = 0, nbAligned = 0, nbReleased = 0;
const void* places[qzTest::HeapWatch::kNoted] = {};

// Which allocations of one kind to refuse.
struct tRefusal {
  std::atomic<bool> mIsOn{false};
  std::uint64_t mNbUntil = 0;
  bool mIsLasting = false, mHasHappened = false;

  void start(std::uint64_t n, bool isLasting) {
    mNbUntil = n;
    mIsLasting = isLasting;
    mHasHappened = false;
    mIsOn = true;
  }

  bool refusesNext() {
    if (!mIsOn) return false;
    if (mHasHappened) return mIsLasting;
    if (mNbUntil-- > 0) return false;
    return mHasHappened = true;
  }
};
tRefusal ofOperatorNew, ofAlignedBlock;

// The size of a block stands in front of it, in the last word of as many bytes as keep its alignment. The block ends
// where the caller's memory ends, so that the address sanitizer sees the first byte beyond it. So memalign, as
// aligned_alloc rounds sizes up.
constexpr std::size_t kDefaultAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

void* allocateOrNull(std::size_t size, std::size_t alignment) noexcept {
  if (isWatching) ++nbAllocated;
  if (ofOperatorNew.refusesNext()) return nullptr;
  const std::size_t whole = alignment + size;
  char* const block = whole < size ? nullptr : static_cast<char*>(memalign(alignment, whole));
  if (block == nullptr) return nullptr;
  char* const memory = block + alignment;
  reinterpret_cast<std::size_t*>(memory)[-1] = size;
  const std::size_t held = heldBytes += size;
  for (std::size_t peak = peakBytes; held > peak && !peakBytes.compare_exchange_weak(peak, held);) {
  }
  return memory;
}

void* allocate(std::size_t size, std::size_t alignment) {
  void* const memory = allocateOrNull(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void release(void* memory, std::size_t alignment) noexcept {
  if (memory == nullptr) return;
  if (isWatching) {
    if (nbReleased < qzTest::HeapWatch::kNoted) places[nbReleased] = memory;
    ++nbReleased;
  }
  heldBytes -= static_cast<std::size_t*>(memory)[-1];
  std::free(static_cast<char*>(memory) - alignment);
}

std::size_t atLeastDefault(std::align_val_t alignment) {
  return std::max(static_cast<std::size_t>(alignment), kDefaultAlignment);
}

}  // namespace

namespace qzTest {

HeapWatch::HeapWatch() : mHeldBefore(heldBytes) {
  nbAllocated = nbAligned = nbReleased = 0;
  peakBytes = heldBytes.load();
  isWatching = true;
}
HeapWatch::~HeapWatch() {
  isWatching = false;
}
std::size_t HeapWatch::nbAllocations() const {
  return nbAllocated;
}
std::size_t HeapWatch::nbAlignedBlocks() const {
  return nbAligned;
}
std::size_t HeapWatch::nbReleases() const {
  return nbReleased;
}
const void* HeapWatch::released(std::size_t i) const {
  return places[i];
}
std::size_t HeapWatch::peak() const {
  return peakBytes - mHeldBefore;
}
std::size_t HeapWatch::held() const {
  return heldBytes - mHeldBefore;
}

RefusedAllocation::RefusedAllocation(std::uint64_t n, Span span, Kind kind) {
  ofOperatorNew.mHasHappened = ofAlignedBlock.mHasHappened = false;
  (kind == eOperatorNew ? ofOperatorNew : ofAlignedBlock).start(n, span == eFromThenOn);
}
RefusedAllocation::~RefusedAllocation() {
  ofOperatorNew.mIsOn = ofAlignedBlock.mIsOn = false;
}
bool RefusedAllocation::hasHappened() const {
  return ofOperatorNew.mHasHappened || ofAlignedBlock.mHasHappened;
}

}  // namespace qzTest

// Called by the aligned allocator, which releases its blocks by std::free; that is not replaced.
extern "C" int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
  if (isWatching) {
    ++nbAllocated;
    ++nbAligned;
  }
  if (ofAlignedBlock.refusesNext()) return ENOMEM;
  void* const block = memalign(alignment, size);
  if (block == nullptr) return ENOMEM;
  *memory = block;
  return 0;
}

// All forms, as a sanitizer's array forms would not call the others.
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
