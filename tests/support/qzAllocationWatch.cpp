#include "support/qzAllocationWatch.h"

#include <cstdlib>
#include <new>

namespace {

bool watching = false;
std::size_t nbAllocated = 0, nbReleased = 0;
const void* places[qzTest::AllocationWatch::kNoted] = {};

}  // namespace

namespace qzTest {

AllocationWatch::AllocationWatch() {
  nbAllocated = nbReleased = 0;
  watching = true;
}
AllocationWatch::~AllocationWatch() {
  watching = false;
}
std::size_t AllocationWatch::nbAllocations() const {
  return nbAllocated;
}
std::size_t AllocationWatch::nbReleases() const {
  return nbReleased;
}
const void* AllocationWatch::released(std::size_t i) const {
  return places[i];
}

}  // namespace qzTest

// The array and the sized forms end up in these two.
void* operator new(std::size_t size) {
  if (watching) ++nbAllocated;
  void* memory = std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  if (watching && memory != nullptr) {
    if (nbReleased < qzTest::AllocationWatch::kNoted) places[nbReleased] = memory;
    ++nbReleased;
  }
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  ::operator delete(memory);
}
