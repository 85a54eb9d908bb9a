#include <doctest/doctest.h>

#include <stdexcept>

#include "builders/surface_area/qzBothSAHBuilders.h"
#include "builders/surface_area/qzCostWithoutTypeInformation.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

using Point = Wm4::Vector3<float>;

float count(const qzBBox&, unsigned int nb) {
  return static_cast<float>(nb);
}

// 20 points at x = 0, 1, ... 19; no extent on y and z.
std::vector<qzBBox> row() {
  std::vector<qzBBox> boxes;
  for (int i = 0; i < 20; ++i) boxes.emplace_back(Point(static_cast<float>(i), 0.0f, 0.0f));
  return boxes;
}

}  // namespace

TEST_CASE("a node of 17 to 1024 items costs both sides of 127 planes on three axes, then itself") {
  BothSAHBuilders both(row());
  const std::vector<CostCall> calls = both.build(count);
  REQUIRE(calls.size() == 2 * 3 * 127 + 1);  // the halves never cost less than the whole: one leaf
  CHECK(both.tree().getNbNodes() == 1);
  for (std::size_t i = 0; i + 1 < calls.size(); i += 2) CHECK(calls[i].count + calls[i + 1].count == 20);

  // x: the planes are 19 / 128 apart, so item i lies in bin 128 i / 19, the last one in bin 127.
  CHECK(calls[0] == CostCall{qzBBox(Point(0.0f, 0.0f, 0.0f)), 1});
  CHECK(calls[1] == CostCall{qzBBox::Make(1.0f, 0.0f, 0.0f, 19.0f, 0.0f, 0.0f), 19});
  CHECK(calls[2 * 6] == CostCall{qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f), 2});
  CHECK(calls[2 * 126] == CostCall{qzBBox::Make(0.0f, 0.0f, 0.0f, 18.0f, 0.0f, 0.0f), 19});
  CHECK(calls[2 * 126 + 1] == CostCall{qzBBox(Point(19.0f, 0.0f, 0.0f)), 1});
  // y and z have no extent, so everything lies in bin 0 and the other side is empty.
  const qzBBox all = qzBBox::Make(0.0f, 0.0f, 0.0f, 19.0f, 0.0f, 0.0f);
  CHECK(calls[2 * 127] == CostCall{all, 20});
  CHECK(calls[2 * 127 + 1] == CostCall{qzBBox(), 0});
  CHECK(calls[2 * 3 * 127 - 2] == CostCall{all, 20});
  CHECK(calls.back() == CostCall{all, 20});
}

TEST_CASE("leaves of up to 16 items and median splits do not call the cost functor") {
  CHECK(BothSAHBuilders(randomBoxes(16, 0.1f, 1)).build(count).empty());
  // 1025 items on one point: medians all the way down to the last leaf.
  CHECK(BothSAHBuilders(std::vector<qzBBox>(1025, qzBBox(Point(0.0f, 0.0f, 0.0f)))).build(count).empty());
}

TEST_CASE("a cost that is never below that of the whole makes a leaf, and so does NaN on either side") {
  const std::vector<qzBBox> boxes = randomBoxes(200, 0.1f, 2);
  const NotingSAH::Formula kLeafMakers[] = {
      [](const qzBBox&, unsigned int) { return 1.0f; },
      [](const qzBBox&, unsigned int) { return kNaN; },
      [](const qzBBox&, unsigned int) { return kInf; },
      // NaN for the whole node only, for the halves only.
      [](const qzBBox&, unsigned int nb) { return nb == 200 ? kNaN : 1.0f; },
      [](const qzBBox&, unsigned int nb) { return nb == 200 ? 1e30f : kNaN; },
      // Equal cost.
      [](const qzBBox&, unsigned int nb) { return nb == 200 ? 2.0f : 1.0f; },
  };
  for (const NotingSAH::Formula formula : kLeafMakers) {
    BothSAHBuilders both(boxes);
    both.build(formula);
    CHECK(both.tree().getNbNodes() == 1);
    CHECK(both.tree().getNode(0).getNoPrimitives() == 200);
  }
}

TEST_CASE("negative costs are compared like others") {
  BothSAHBuilders both(row());
  both.build([](const qzBBox&, unsigned int nb) { return nb == 10 ? -5.0f : nb == 20 ? -9.0f : 0.0f; });
  CHECK(both.tree().getNbNodes() == 3);
  CHECK(both.tree().getNode(1).getNoPrimitives() == 10);
}

TEST_CASE("a split with an empty side is accepted when it is the cheapest") {
  // The scene box starts before the items: the lowest plane has no item on its left, which the functor prefers.
  std::vector<qzBBox> boxes = row();
  BothSAHBuilders both(boxes);
  both.setSceneBBox(qzBBox::Make(-30.0f, 0.0f, 0.0f, 20.0f, 1.0f, 1.0f));
  both.build([](const qzBBox&, unsigned int nb) { return nb == 0 ? -1000.0f : static_cast<float>(nb); });
  CHECK(both.tree().getNbNodes() > 3);
  const qzGNode& empty = both.tree().getNode(1);
  CHECK(empty.isLeaf());
  CHECK(empty.getNoPrimitives() == 0);
  CHECK(sameBits(empty.getBBox(), qzBBox()));
}

TEST_CASE("a functor derived from the default one is called, not replaced by the built-in cost") {
  class Counting : public qzDefaultSAH {
   public:
    float f(const qzBBox& box, unsigned int nb) const override {
      ++mNbCalls;
      return qzDefaultSAH::f(box, nb);
    }
    mutable int mNbCalls = 0;
  };
  const Counting counting;
  OpenSAHBuilder builder(row());
  builder.setSAH(&counting);
  qzGenericBVH tree;
  builder.build(tree);
  CHECK(counting.mNbCalls >= 2 * 3 * 127 + 1);
}

TEST_CASE("an exception of the functor propagates, and the builder then builds the same tree as a new one") {
  class Throwing : public qzSAHFunctionoid {
   public:
    float f(const qzBBox&, unsigned int) const override { throw std::runtime_error("no cost"); }
    ~Throwing() override = default;
  };
  const Throwing throwing;
  const qzDefaultSAH usual;
  const std::vector<qzBBox> boxes = randomBoxes(400, 0.1f, 8);
  OpenSAHBuilder builder(boxes), other(boxes);
  qzGenericBVH tree, expected;
  builder.setSAH(&throwing);
  CHECK_THROWS_AS(builder.build(tree), std::runtime_error);
  builder.setSAH(&usual);
  builder.build(tree);
  other.build(expected);
  CHECK(expected.getNbNodes() > 1);
  CHECK(sameTree(tree, expected));
}

TEST_CASE("functors of callers without run-time type information are called like any other") {
  const std::vector<qzBBox> boxes = randomBoxes(800, 0.1f, 9);
  const auto nbNodesBy = [&](const qzSAHFunctionoid* sah) {
    OpenSAHBuilder builder(boxes);
    if (sah != nullptr) builder.setSAH(sah);
    qzGenericBVH tree;
    builder.build(tree);
    return tree.getNbNodes();
  };
  const unsigned int nbNodes = nbNodesBy(nullptr);
  REQUIRE(nbNodes > 1);
  CHECK(nbNodesBy(makeCostWithoutTypeInformation().get()) == nbNodes);
  CHECK(nbNodesBy(makeDefaultCostWithoutTypeInformation().get()) == nbNodes);
  CHECK(nbNodesBy(makeDerivedCostWithoutTypeInformation().get()) == 1);  // no split is cheaper than the count
}
