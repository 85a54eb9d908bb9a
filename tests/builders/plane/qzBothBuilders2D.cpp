#include "builders/plane/qzBothBuilders2D.h"

#include <doctest/doctest.h>

#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"

namespace qzTest {

namespace {

template <class T>
bool sameBitsEach(const std::vector<T>& a, const std::vector<T>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!sameBits(a[i], b[i])) return false;
  }
  return true;
}

}  // namespace

void BothBuilders2D::setMaxPrimitivesPerLeaf(unsigned int max) {
  mBuilder.setMaxPrimitivesPerLeaf(max);
  mPlainBuilder.setMaxPrimitivesPerLeaf(max);
}

void BothBuilders2D::fill(const Scene2D& scene, unsigned int spareIndices) {
  const auto n = static_cast<unsigned int>(scene.points.size());
  mBuilder.mPoints = mPlainBuilder.points = scene.points;
  mBuilder.mBBoxes = mPlainBuilder.bboxes = scene.boxes;
  mBuilder.mBounds = mPlainBuilder.bounds = scene.bounds;
  mBuilder.mNbPrimitives = mPlainBuilder.nbPrimitives = n;
  mBuilder.mIndices.resize(n + spareIndices, 77u);
  mPlainBuilder.indices = mBuilder.mIndices;
}

void BothBuilders2D::build(unsigned int bitsPerAxis) {
  INFO("bits per axis ", bitsPerAxis, ", leaf limit ", mPlainBuilder.maxPrimitivesPerLeaf);
  const void* const indices = mBuilder.mIndices.data();
  const void* const primitivesBefore = primitives().data();
  mBuilder.build(mTree, bitsPerAxis);
  mPlainBuilder.build(mPlainTree, bitsPerAxis);

  CHECK(differenceOfNodes(nodes(), mPlainTree.nodes) == "");
  CHECK(nodes().capacity() == nodes().size());
  CHECK(bool(primitives() == mPlainTree.primitives));
  CHECK(nbNodesOf(mTree) == mPlainTree.nbNodes);
  CHECK(nbPrimitivesOf(mTree) == mPlainTree.nbPrimitives);

  // The builder's index array was swapped with the tree's; its other members did not change.
  CHECK(primitives().data() == indices);
  CHECK(mBuilder.mIndices.data() == primitivesBefore);
  CHECK(bool(mBuilder.mIndices == mPlainBuilder.indices));
  CHECK(sameBitsEach(mBuilder.mPoints, mPlainBuilder.points));
  CHECK(sameBitsEach(mBuilder.mBBoxes, mPlainBuilder.bboxes));
  CHECK(sameBits(mBuilder.mBounds, mPlainBuilder.bounds));
  CHECK(mBuilder.mNbPrimitives == mPlainBuilder.nbPrimitives);
  CHECK(mBuilder.mMaxPrimitivesPerLeaf == mPlainBuilder.maxPrimitivesPerLeaf);
}

}  // namespace qzTest
