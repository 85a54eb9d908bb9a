#include <doctest/doctest.h>
#include <qzCommonAddOns/bvh/qzGNode.h>

#include "plain/qzPlainBBox.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"

using namespace qzTest;

namespace {

qzGNode innerNode(const qzBBox& box, unsigned int axis, unsigned int k) {
  qzGNode node;
  node.setBBox(box);
  node.setNode(static_cast<qzBBox::tAxis>(axis), 1, k << 28 | 2, 0.0f);
  return node;
}

/// (k / 15) * (max - min) + min, a rounding after each step.
float plainSplitPlane(const qzBBox& box, unsigned int axis, unsigned int k) {
  const int i = qzPlain::axisNumber(axis & 0xC0000000u);
  const float part = static_cast<float>(k) / 15.0f;
  const float extent = box.getMaxPoint()[i] - box.getMinPoint()[i];
  const float offset = part * extent;
  return offset + box.getMinPoint()[i];
}

qzBBox box123() {
  return qzBBox::Make(1.0f, 2.0f, 3.0f, 16.0f, 32.0f, 48.0f);
}

}  // namespace

TEST_CASE("split position 0 puts the plane at the box minimum on the split axis") {
  CHECK(innerNode(box123(), qzBBox::eAxisX, 0).getSplitPlane() == 1.0f);
  CHECK(innerNode(box123(), qzBBox::eAxisY, 0).getSplitPlane() == 2.0f);
  CHECK(innerNode(box123(), qzBBox::eAxisZ, 0).getSplitPlane() == 3.0f);
}

TEST_CASE("split position 15 puts the plane at the box maximum") {
  const qzGNode node = innerNode(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 10.0f), qzBBox::eAxisZ, 15);
  CHECK(node.getRightChildIdx() == 2);
  CHECK(node.getSplitPlane() == 10.0f);
  CHECK(innerNode(box123(), qzBBox::eAxisX, 15).getSplitPlane() == 16.0f);
  CHECK(innerNode(box123(), qzBBox::eAxisY, 15).getSplitPlane() == 32.0f);
}

TEST_CASE("the sixteen split positions are evenly spaced") {
  const qzBBox box = qzBBox::Make(0.0f, 0.0f, 0.0f, 15.0f, 15.0f, 15.0f);
  for (unsigned int k = 0; k < 16; ++k) {
    INFO("k ", k);
    const float position = innerNode(box, qzBBox::eAxisY, k).getSplitPlane();
    CHECK((position > static_cast<float>(k) - 1e-5f && position < static_cast<float>(k) + 1e-5f));
  }
}

TEST_CASE("the split position is divided by 15 before it is multiplied") {
  const float divided = 8.0f / 15.0f;
  const float expected = divided * 3.0f;
  REQUIRE_FALSE(sameBits(expected, 8.0f * 3.0f / 15.0f));
  const qzBBox box = qzBBox::Make(0.0f, 0.0f, 0.0f, 3.0f, 3.0f, 3.0f);
  CHECK(sameBits(innerNode(box, qzBBox::eAxisX, 8).getSplitPlane(), expected));
}

TEST_CASE("a leaf's split plane is on z, with the top bits of its count as position") {
  qzGNode leaf;
  leaf.setBBox(box123());
  leaf.setLeaf(0, 4);
  CHECK(leaf.getSplitPlane() == 3.0f);
  leaf.setLeaf(0, 0xF0000000u);
  CHECK(leaf.getSplitPlane() == 48.0f);
}

TEST_CASE("the split plane of a default node is NaN") {
  const float plane = qzGNode().getSplitPlane();
  CHECK(plane != plane);
}

TEST_CASE("the split plane equals its plain form, bit for bit") {
  const std::uint32_t seed = 52;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 100000; ++i) {
    float c[6];
    const bool ordinary = random.below(2) == 0;
    for (float& value : c) value = ordinary ? random.between(-10.0f, 10.0f) : random.anyFloat();
    const qzBBox box = qzBBox::Make(c[0], c[1], c[2], c[3], c[4], c[5]);
    const unsigned int axis = random.below(4) << 30, k = random.below(16);
    const float expected = plainSplitPlane(box, axis, k);
    if (!sameBitsOrNaN(innerNode(box, axis, k).getSplitPlane(), expected)) FAIL("run ", i, " axis ", axis, " k ", k);
  }
}

TEST_CASE("the split plane does not depend on the caller's float mode, which is kept") {
  const qzBBox box = qzBBox::Make(0x1p-130f, 0.1f, 0x1p-149f, 0x1p-128f, 0.7f, 0x1p-126f);
  for (const unsigned int axis : {0u, 0x40000000u, 0x80000000u}) {
    for (unsigned int k = 0; k < 16; ++k) {
      const qzGNode node = innerNode(box, axis, k);
      const float expected = plainSplitPlane(box, axis, k);
      for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
        float plane;
        bool isKept;
        {
          const CallersFloatMode callers(mode);
          plane = node.getSplitPlane();
          isKept = callers.isKept();
        }
        INFO("axis ", axis, " k ", k, " mode ", static_cast<unsigned int>(mode));
        CHECK(sameBits(plane, expected));
        CHECK(isKept);
      }
    }
  }
}
