// The operations of a build, called one by one.

#include <doctest/doctest.h>

#include <algorithm>

#include "plain/qzPlainSAHBuilder.h"
#include "support/access/qzOpenSAHBuilder.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

using Point = Wm4::Vector3<float>;

qzGNode nodeOf(const qzBBox& box) {
  qzGNode node;
  node.setBBox(box);
  return node;
}

qzPlain::SAHBuilder plainOf(const OpenSAHBuilder& builder) {
  qzPlain::SAHBuilder plain;
  plain.resizeItems(static_cast<int>(builder.mNbItems));
  plain.itemBBoxes = builder.mItemBBoxes;
  plain.itemIndices = builder.mItemIndices;
  plain.sceneBBox = builder.mSceneBBox;
  return plain;
}

// The bin of an item at x, in a node from 0 to 128 with bins of width 1.
unsigned int binOf(float x) {
  OpenSAHBuilder builder({qzBBox(Point(x, 0.5f, 0.5f))});
  builder.computeBinning(nodeOf(qzBBox::Make(0.0f, 0.0f, 0.0f, 128.0f, 128.0f, 128.0f)), 0, 1);
  const auto begin = builder.mBinCounts.begin();
  return static_cast<unsigned int>(std::find(begin, begin + 128, 1u) - begin);
}

// Results of all operations, each called by a caller in the given floating-point mode.
struct tOperations {
  OpenSAHBuilder mBinned;
  bool mIsSplit, mIsModeKept;
  qzBBox::tAxis mAxis = qzBBox::eAxisZ;
  float mPlane = 7.0f, mMedian = 7.0f;
  qzGenericBVH mIterated, mSplit;

  tOperations(const OpenSAHBuilder& builder, const qzGenericBVH& root, const qzGNode& node, CallersFloatMode::Mode mode)
      : mBinned(builder), mIterated(root), mSplit(root) {
    OpenSAHBuilder iterating = builder, splitting = builder;
    qzBBox::tAxis medianAxis = qzBBox::eAxisX;
    const float splitPlane = node.getBBox().getCenter()[0];
    const CallersFloatMode callers(mode);
    mBinned.computeBinning(node, 0, builder.mNbItems);
    mIsSplit = mBinned.findSplitPlane(node, builder.mNbItems, mAxis, mPlane);
    mBinned.findMedianSplit(node, 0, builder.mNbItems, medianAxis, mMedian);
    iterating.buildIter(0, mIterated, 0, builder.mNbItems, 0);
    splitting.splitNode(0, mSplit, 0, builder.mNbItems, qzBBox::eAxisX, splitPlane, 0);
    mIsModeKept = callers.isKept();
  }
};

}  // namespace

TEST_CASE("bins hold counts and boxes summed from the left, and boxes summed from the right, for each axis") {
  // Items at 10, 20 and 30 of 128 on x, all in bins 1 of y and 2 of z.
  OpenSAHBuilder builder(
      {qzBBox(Point(10.5f, 1.5f, 2.5f)), qzBBox(Point(20.5f, 1.5f, 2.5f)), qzBBox(Point(30.5f, 1.5f, 2.5f))});
  builder.computeBinning(nodeOf(qzBBox::Make(0.0f, 0.0f, 0.0f, 128.0f, 128.0f, 128.0f)), 0, 3);
  CHECK(builder.mBinCounts[9] == 0);
  CHECK(builder.mBinCounts[10] == 1);
  CHECK(builder.mBinCounts[19] == 1);
  CHECK(builder.mBinCounts[20] == 2);
  CHECK(builder.mBinCounts[127] == 3);
  CHECK(builder.mBinCounts[128] == 0);
  CHECK(builder.mBinCounts[129] == 3);
  CHECK(builder.mBinCounts[257] == 0);
  CHECK(builder.mBinCounts[258] == 3);
  CHECK(sameBits(builder.mBinLeftBBoxes[9], qzBBox()));
  CHECK(sameBits(builder.mBinLeftBBoxes[29], qzBBox::Make(10.5f, 1.5f, 2.5f, 20.5f, 1.5f, 2.5f)));
  CHECK(sameBits(builder.mBinRightBBoxes[11], qzBBox::Make(20.5f, 1.5f, 2.5f, 30.5f, 1.5f, 2.5f)));
  CHECK(sameBits(builder.mBinRightBBoxes[31], qzBBox()));
  CHECK(sameBits(builder.mBinRightBBoxes[128], qzBBox::Make(10.5f, 1.5f, 2.5f, 30.5f, 1.5f, 2.5f)));
  CHECK(sameBits(builder.mBinRightBBoxes[130], qzBBox()));
}

