// The surface-area builder when an allocation fails.

#include <doctest/doctest.h>

#include "support/access/qzOpenSAHBuilder.h"
#include "support/access/qzSameTrees.h"
#include "support/qzRefusals.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

// The functor that a builder makes for itself is never freed, which would count as left behind.
class BuilderWithFunctor : public OpenSAHBuilder {
 public:
  BuilderWithFunctor() : mOwn(mSAH) {}
  ~BuilderWithFunctor() { delete mOwn; }
  BuilderWithFunctor(const BuilderWithFunctor&) = delete;
  BuilderWithFunctor& operator=(const BuilderWithFunctor&) = delete;

 private:
  const qzSAHFunctionoid* mOwn;
};

/// Not of the default functor's class, so the builder uses its bins.
class OrdinaryCost : public qzSAHFunctionoid {
 public:
  float f(const qzBBox& box, unsigned int count) const override { return mDefault.f(box, count); }

 private:
  qzDefaultSAH mDefault;
};

}  // namespace

TEST_CASE("a surface-area builder whose construction fails throws and leaks nothing") {
  const std::uint64_t nbRefused = refuseEachInTurn(
      [](const Refusal& refusal) { return refusal.strikes([] { const BuilderWithFunctor builder; }); });
  CHECK(nbRefused == 4);  // three bin arrays and the functor
}

TEST_CASE("resizeItems throws without memory, and succeeds later") {
  const std::vector<qzBBox> boxes = randomBoxes(100, 0.1f, 1);
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    BuilderWithFunctor builder;
    builder.fill({boxes[0]});
    const bool isRefused = refusal.strikes([&] { builder.resizeItems(100); });
    CHECK(builder.mNbItems == (isRefused ? 1u : 100u));
    qzGenericBVH tree;
    builder.build(tree);  // over its present items
    builder.fill(boxes);
    builder.build(tree);
    CHECK(tree.getPrimitives().size() == 100);
    return isRefused;
  });
  CHECK(nbRefused == 5);
}

TEST_CASE("a surface-area build without memory throws, and the next one into the same tree equals a new tree") {
  const std::vector<qzBBox> onePlace(1030);
  const OrdinaryCost cost;
  for (const std::vector<qzBBox>& boxes : {randomBoxes(3000, 0.05f, 2), onePlace}) {
    for (const bool usesBins : {false, true}) {
      const std::vector<qzBBox> earlier = randomBoxes(40, 0.05f, 3);
      OpenSAHBuilder reference(boxes);
      qzGenericBVH expected;
      reference.build(expected);
      const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
        BuilderWithFunctor builder;
        if (usesBins) builder.setSAH(&cost);
        builder.fill(boxes);
        qzGenericBVH tree;
        const bool isRefused = refusal.strikes([&] { builder.build(tree); });
        CHECK((isRefused || sameTree(tree, expected)));
        builder.fill(boxes);
        builder.build(tree);
        CHECK(sameTree(tree, expected));
        return isRefused;
      });
      CHECK(nbRefused == 2);  // nodes and primitives
      delete reference.mSAH;
    }
  }
}

TEST_CASE("a surface-area builder whose copy or assignment fails throws and can be used again") {
  BuilderWithFunctor source;
  source.fill(randomBoxes(50, 0.1f, 4));
  const auto buildOf = [](OpenSAHBuilder& builder) {
    qzGenericBVH tree;
    builder.build(tree);
    return tree;
  };
  const qzGenericBVH expected = buildOf(source);
  const auto copyOf = [&source] { return OpenSAHBuilder(source); };
  const std::uint64_t nbOfCopy = refuseEachInTurn(
      [&](const Refusal& refusal) { return refusal.strikes([&] { const OpenSAHBuilder copy = copyOf(); }); });
  const std::uint64_t nbOfAssignment = refuseEachInTurn([&](const Refusal& refusal) {
    BuilderWithFunctor target;
    OpenSAHBuilder& builder = target;
    const bool isRefused = refusal.strikes([&] { builder = source; });
    builder = source;
    CHECK(sameNodes(buildOf(builder), expected));
    return isRefused;
  });
  CHECK(nbOfCopy == 8);
  CHECK(nbOfAssignment == 5);  // the bins have room
}
