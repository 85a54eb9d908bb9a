#pragma once
// Runs code with each of its allocations refused in turn.

#include <doctest/doctest.h>

#include <cstdint>
#include <initializer_list>
#include <new>
#include <string>

#include "support/qzCallersFloatMode.h"
#include "support/qzHeapWatch.h"

namespace qzTest {

/// One allocation to be refused, with or without those after it.
class Refusal {
 public:
  Refusal(std::uint64_t number, RefusedAllocation::Span span) : mNumber(number), mSpan(span) {}

  /// Calls work under the refusal and returns whether an allocation was refused. Checks that work threw std::bad_alloc
  /// exactly in that case, and kept the floating-point mode.
  template <class Work>
  bool strikes(Work work) const {
    const tOutcome outcome = outcomeOf(work);
    CHECK(outcome.mHasThrown == outcome.mIsRefused);
    return outcome.mIsRefused;
  }

  /// The same for code that reports a failure in another way, as a stream does by its state.
  template <class Work>
  bool isSwallowedBy(Work work) const {
    const tOutcome outcome = outcomeOf(work);
    CHECK(!outcome.mHasThrown);
    return outcome.mIsRefused;
  }

 private:
  struct tOutcome {
    bool mIsRefused = false, mHasThrown = false;
  };

  template <class Work>
  tOutcome outcomeOf(Work work) const {
    tOutcome outcome;
    bool isKept;
    {
      const CallersFloatMode callers(CallersFloatMode::eRoundUp);
      const RefusedAllocation refused(mNumber, mSpan);
      try {
        work();
      } catch (const std::bad_alloc&) {
        outcome.mHasThrown = true;
      }
      outcome.mIsRefused = refused.hasHappened();
      isKept = callers.isKept();
    }
    CHECK(isKept);
    return outcome;
  }

  std::uint64_t mNumber;
  RefusedAllocation::Span mSpan;
};

/// Calls attempt(refusal) for allocation 0, step, 2 * step, ... until it returns that none was refused; first with that
/// one allocation refused, then with all from it on. It is checked that attempts leave nothing behind on the heap.
/// Returns how many of these allocations could be refused.
template <class Attempt>
std::uint64_t refuseEachInTurn(Attempt attempt, std::uint64_t step = 1) {
  std::uint64_t nbRefused = 0;
  for (const RefusedAllocation::Span span : {RefusedAllocation::eOnce, RefusedAllocation::eFromThenOn}) {
    bool isRefused = true;
    for (nbRefused = 0; isRefused; ++nbRefused) {
      const std::string what = "allocation " + std::to_string(nbRefused * step) +
                               (span == RefusedAllocation::eOnce ? " refused" : " and all later ones refused");
      INFO(what);
      std::size_t left;
      {
        const HeapWatch heap;
        isRefused = attempt(Refusal(nbRefused * step, span));
        left = heap.held();
      }
      CHECK(left == 0);
    }
    --nbRefused;
  }
  return nbRefused;
}

}  // namespace qzTest