TEST_CASE("bins unite the boxes of items, not only their centroids") {
  OpenSAHBuilder builder({qzBBox::Make(-5.0f, 0.0f, 0.0f, 6.0f, 1.0f, 1.0f)});
  builder.computeBinning(nodeOf(qzBBox::Make(0.0f, 0.0f, 0.0f, 128.0f, 128.0f, 128.0f)), 0, 1);
  CHECK(sameBits(builder.mBinLeftBBoxes[0], builder.mItemBBoxes[0]));
}

TEST_CASE("the bin of a centroid is its truncated distance, at most the last bin") {
  CHECK(binOf(0.0f) == 0);
  CHECK(binOf(0x1.fffffep-1f) == 0);
  CHECK(binOf(1.0f) == 1);
  CHECK(binOf(126.99f) == 126);
  CHECK(binOf(127.5f) == 127);
  CHECK(binOf(128.0f) == 127);
  CHECK(binOf(1e6f) == 127);
}

TEST_CASE("less than a bin width below the node is bin 0, more is the last bin") {
  CHECK(binOf(-0x1p-20f) == 0);
  CHECK(binOf(-0x1.fffffep-1f) == 0);
  CHECK(binOf(-1.0f) == 127);
  CHECK(binOf(-1e6f) == 127);
}

TEST_CASE("bin numbers wrap at 32 bits, and distances beyond 64 bits are bin 0") {
  CHECK(binOf(0x1p31f) == 127);
  CHECK(binOf(-0x1p31f) == 127);
  CHECK(binOf(0x1p32f) == 0);
  CHECK(binOf(-0x1p32f) == 0);
  CHECK(binOf(0x1.000002p32f) == 127);   // 2^32 + 512
  CHECK(binOf(-0x1.fffffep31f) == 127);  // 256 above -2^32
  CHECK(binOf(0x1p62f) == 0);
  CHECK(binOf(0x1p63f) == 0);
  CHECK(binOf(-0x1p63f) == 0);
  CHECK(binOf(0x1p100f) == 0);
  CHECK(binOf(kInf) == 0);
  CHECK(binOf(-kInf) == 0);
  CHECK(binOf(kNaN) == 0);
}

TEST_CASE("on an axis without extent every item is in bin 0") {
  OpenSAHBuilder builder(
      {qzBBox(Point(3.0f, 0.0f, 0.0f)), qzBBox(Point(4.0f, 1.0f, 0.0f)), qzBBox(Point(2.0f, 0.0f, 0.0f))});
  builder.computeBinning(nodeOf(qzBBox::Make(3.0f, 0.0f, 0.0f, 3.0f, 1.0f, 0.0f)), 0, 3);
  CHECK(builder.mBinCounts[0] == 3);    // 0 x inf, inf and -inf
  CHECK(builder.mBinCounts[256] == 3);  // 0 x inf
}

TEST_CASE("bins, planes and medians of any node equal the plain form, arrays included") {
  const std::uint32_t seed = 3;
  Random random(seed);
  for (const Scene& scene : scenesOfEveryKind(600, random.bits())) {
    OpenSAHBuilder builder(scene.boxes);
    qzPlain::SAHBuilder plain = plainOf(builder);
    for (int round = 0; round < 4; ++round) {
      const unsigned int start = random.below(builder.mNbItems);
      const unsigned int count = 1 + random.below(builder.mNbItems - start);
      const qzGNode node = nodeOf(round == 0 ? builder.mSceneBBox : scene.boxes[random.below(builder.mNbItems)]);
      INFO("scene ", scene.name, ", items ", start, " + ", count, ", seed ", seed);
      builder.mNbBins = plain.nbBins = round % 2 == 0 ? 128 : 3 + random.below(126);  // 128 divides without rounding
      builder.computeBinning(node, start, count);
      plain.computeBinning(node, start, count);
      CHECK(bool(builder.mBinCounts == plain.binCounts));
      CHECK(sameBoxes(builder.mBinLeftBBoxes, plain.binLeftBBoxes));
      CHECK(sameBoxes(builder.mBinRightBBoxes, plain.binRightBBoxes));

      qzBBox::tAxis axis = qzBBox::eAxisZ, plainAxis = qzBBox::eAxisZ;
      float plane = 7.0f, plainPlane = 7.0f;
      CHECK(builder.findSplitPlane(node, count, axis, plane) ==
            plain.findSplitPlane(node, count, plainAxis, plainPlane));
      CHECK(axis == plainAxis);
      CHECK(sameBitsOrNaN(plane, plainPlane));

      for (const qzBBox::tAxis medianAxis : {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ}) {
        axis = medianAxis;
        builder.findMedianSplit(node, start, count, axis, plane);
        plain.findMedianSplit(node, start, count, medianAxis, plainPlane);
        CHECK(axis == medianAxis);
        CHECK(sameBitsOrNaN(plane, plainPlane));
      }
    }
  }
}

