// The watch over the heap itself: a watch that sees nothing would let everything pass.

#include "support/qzHeapWatch.h"

#include <doctest/doctest.h>
#include <xmmintrin.h>

#include <initializer_list>
#include <new>

using namespace qzTest;

TEST_CASE("the watch sees every form of operator new, what is held and the most that was") {
  const HeapWatch watch;
  // By name, which no compiler leaves out.
  void* const block = ::operator new(100);
  CHECK(watch.held() == 100);
  ::operator delete[](::operator new[](50, std::align_val_t(256)), std::align_val_t(256));
  ::operator delete(::operator new(7, std::nothrow));
  CHECK(watch.held() == 100);  // a block that is left behind
  ::operator delete(block);
  CHECK(watch.held() == 0);
  CHECK(watch.peak() == 150);
  CHECK(watch.nbAllocations() == 3);
  CHECK(watch.nbReleases() == 3);
  CHECK(watch.released(2) == block);
}

TEST_CASE("the watch sees the aligned allocator") {
  const HeapWatch watch;
  _mm_free(_mm_malloc(64, 64));
  CHECK(watch.nbAllocations() == 1);
  CHECK(watch.nbAlignedBlocks() == 1);
}

TEST_CASE("the allocation of the given number is refused, alone or with all later ones, of the given kind") {
  for (const RefusedAllocation::Span span : {RefusedAllocation::eOnce, RefusedAllocation::eFromThenOn}) {
    bool isThere[4], hasHappened;
    {
      const RefusedAllocation refused(1, span);
      for (bool& is : isThere) {
        void* const block = ::operator new(8, std::nothrow);
        is = block != nullptr;
        ::operator delete(block);
      }
      hasHappened = refused.hasHappened();
    }
    CHECK(hasHappened);
    CHECK(isThere[0]);
    CHECK(!isThere[1]);
    for (int i = 2; i < 4; ++i) CHECK(isThere[i] == (span == RefusedAllocation::eOnce));
  }
  bool hasThrown = false;
  void* aligned;
  {
    const RefusedAllocation refused(0, RefusedAllocation::eOnce, RefusedAllocation::eAlignedBlock);
    aligned = _mm_malloc(64, 64);
    try {
      ::operator delete(::operator new(8));
    } catch (const std::bad_alloc&) {
      hasThrown = true;
    }
  }
  CHECK(aligned == nullptr);
  CHECK(!hasThrown);
}
