// HeapWatch itself: if it counted nothing, the tests that use it would pass.

#include "support/qzHeapWatch.h"

#include <doctest/doctest.h>
#include <xmmintrin.h>

#include <initializer_list>
#include <new>

using namespace qzTest;

TEST_CASE("HeapWatch counts every form of operator new, the bytes held and their peak") {
  const HeapWatch watch;
  // Called by name, as compilers may omit new expressions.
  void* const block = ::operator new(100);
  CHECK(watch.held() == 100);
  ::operator delete[](::operator new[](50, std::align_val_t(256)), std::align_val_t(256));
  ::operator delete(::operator new(7, std::nothrow));
  CHECK(watch.held() == 100);  // one block is leaked so far
  ::operator delete(block);
  CHECK(watch.held() == 0);
  CHECK(watch.peak() == 150);
  CHECK(watch.nbAllocations() == 3);
  CHECK(watch.nbReleases() == 3);
  CHECK(watch.released(2) == block);
}

TEST_CASE("HeapWatch counts the aligned allocator's blocks") {
  const HeapWatch watch;
  _mm_free(_mm_malloc(64, 64));
  CHECK(watch.nbAllocations() == 1);
  CHECK(watch.nbAlignedBlocks() == 1);
}

TEST_CASE("Refusal refuses the allocation of the given number and kind, alone or with all later ones") {
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