TEST_CASE("every operation gives the same results in any floating-point mode of the caller, which it keeps") {
  const std::uint32_t seed = 8;
  for (const Scene& scene : scenesOfEveryKind(1500, seed)) {
    OpenSAHBuilder builder(scene.boxes);
    const qzGNode node = nodeOf(builder.mSceneBBox);
    qzGenericBVH root;
    builder.build(root);  // a root to split
    builder.fill(scene.boxes);
    const tOperations expected(builder, root, node, CallersFloatMode::eDefault);
    for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
      INFO("scene ", scene.name, ", mode ", static_cast<unsigned int>(mode), ", seed ", seed);
      const tOperations actual(builder, root, node, mode);
      CHECK(actual.mIsModeKept);
      CHECK(bool(actual.mBinned.mBinCounts == expected.mBinned.mBinCounts));
      CHECK(actual.mIsSplit == expected.mIsSplit);
      CHECK(actual.mAxis == expected.mAxis);
      CHECK(sameBitsOrNaN(actual.mPlane, expected.mPlane));
      CHECK(sameBitsOrNaN(actual.mMedian, expected.mMedian));
      CHECK(bool(actual.mBinned.mSortKeys == expected.mBinned.mSortKeys));
      CHECK(sameTree(actual.mIterated, expected.mIterated));
      CHECK(sameTree(actual.mSplit, expected.mSplit));
    }
  }
}

TEST_CASE("findSplitPlane without a result keeps axis and plane") {
  OpenSAHBuilder builder(std::vector<qzBBox>(20, qzBBox(Point(1.0f, 1.0f, 1.0f))));
  const qzGNode node = nodeOf(builder.mSceneBBox);
  builder.computeBinning(node, 0, 20);
  qzBBox::tAxis axis = qzBBox::eAxisY;
  float plane = 42.0f;
  CHECK_FALSE(builder.findSplitPlane(node, 20, axis, plane));
  CHECK(axis == qzBBox::eAxisY);
  CHECK(plane == 42.0f);
}

TEST_CASE("the median is the upper one of two, and among equal keys the item at the middle position") {
  OpenSAHBuilder builder;
  const qzGNode node = nodeOf(qzBBox::Make(0.0f, 0.0f, 0.0f, 9.0f, 9.0f, 9.0f));
  const auto medianOf = [&](const std::vector<float>& ys) {
    std::vector<qzBBox> boxes;
    for (const float y : ys) boxes.emplace_back(Point(0.0f, y, 0.0f));
    builder.fill(boxes);
    qzBBox::tAxis axis = qzBBox::eAxisY;
    float plane;
    builder.findMedianSplit(node, 0, builder.mNbItems, axis, plane);
    return plane;
  };
  CHECK(medianOf({5.0f}) == 5.0f);
  CHECK(medianOf({3.0f, 1.0f}) == 3.0f);
  CHECK(medianOf({3.0f, 1.0f, 2.0f}) == 2.0f);
  CHECK(medianOf({4.0f, 3.0f, 1.0f, 2.0f}) == 3.0f);
  // The keys of negative distances are the largest.
  CHECK(medianOf({-1.0f, 1.0f, 2.0f}) == 2.0f);
  CHECK(medianOf({-1.0f, -2.0f, 2.0f}) == -1.0f);
  // Distances from 2^24 that round to the same: the item at the middle position is the median.
  const qzGNode far = nodeOf(qzBBox::Make(0.0f, -0x1p24f, 0.0f, 9.0f, 9.0f, 9.0f));
  builder.fill({qzBBox(Point(0.0f, 0.5f, 0.0f)), qzBBox(Point(0.0f, 0.25f, 0.0f)), qzBBox(Point(0.0f, 0.375f, 0.0f))});
  qzBBox::tAxis axis = qzBBox::eAxisY;
  float plane;
  builder.findMedianSplit(far, 0, 3, axis, plane);
  CHECK(plane == 0.25f);
}

