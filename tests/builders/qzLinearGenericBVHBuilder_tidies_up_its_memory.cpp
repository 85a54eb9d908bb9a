// What a build leaves on the heap, whichever way it ends. Part of the executable that replaces operator new.

#include "builders/qzBothBuilders.h"
#include "builders/qzScenes.h"
#include "support/qzBits.h"
#include "support/qzHeapMeter.h"

#include <doctest/doctest.h>

#include <new>
#include <string>

using namespace qzTest;

namespace {

std::size_t bytesOfArrays(const qzGenericBVH& tree, const qzLinearGenericBVHBuilder& builder) {
  return 32 * tree.getNodes().capacity() + 4 * tree.getPrimitives().capacity() + 4 * indicesOf(builder).capacity();
}

}  // namespace

TEST_CASE("whether it completes or is cancelled, a build keeps nothing but the arrays of tree and builder") {
  const LogCapture quiet(false);
  const BoxContainer container(randomBoxes(40, 0.2f, 71));
  bool isComplete = false;
  for (std::uint64_t cancelAt = 0; !isComplete; ++cancelAt) {
    const HeapMeter heap;
    const CancelAtPoll cancel(cancelAt);
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    isComplete = builder.build(container, tree, &cancel, 20);
    const std::size_t held = heap.held();  // before the test framework takes any
    INFO("cancelled at poll ", cancelAt);
    CHECK(held == bytesOfArrays(tree, builder));
  }
}

TEST_CASE("an allocation that fails gets out of the build, and the next build is as good as new") {
  const LogCapture quiet(false);
  const BoxContainer container(randomBoxes(40, 0.2f, 72));
  const CancelAtPoll never(CancelAtPoll::kNever);
  qzLinearGenericBVHBuilder freshBuilder;
  qzGenericBVH fresh;
  CHECK(freshBuilder.build(container, fresh, nullptr, 20));
  for (const auto* cancel : {static_cast<const CancelAtPoll*>(nullptr), &never}) {
    std::uint64_t nbAllocations = 0;
    for (bool isComplete = false; !isComplete; ++nbAllocations) {
      INFO("allocation ", nbAllocations, cancel != nullptr ? std::string(", may be cancelled") : std::string());
      const HeapMeter heap;
      qzLinearGenericBVHBuilder builder;
      qzGenericBVH tree;
      bool hasThrown = false, hasHappened = false;
      {
        const RefusedAllocation refused(nbAllocations);
        try {
          builder.build(container, tree, cancel, 20);
        } catch (const std::bad_alloc&) {
          hasThrown = true;
        }
        hasHappened = refused.hasHappened();
      }
      const std::size_t held = heap.held();
      isComplete = !hasHappened;
      CHECK(hasThrown == hasHappened);
      CHECK(held == bytesOfArrays(tree, builder));
      CHECK(builder.build(container, tree, cancel, 20));
      CHECK(tree.getPrimitives() == fresh.getPrimitives());
      REQUIRE(tree.getNodes().size() == fresh.getNodes().size());
      for (std::size_t i = 0; i < fresh.getNodes().size(); ++i) {
        CHECK(sameBits(tree.getNodes()[i], fresh.getNodes()[i]));
      }
    }
    CHECK(nbAllocations > 4);
  }
}
