#include <doctest/doctest.h>

#include <type_traits>
#include <utility>

#include "plain/qzPlainBBox.h"
#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

TEST_CASE("a union contains both boxes") {
  const qzBBox a = qzBBox::Make(0.0f, 5.0f, -1.0f, 1.0f, 6.0f, 1.0f),
               b = qzBBox::Make(-2.0f, 5.5f, 0.0f, 0.5f, 9.0f, 0.5f);
  CHECK(sameBits(a.bboxUnion(b), qzBBox::Make(-2.0f, 5.0f, -1.0f, 1.0f, 9.0f, 1.0f)));
}

TEST_CASE("an intersection is the common part, empty for disjoint boxes") {
  const qzBBox a = qzBBox::Make(0.0f, 0.0f, 0.0f, 2.0f, 2.0f, 2.0f),
               b = qzBBox::Make(1.0f, -1.0f, 0.5f, 3.0f, 1.0f, 1.5f);
  CHECK(sameBits(a.bboxIntersection(b), qzBBox::Make(1.0f, 0.0f, 0.5f, 2.0f, 1.0f, 1.5f)));
  const qzBBox apart = unitCube().bboxIntersection(qzBBox::Make(3.0f, 0.0f, 0.0f, 4.0f, 1.0f, 1.0f));
  CHECK(apart.isEmpty());
}

TEST_CASE("the intersection of disjoint boxes keeps min above max") {
  const qzBBox apart = unitCube().bboxIntersection(qzBBox::Make(3.0f, 0.0f, 0.0f, 4.0f, 1.0f, 1.0f));
  CHECK(sameBits(apart, qzBBox::Make(3.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f)));
}

TEST_CASE("expand extends the box to a point and no farther") {
  CHECK(sameBits(unitCube().expand(Point(2.0f, 0.5f, -1.0f)), qzBBox::Make(0.0f, 0.0f, -1.0f, 2.0f, 1.0f, 1.0f)));
  CHECK(sameBits(unitCube().expand(Point(0.5f, 0.5f, 0.5f)), unitCube()));
  CHECK(sameBits(qzBBox().expand(Point(1.0f, 2.0f, 3.0f)), qzBBox(Point(1.0f, 2.0f, 3.0f))));
}

TEST_CASE("union, intersection and expand keep the first box's value when the other is equal or NaN") {
  const float payload = floatFromBits(0x7FC0BEEFu);
  const qzBBox atHand = qzBBox::Make(0.0f, -0.0f, payload, 0.0f, -0.0f, payload);
  const qzBBox other = qzBBox::Make(-0.0f, 0.0f, 1.0f, -0.0f, 0.0f, 1.0f);
  const qzBBox notANumber(Point(kNaN, kNaN, kNaN));
  CHECK(sameBits(atHand.bboxUnion(other), atHand));
  CHECK(sameBits(atHand.bboxIntersection(other), atHand));
  CHECK(sameBits(atHand.expand(other.getMinPoint()), atHand));
  CHECK(sameBits(unitCube().bboxUnion(notANumber), unitCube()));
  CHECK(sameBits(unitCube().bboxIntersection(notANumber), unitCube()));
  CHECK(sameBits(unitCube().expand(notANumber.getMinPoint()), unitCube()));
}

TEST_CASE("grow moves every face outwards") {
  CHECK(sameBits(unitCube().grow(0.5f), qzBBox::Make(-0.5f, -0.5f, -0.5f, 1.5f, 1.5f, 1.5f)));
}

TEST_CASE("grow by a negative amount shrinks the box and may invert it") {
  CHECK(sameBits(unitCube().grow(-0.25f), qzBBox::Make(0.25f, 0.25f, 0.25f, 0.75f, 0.75f, 0.75f)));
  const qzBBox beyond = unitCube().grow(-1.0f);
  CHECK(sameBits(beyond, qzBBox::Make(1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f)));
  CHECK(beyond.isEmpty());
}

TEST_CASE("the in-place forms assign what the const forms return, and return the box itself") {
  const std::uint32_t seed = 21;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 20000; ++i) {
    const qzBBox box = anyBox(random), o = anyBox(random);
    const Point p = anyPoint(random);
    const float g = random.anyFloat();
    qzBBox united = box, intersected = box, expanded = box, grown = box;
    if (&united.selfUnion(o) != &united || !sameBits(united, box.bboxUnion(o))) FAIL(describe(box), describe(o));
    if (&intersected.selfIntersection(o) != &intersected || !sameBits(intersected, box.bboxIntersection(o))) {
      FAIL(describe(box), describe(o));
    }
    if (&expanded.selfExpand(p) != &expanded || !sameBits(expanded, box.expand(p))) FAIL(describe(box), describe(p));
    if (&grown.selfGrow(g) != &grown || !sameBitsOrNaN(grown, box.grow(g))) FAIL(describe(box), " grown by ", g);
  }
}

TEST_CASE("the const forms return a new box by value") {
  const qzBBox box;
  CHECK(std::is_same_v<decltype(box.bboxUnion(box)), qzBBox>);
  CHECK(std::is_same_v<decltype(box.bboxIntersection(box)), qzBBox>);
  CHECK(std::is_same_v<decltype(box.expand(Point())), qzBBox>);
  CHECK(std::is_same_v<decltype(box.grow(0.0f)), qzBBox>);
}

TEST_CASE("arguments may alias the box or its points") {
  qzBBox box = unitCube();
  CHECK(sameBits(box.selfUnion(box), unitCube()));
  CHECK(sameBits(box.selfIntersection(box), unitCube()));
  CHECK(sameBits(box.selfExpand(box.getMinPoint()), unitCube()));
  CHECK(sameBits(box.selfExpand(box.getMaxPoint()), unitCube()));
  qzBBox inverted = qzBBox::Make(1.0f, 2.0f, 3.0f, -1.0f, -2.0f, -3.0f);
  inverted.selfExpand(inverted.getMinPoint());
  CHECK(sameBits(inverted, qzBBox(Point(1.0f, 2.0f, 3.0f))));
}