TEST_CASE("medians of any keys equal the plain form: few values, one value, every digit") {
  const std::uint32_t seed = 4;
  Random random(seed);
  for (int round = 0; round < 300; ++round) {
    const unsigned int count = 1 + random.below(round % 10 == 0 ? 3000 : 60);
    const std::uint32_t nbValues = 1 + random.below(2 * count), mask = ~0u << random.below(32);
    std::vector<float> values;
    for (std::uint32_t i = 0; i < nbValues; ++i) values.push_back(floatFromBits(random.bits() & mask));
    std::vector<qzBBox> boxes;
    for (unsigned int i = 0; i < count; ++i) boxes.emplace_back(Point(values[random.below(nbValues)], 0.0f, 0.0f));
    OpenSAHBuilder builder(boxes);
    qzPlain::SAHBuilder plain = plainOf(builder);
    const qzGNode node = nodeOf(qzBBox(Point(random.below(2) == 0 ? 0.0f : random.anyFloat(), 0.0f, 0.0f)));
    qzBBox::tAxis axis = qzBBox::eAxisX;
    float plane, plainPlane;
    builder.findMedianSplit(node, 0, count, axis, plane);
    plain.findMedianSplit(node, 0, count, qzBBox::eAxisX, plainPlane);
    INFO("round ", round, ", seed ", seed);
    REQUIRE(sameBitsOrNaN(plane, plainPlane));
  }
}

TEST_CASE("a centroid on the plane goes left, a NaN one right; with a NaN plane all go right") {
  const auto nbLeft = [](const std::vector<float>& xs, float plane) {
    std::vector<qzBBox> boxes;
    for (const float x : xs) boxes.emplace_back(Point(x, 0.0f, 0.0f));
    OpenSAHBuilder builder(boxes);
    qzGenericBVH tree;
    builder.build(tree);  // a root to split
    builder.splitNode(0, tree, 0, builder.mNbItems, qzBBox::eAxisX, plane, 31);
    CHECK(tree.getNbNodes() == 3);
    return tree.getNode(1).getNoPrimitives();
  };
  CHECK(nbLeft({1.0f, 2.0f, 3.0f}, 2.0f) == 2);
  CHECK(nbLeft({1.0f, kNaN, 3.0f}, 2.0f) == 1);
  CHECK(nbLeft({1.0f, 2.0f, 3.0f}, kNaN) == 0);
  CHECK(nbLeft({1.0f, 2.0f, 3.0f}, kInf) == 3);
  CHECK(nbLeft({kInf, -kInf, 0.0f}, kInf) == 3);
  CHECK(nbLeft({-0.0f, 0.0f}, -0.0f) == 2);
}

TEST_CASE("getCoord takes axis value 0 as x, eAxisY as y and any other as z") {
  const Point v(1.0f, 2.0f, 3.0f);
  CHECK(OpenSAHBuilder::getCoord(qzBBox::eAxisX, v) == 1.0f);
  CHECK(OpenSAHBuilder::getCoord(qzBBox::eAxisY, v) == 2.0f);
  CHECK(OpenSAHBuilder::getCoord(qzBBox::eAxisZ, v) == 3.0f);
  CHECK(OpenSAHBuilder::getCoord(qzBBox::tAxis(0xC0000000u), v) == 3.0f);
  CHECK(OpenSAHBuilder::getCoord(qzBBox::tAxis(1), v) == 3.0f);
}

TEST_CASE("buildIter makes a leaf of a node at depth 32, however many items there are") {
  OpenSAHBuilder builder(randomBoxes(2000, 0.1f, 5));
  qzGenericBVH tree;
  builder.build(tree);
  const unsigned int nbNodes = tree.getNbNodes();
  builder.buildIter(0, tree, 3, 1500, 32);
  CHECK(tree.getNode(0).isLeaf());
  CHECK(tree.getNode(0).getPrimStartIdx() == 3);
  CHECK(tree.getNode(0).getNoPrimitives() == 1500);
  CHECK(tree.getNbNodes() == nbNodes);
  builder.buildIter(0, tree, 0, 2000, 31);
  CHECK_FALSE(tree.getNode(0).isLeaf());
  CHECK(tree.getNbNodes() == nbNodes + 2);
}
