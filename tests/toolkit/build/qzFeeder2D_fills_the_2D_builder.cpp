#include <doctest/doctest.h>
#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>
#include <toolkit/base/qzError.h>
#include <toolkit/build/qzFeeder2D.h>

#include <string>

#include "support/qzBits.h"

using namespace qzTest;
using qzToolkit::qzError;
using qzToolkit::qzFeeder2D;
using Point = Wm4::Vector2<float>;

namespace {

// Filled by hand, the way that a feeder is to fill it.
class FilledByHand : public qzLinearGenericBVH2DBuilder {
 public:
  FilledByHand(const std::vector<Point>& points, const std::vector<qzBBox2D>& boxes) {
    mPoints = points;
    mBBoxes = boxes;
    for (const Point& point : points) mBounds.selfExpand(point);
    mNbPrimitives = static_cast<unsigned int>(points.size());
    mIndices.resize(points.size());
  }
};

std::vector<qzBBox2D> randomBoxes(int count, std::uint32_t seed) {
  Random random(seed);
  std::vector<qzBBox2D> boxes;
  for (int i = 0; i < count; ++i) {
    const float x = random.between(-3.0f, 5.0f), y = random.between(-1.0f, 1.0f);
    boxes.push_back(qzBBox2D(Point(x, y)).grow(random.unit() * 0.1f));
  }
  return boxes;
}

std::vector<Point> centersOf(const std::vector<qzBBox2D>& boxes) {
  std::vector<Point> centers;
  for (const qzBBox2D& box : boxes) centers.push_back(box.getCenter());
  return centers;
}

// Nodes and the first nbPrimitives primitives.
bool sameTrees(const qzGenericBVH2D& a, const qzGenericBVH2D& b, unsigned int nbPrimitives) {
  if (a.getNodes().size() != b.getNodes().size()) return false;
  for (std::size_t i = 0; i < a.getNodes().size(); ++i) {
    if (!sameBits(a.getNodes()[i], b.getNodes()[i])) return false;
  }
  for (unsigned int i = 0; i < nbPrimitives; ++i) {
    if (a.getPrimitive(i) != b.getPrimitive(i)) return false;
  }
  return true;
}

template <class Call>
std::string errorOf(Call call) {
  try {
    call();
  } catch (const qzError& error) {
    return error.what();
  }
  return "no error";
}

}  // namespace

TEST_CASE("a feeder builds the same tree as a builder filled by hand") {
  const std::vector<qzBBox2D> boxes = randomBoxes(500, 181);
  const std::vector<qzBBox2D> others = randomBoxes(500, 182);
  for (const unsigned int bits : {3u, 16u}) {
    qzGenericBVH2D expected, tree;
    FilledByHand(centersOf(others), boxes).build(expected, bits);
    qzFeeder2D feeder;
    feeder.setPrimitives(centersOf(others), boxes);
    feeder.build(tree, bits);
    CHECK(sameTrees(tree, expected, 500));
  }
}

TEST_CASE("without points the centres of the boxes are used") {
  const std::vector<qzBBox2D> boxes = randomBoxes(300, 183);
  qzGenericBVH2D expected, tree;
  FilledByHand(centersOf(boxes), boxes).build(expected, 10);
  qzFeeder2D feeder;
  feeder.setPrimitives(boxes);
  feeder.build(tree, 10);
  CHECK(sameTrees(tree, expected, 300));
}

TEST_CASE("a feeder builds any number of trees, into new and used ones, with more and fewer primitives") {
  const std::vector<qzBBox2D> many = randomBoxes(400, 184), few = randomBoxes(7, 185);
  qzFeeder2D feeder;
  qzGenericBVH2D tree;
  for (const std::vector<qzBBox2D>* boxes : {&many, &few, &many, &many, &few}) {
    const auto count = static_cast<unsigned int>(boxes->size());
    feeder.setPrimitives(*boxes);
    qzGenericBVH2D expected;
    FilledByHand(centersOf(*boxes), *boxes).build(expected, 16);
    feeder.build(tree, 16);
    CHECK(sameTrees(tree, expected, count));
    qzGenericBVH2D another;
    feeder.build(another, 16);
    CHECK(sameTrees(another, expected, count));
  }
}

