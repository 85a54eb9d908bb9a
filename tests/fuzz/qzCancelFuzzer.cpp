// Linear builds that are cancelled at any poll: compared with the plain form in everything the caller can observe, and
// the next build by the same builder with one by a new builder.

#include "fuzz/qzFuzzCheck.h"
#include "fuzz/qzFuzzInput.h"
#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"

namespace {

using qzFuzz::fail;

/// A build by the same builder into the same tree against one by a new builder into a new tree.
void expectAsNew(qzTest::BothBuilders& used, const std::vector<qzBBox>& boxes, unsigned int bitsPerAxis,
                 unsigned int leafSize) {
  qzTest::BothBuilders fresh(leafSize);
  used.setMaxPrimitivesPerLeaf(leafSize);
  if (!used.build(boxes, bitsPerAxis) || !fresh.build(boxes, bitsPerAxis)) fail("a build was cancelled by nobody");
  if (used.tree().getPrimitives() != fresh.tree().getPrimitives()) fail("primitives of a builder used before");
  if (used.nodes().size() != fresh.nodes().size()) fail("number of nodes of a builder used before");
  for (std::size_t i = 0; i < used.nodes().size(); ++i) {
    if (!qzTest::sameBits(used.nodes()[i], fresh.nodes()[i])) fail("node of a builder used before");
  }
  if (used.recordTexts() != fresh.recordTexts()) fail("records of a builder used before");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qzFuzz::useAssertions();
  qzFuzz::Input input(data, size);
  qzTest::BothBuilders builders;
  for (int i = 0; i < 4 && (i == 0 || !input.isUsedUp()); ++i) {
    const unsigned int leafSize = input.byte() % 10, bitsPerAxis = input.byte() % 24;
    const std::vector<qzBBox> boxes = input.boxes(64);
    builders.setMaxPrimitivesPerLeaf(leafSize);
    // How often a build polls is known from one that is never cancelled; every poll is as likely as another, and some
    // exceed the number of polls.
    qzTest::BothBuilders counting(leafSize);
    counting.build(boxes, bitsPerAxis, qzTest::CancelAtPoll::kNever);
    const std::uint64_t nbPolls = counting.nbPolls(), cancelAt = (input.bits() & 0xFFFF) % (nbPolls + 2);
    const bool isDone = builders.build(boxes, bitsPerAxis, cancelAt);
    if (isDone != (cancelAt >= nbPolls)) fail("cancelled at a poll that was not asked");
    expectAsNew(builders, boxes, bitsPerAxis, leafSize);
  }
  return 0;
}
