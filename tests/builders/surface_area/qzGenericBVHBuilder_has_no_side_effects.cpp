#include <doctest/doctest.h>

#include "builders/surface_area/qzBothSAHBuilders.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"
#include "support/qzHeapWatch.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

// Random boxes scaled by a power of two.
std::vector<qzBBox> scaledBoxes(std::uint32_t count, float scale) {
  std::vector<qzBBox> boxes = randomBoxes(count, 0.05f, 1);
  for (qzBBox& box : boxes) {
    const Wm4::Vector3<float>&min = box.getMinPoint(), &max = box.getMaxPoint();
    box = qzBBox::Make(min[0] * scale, min[1] * scale, min[2] * scale, max[0] * scale, max[1] * scale, max[2] * scale);
  }
  return boxes;
}

}  // namespace

TEST_CASE("a surface-area build allocates the two arrays of the tree, a rebuild nothing") {
  const std::vector<qzBBox> boxes = randomBoxes(5000, 0.01f, 3);
  OpenSAHBuilder builder(boxes);
  qzGenericBVH tree;
  std::size_t nbFirst, nbAgain;
  {
    const HeapWatch watch;
    builder.build(tree);
    nbFirst = watch.nbAllocations();
  }
  CHECK(nbFirst == 2);  // nodes and primitives
  {
    const HeapWatch watch;
    builder.build(tree);
    nbAgain = watch.nbAllocations();
  }
  CHECK(nbAgain == 0);
}

TEST_CASE("a surface-area builder allocates three bin arrays and a functor, and frees the arrays only") {
  std::size_t nbAllocated, nbReleased;
  {
    const HeapWatch watch;
    { const OpenSAHBuilder builder; }
    nbAllocated = watch.nbAllocations();
    nbReleased = watch.nbReleases();
  }
  CHECK(nbAllocated == 4);
  CHECK(nbReleased == 3);
}

TEST_CASE("setSAH does not free the functor it replaces") {
  const qzDefaultSAH own;
  OpenSAHBuilder builder;
  const qzSAHFunctionoid* const first = builder.mSAH;
  std::size_t nbReleased;
  {
    const HeapWatch watch;
    builder.setSAH(&own);
    nbReleased = watch.nbReleases();
  }
  CHECK(nbReleased == 0);
  CHECK(first->f(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 2.0f, 3.0f), 0) == 44.0f);  // not freed
}

TEST_CASE("a surface-area build does not depend on the caller's float mode, which is kept") {
  // Ordinary boxes, boxes with denormal areas, and boxes with denormal coordinates.
  for (const float scale : {1.0f, 0x1p-68f, 0x1p-130f}) {
    const std::vector<qzBBox> boxes = scaledBoxes(2500, scale);
    INFO("scale ", scale);
    OpenSAHBuilder reference(boxes);
    qzGenericBVH referenceTree;
    reference.build(referenceTree);
    CHECK(referenceTree.getNbNodes() > 3);
    for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
      OpenSAHBuilder builder(boxes);
      qzGenericBVH tree;
      bool isKept;
      {
        const CallersFloatMode callers(mode);
        builder.build(tree);
        isKept = callers.isKept();
      }
      INFO("mode ", static_cast<unsigned int>(mode));
      CHECK(isKept);
      REQUIRE(tree.getNodes().size() == referenceTree.getNodes().size());
      CHECK(std::memcmp(tree.getNodes().data(), referenceTree.getNodes().data(),
                        tree.getNodes().size() * sizeof(qzGNode)) == 0);
      CHECK(bool(tree.getPrimitives() == referenceTree.getPrimitives()));
    }
  }
}
