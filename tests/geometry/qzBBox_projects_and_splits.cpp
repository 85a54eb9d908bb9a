#include <doctest/doctest.h>

#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

qzBBox::tAxis axisWord(unsigned int word) {
  return static_cast<qzBBox::tAxis>(word);
}

}  // namespace

TEST_CASE("a point outside is projected onto the border, a point inside stays") {
  CHECK(sameBits(unitCube().projectOntoBBox(Point(-1.0f, 0.5f, 7.0f)), Point(0.0f, 0.5f, 1.0f)));
  CHECK(sameBits(unitCube().projectOntoBBox(Point(0.25f, 0.5f, 0.75f)), Point(0.25f, 0.5f, 0.75f)));
}

TEST_CASE("the lower bound is applied first, so an inverted axis gives max") {
  const qzBBox inverted = qzBBox::Make(1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f);
  CHECK(sameBits(inverted.projectOntoBBox(Point(-5.0f, 0.5f, 5.0f)), Point(0.0f, 0.0f, 0.0f)));
}

TEST_CASE("a NaN coordinate stays, and so does a zero that equals a bound") {
  const float payload = floatFromBits(0x7FC0BEEFu);
  CHECK(sameBits(unitCube().projectOntoBBox(Point(payload, -0.0f, 0.5f)), Point(payload, -0.0f, 0.5f)));
  const qzBBox flat = qzBBox::Make(-1.0f, -1.0f, -1.0f, 0.0f, -0.0f, kNaN);
  CHECK(sameBits(flat.projectOntoBBox(Point(-0.0f, 0.0f, 9.0f)), Point(-0.0f, 0.0f, 9.0f)));
}

TEST_CASE("of four components x, y and z are projected and w is copied") {
  const Wm4::Vector4<float> p(-1.0f, 0.5f, 7.0f, floatFromBits(0xFFC00001u));
  CHECK(sameBits(unitCube().projectOntoBBox(p), Wm4::Vector4<float>(0.0f, 0.5f, 1.0f, floatFromBits(0xFFC00001u))));
}

TEST_CASE("the left part ends at the plane, the right part starts there") {
  CHECK(sameBits(unitCube().splitLeft(qzBBox::eAxisX, 0.25f), qzBBox::Make(0.0f, 0.0f, 0.0f, 0.25f, 1.0f, 1.0f)));
  CHECK(sameBits(unitCube().splitRight(qzBBox::eAxisX, 0.25f), qzBBox::Make(0.25f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f)));
  CHECK(sameBits(unitCube().splitLeft(qzBBox::eAxisY, 0.25f), qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 0.25f, 1.0f)));
  CHECK(sameBits(unitCube().splitRight(qzBBox::eAxisY, 0.25f), qzBBox::Make(0.0f, 0.25f, 0.0f, 1.0f, 1.0f, 1.0f)));
  CHECK(sameBits(unitCube().splitLeft(qzBBox::eAxisZ, 0.25f), qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 0.25f)));
  CHECK(sameBits(unitCube().splitRight(qzBBox::eAxisZ, 0.25f), qzBBox::Make(0.0f, 0.0f, 0.25f, 1.0f, 1.0f, 1.0f)));
}

TEST_CASE("split returns the right part and leaves the left part in the box") {
  qzBBox box = unitCube();
  const qzBBox right = box.split(qzBBox::eAxisX, 0.25f);
  CHECK(sameBits(right, qzBBox::Make(0.25f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f)));
  CHECK(sameBits(box, qzBBox::Make(0.0f, 0.0f, 0.0f, 0.25f, 1.0f, 1.0f)));
}

TEST_CASE("a plane outside the box makes one part the whole box and the other empty") {
  qzBBox above = unitCube();
  const qzBBox beyond = above.split(qzBBox::eAxisY, 2.0f);
  CHECK(sameBits(above, unitCube()));
  CHECK(sameBits(beyond, qzBBox::Make(0.0f, 2.0f, 0.0f, 1.0f, 1.0f, 1.0f)));
  CHECK(beyond.isEmpty());

  qzBBox below = unitCube();
  const qzBBox rest = below.split(qzBBox::eAxisZ, -1.0f);
  CHECK(sameBits(rest, unitCube()));
  CHECK(sameBits(below, qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, -1.0f)));
  CHECK(below.isEmpty());
}

TEST_CASE("any other axis value splits on z") {
  for (const unsigned int stray : {0xC0000000u, 1u, 0x3FFFFFFFu, 0x40000001u, 0x7FFFFFFFu, 0x80000001u, 0xFFFFFFFFu}) {
    INFO("axis ", stray);
    const qzBBox box = unitCube();
    CHECK(sameBits(box.splitLeft(axisWord(stray), 0.25f), box.splitLeft(qzBBox::eAxisZ, 0.25f)));
    CHECK(sameBits(box.splitRight(axisWord(stray), 0.25f), box.splitRight(qzBBox::eAxisZ, 0.25f)));
    qzBBox left = unitCube();
    CHECK(sameBits(left.split(axisWord(stray), 0.25f), box.splitRight(qzBBox::eAxisZ, 0.25f)));
    CHECK(sameBits(left, box.splitLeft(qzBBox::eAxisZ, 0.25f)));
  }
}

TEST_CASE("the plane replaces an equal bound and a NaN bound") {
  const qzBBox zeros = qzBBox::Make(0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);
  CHECK(bitsOf(zeros.splitLeft(qzBBox::eAxisX, -0.0f).xMax()) == 0x80000000u);
  CHECK(bitsOf(zeros.splitRight(qzBBox::eAxisX, -0.0f).xMin()) == 0x80000000u);
  const qzBBox notANumber(Point(kNaN, kNaN, kNaN));
  CHECK(notANumber.splitLeft(qzBBox::eAxisY, 2.0f).yMax() == 2.0f);
  CHECK(notANumber.splitRight(qzBBox::eAxisY, 2.0f).yMin() == 2.0f);
}

TEST_CASE("a NaN plane replaces the bound") {
  const float payload = floatFromBits(0x7FC0BEEFu);
  CHECK(sameBits(unitCube().splitLeft(qzBBox::eAxisZ, payload).zMax(), payload));
  CHECK(sameBits(unitCube().splitRight(qzBBox::eAxisZ, payload).zMin(), payload));
}

TEST_CASE("convert returns the centre, the unit axes in order and the half extents") {
  const Wm4::Box3<float> box = qzBBox::Make(1.0f, -2.0f, 0.0f, 4.0f, 2.0f, 0.5f).convert();
  CHECK(sameBits(box.Center, Point(2.5f, 0.0f, 0.25f)));
  CHECK(sameBits(box.Axis[0], Wm4::Vector3<float>::UNIT_X));
  CHECK(sameBits(box.Axis[1], Wm4::Vector3<float>::UNIT_Y));
  CHECK(sameBits(box.Axis[2], Wm4::Vector3<float>::UNIT_Z));
  CHECK((box.Extent[0] == 1.5f && box.Extent[1] == 2.0f && box.Extent[2] == 0.25f));
}
