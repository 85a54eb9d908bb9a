// What a build leaves on the heap, completed or cancelled.

#include "support/access/qzBothBuilders.h"
#include "support/qzHeapWatch.h"
#include "support/scenes/qzBoxScenes.h"

#include <doctest/doctest.h>

using namespace qzTest;

namespace {

std::size_t bytesOfArrays(const qzGenericBVH& tree, const qzLinearGenericBVHBuilder& builder) {
  return 32 * tree.getNodes().capacity() + 4 * tree.getPrimitives().capacity() + 4 * indicesOf(builder).capacity();
}

}  // namespace

TEST_CASE("a build, completed or cancelled, holds only the arrays of tree and builder afterwards") {
  const LogCapture quiet(false);
  const BoxContainer container(randomBoxes(40, 0.2f, 71));
  bool isComplete = false;
  std::uint64_t cancelAt = 0;
  for (; !isComplete; ++cancelAt) {
    const HeapWatch heap;
    const CancelAtPoll cancel(cancelAt);
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    isComplete = builder.build(container, tree, &cancel, 20);
    const std::size_t held = heap.held();  // before the test framework takes any
    INFO("cancelled at poll ", cancelAt);
    CHECK(held == bytesOfArrays(tree, builder));
  }
  CHECK(cancelAt > 100);
}