TEST_CASE("the leaf limit of a feeder is that of the builder") {
  qzFeeder2D feeder;
  feeder.setPrimitives(randomBoxes(100, 186));
  feeder.setMaxPrimitivesPerLeaf(100);
  qzGenericBVH2D tree;
  feeder.build(tree, 16);
  CHECK(tree.getNodes().size() == 1);
}

TEST_CASE("invalid primitives are refused with one line that says why") {
  const std::vector<qzBBox2D> boxes = randomBoxes(3, 187);
  const std::vector<Point> points = centersOf(boxes);
  qzFeeder2D feeder;
  CHECK(errorOf([&] { feeder.setPrimitives({points[0]}, boxes); }) == "1 points do not go with 3 boxes");
  CHECK(errorOf([&] { feeder.setPrimitives({}); }) == "there are no primitives");
  for (const float bad : {kNaN, -kNaN, kInf, -kInf}) {
    for (int c = 0; c < 2; ++c) {
      std::vector<Point> badPoints = points;
      badPoints[1][c] = bad;
      CHECK(errorOf([&] { feeder.setPrimitives(badPoints, boxes); }) == "primitive 1: the point is not finite");
    }
    for (int side = 0; side < 4; ++side) {
      float sides[4] = {0.0f, 0.0f, 1.0f, 1.0f};
      sides[side] = bad;
      std::vector<qzBBox2D> badBoxes = boxes;
      badBoxes[2] = qzBBox2D::Make(sides[0], sides[1], sides[2], sides[3]);
      CHECK(errorOf([&] { feeder.setPrimitives(points, badBoxes); }) == "primitive 2: the box is not finite");
      CHECK(errorOf([&] { feeder.setPrimitives(badBoxes); }) == "primitive 2: the box is not finite");
    }
  }
  std::vector<qzBBox2D> insideOut = boxes;
  insideOut[0] = qzBBox2D::Make(1.0f, 0.0f, 0.0f, 1.0f);
  CHECK(errorOf([&] { feeder.setPrimitives(points, insideOut); }) == "primitive 0: the box is empty");
  // Finite sides, but so far apart that the centre is not.
  const qzBBox2D wide = qzBBox2D::Make(-kMaxFloat, 0.0f, kMaxFloat, 1.0f);
  CHECK(errorOf([&] { feeder.setPrimitives({wide}); }) == "primitive 0: the point is not finite");
}

TEST_CASE("more primitives than nodes can address are refused before a build") {
  CHECK(qzToolkit::kMaxPrimitives2D == std::size_t(1) << 29);  // 2^30 - 1 nodes with a primitive each
  const std::vector<qzBBox2D> boxes = randomBoxes(3, 189);
  qzFeeder2D feeder;
  feeder.setPrimitives(boxes, 3);
  CHECK(errorOf([&] { feeder.setPrimitives(boxes, 2); }) == "there are 3 primitives, more than the limit of 2");
  CHECK(errorOf([&] { feeder.setPrimitives(centersOf(boxes), boxes, 2); }) ==
        "there are 3 primitives, more than the limit of 2");
  qzGenericBVH2D tree;
  feeder.build(tree, 16);
  CHECK(!tree.getNodes().empty());
}

TEST_CASE("a feeder without primitives refuses to build") {
  qzFeeder2D feeder;
  qzGenericBVH2D tree;
  CHECK(errorOf([&] { feeder.build(tree, 10); }) == "there are no primitives");
  CHECK(tree.getNodes().empty());
}

TEST_CASE("after a refused input a feeder keeps its earlier one") {
  const std::vector<qzBBox2D> boxes = randomBoxes(50, 188);
  qzFeeder2D feeder;
  feeder.setPrimitives(boxes);
  qzGenericBVH2D before, after;
  feeder.build(before, 16);
  CHECK_THROWS_AS(feeder.setPrimitives({Point(0.0f, kNaN)}, {qzBBox2D(Point(0.0f, 0.0f))}), qzError);
  feeder.build(after, 16);
  CHECK(sameTrees(before, after, 50));
}
