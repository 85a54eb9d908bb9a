#include <doctest/doctest.h>

#include <type_traits>
#include <typeinfo>

#include "support/access/qzHasMember.h"
#include "support/access/qzOpenSAHBuilder.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

QZ_TEST_HAS_MEMBER(resizeItems)
QZ_TEST_HAS_MEMBER(mItemBBoxes)
QZ_TEST_HAS_MEMBER(mNbItems)
QZ_TEST_HAS_MEMBER(mSceneBBox)
QZ_TEST_HAS_MEMBER(setSAH)

}  // namespace

TEST_CASE("a new builder has no items, an empty scene box, 128 bins per axis at 0, 128 and 256, and a qzDefaultSAH") {
  const OpenSAHBuilder builder;
  CHECK(builder.mItemBBoxes.empty());
  CHECK(builder.mItemIndices.empty());
  CHECK(builder.mSortedPositions.empty());
  CHECK(builder.mSortScratch.empty());
  CHECK(builder.mSortKeys.empty());
  CHECK(bool(builder.mBinCounts == std::vector<unsigned int>(384, 0u)));
  CHECK(builder.mBinLeftBBoxes.size() == 384);
  CHECK(builder.mBinRightBBoxes.size() == 384);
  for (const qzBBox& box : builder.mBinLeftBBoxes) CHECK(sameBits(box, qzBBox()));
  for (const qzBBox& box : builder.mBinRightBBoxes) CHECK(sameBits(box, qzBBox()));
  CHECK(builder.mNbItems == 0);
  CHECK(sameBits(builder.mSceneBBox, qzBBox()));
  CHECK(builder.mNbBins == 128);
  CHECK(builder.mBinOffsetY == 128);
  CHECK(builder.mBinOffsetZ == 256);
  REQUIRE(builder.mSAH != nullptr);
  CHECK(bool(typeid(*builder.mSAH) == typeid(qzDefaultSAH)));
}

TEST_CASE("every builder has a default functor of its own") {
  const OpenSAHBuilder one, other;
  CHECK(one.mSAH != other.mSAH);
}

TEST_CASE("resizeItems resizes all item arrays, fills with empty boxes and zeros, and keeps old entries") {
  OpenSAHBuilder builder;
  builder.resizeItems(3);
  CHECK(builder.mNbItems == 3);
  CHECK(builder.mItemBBoxes.size() == 3);
  CHECK(sameBits(builder.mItemBBoxes[2], qzBBox()));
  for (const std::vector<unsigned int>* array :
       {&builder.mItemIndices, &builder.mSortedPositions, &builder.mSortScratch, &builder.mSortKeys}) {
    CHECK(bool(*array == std::vector<unsigned int>{0, 0, 0}));
  }
  builder.mItemIndices = {7, 8, 9};
  builder.mItemBBoxes[0] = qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
  builder.resizeItems(4);
  CHECK(bool(builder.mItemIndices == std::vector<unsigned int>{7, 8, 9, 0}));
  CHECK(builder.mItemBBoxes[0].xMax() == 4.0f);
  CHECK(sameBits(builder.mItemBBoxes[3], qzBBox()));
  builder.resizeItems(1);
  CHECK(bool(builder.mItemIndices == std::vector<unsigned int>{7}));
  CHECK(builder.mNbItems == 1);
  CHECK(builder.mBinCounts.size() == 384);
}

TEST_CASE("setSAH stores the pointer and does nothing else") {
  OpenSAHBuilder builder;
  const qzDefaultSAH sah;
  builder.setSAH(&sah);
  CHECK(builder.mSAH == &sah);
  builder.setSAH(nullptr);
  CHECK(builder.mSAH == nullptr);
  // Not called for up to 16 items.
  builder.fill(randomBoxes(16, 0.1f, 1));
  qzGenericBVH tree;
  builder.build(tree);
  CHECK(tree.getNbNodes() == 1);
}

TEST_CASE("items stay in the builder, in the order of the tree's primitives") {
  OpenSAHBuilder builder(randomBoxes(2000, 0.1f, 2));
  qzGenericBVH first, second;
  builder.build(first);
  CHECK(bool(builder.mItemIndices == first.getPrimitives()));
  CHECK(builder.mNbItems == 2000);
  builder.build(second);
  CHECK(second.getPrimitives().size() == 2000);
  CHECK(bool(builder.mItemIndices == second.getPrimitives()));
}

TEST_CASE("leaves list the numbers in mItemIndices, and the root has the scene box as given") {
  OpenSAHBuilder builder(randomBoxes(30, 0.1f, 3));
  builder.mItemIndices.assign(30, 5);
  builder.mSceneBBox = qzBBox::Make(-9.0f, -9.0f, -9.0f, 9.0f, 9.0f, 9.0f);
  qzGenericBVH tree;
  builder.build(tree);
  CHECK(bool(tree.getPrimitives() == std::vector<unsigned int>(30, 5u)));
  CHECK(sameBits(tree.getNode(0).getBBox(), builder.mSceneBBox));
}

TEST_CASE("a copy of a builder shares the functor and builds the same tree") {
  OpenSAHBuilder builder(randomBoxes(3000, 0.05f, 4));
  OpenSAHBuilder copy(builder);
  CHECK(copy.mSAH == builder.mSAH);
  qzGenericBVH tree, treeOfCopy;
  builder.build(tree);
  copy.build(treeOfCopy);
  CHECK(tree.getNbNodes() > 1);
  CHECK(sameTree(tree, treeOfCopy));
}

TEST_CASE("the builder has no virtual functions and no base, and only derived classes can fill it") {
  CHECK_FALSE(std::is_polymorphic_v<qzGenericBVHBuilder>);
  CHECK(std::is_default_constructible_v<qzGenericBVHBuilder>);
  CHECK(has_resizeItems<OpenSAHBuilder>);
  CHECK_FALSE(has_setSAH<qzGenericBVHBuilder>);
  CHECK_FALSE(has_resizeItems<qzGenericBVHBuilder>);
  CHECK_FALSE(has_mItemBBoxes<qzGenericBVHBuilder>);
  CHECK_FALSE(has_mNbItems<qzGenericBVHBuilder>);
  CHECK_FALSE(has_mSceneBBox<qzGenericBVHBuilder>);
  // Eight arrays, a box, four numbers and a pointer.
  CHECK(sizeof(qzGenericBVHBuilder) ==
        8 * sizeof(std::vector<int>) + sizeof(qzBBox) + 4 * sizeof(unsigned int) + sizeof(void*));
}
