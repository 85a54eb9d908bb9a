// The linear builder when an allocation fails, with a logger installed.

#include <doctest/doctest.h>

#include "support/access/qzSameTrees.h"
#include "support/qzObservers.h"
#include "support/qzRefusals.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

TEST_CASE("a linear build without memory throws, with a logger installed, and the next one equals a new tree") {
  const BoxContainer container(randomBoxes(300, 0.2f, 21));
  const CancelAtPoll never(CancelAtPoll::kNever);
  for (const unsigned int bits : {10u, 20u}) {
    for (const auto* cancel : {static_cast<const CancelAtPoll*>(nullptr), &never}) {
      RecordCount log;
      qzGenericBVH expected;
      qzLinearGenericBVHBuilder().build(container, expected, cancel, bits);
      CHECK(log.nbRecords() == 4);
      const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
        qzLinearGenericBVHBuilder builder;
        qzGenericBVH tree;
        const bool isRefused = refusal.strikes([&] { builder.build(container, tree, cancel, bits); });
        CHECK((isRefused || sameTree(tree, expected)));
        CHECK(builder.build(container, tree, cancel, bits));
        CHECK(sameTree(tree, expected));
        return isRefused;
      });
      CHECK(nbRefused > 10);
    }
  }
}

TEST_CASE("a linear build that is cancelled or without memory throws or returns false, and leaks nothing") {
  const LogCapture quiet(false);
  const BoxContainer container(randomBoxes(12, 0.2f, 22));
  qzGenericBVH expected;
  qzLinearGenericBVHBuilder().build(container, expected, nullptr, 20);
  std::uint64_t cancelAt = 0;
  for (bool isComplete = false; !isComplete; ++cancelAt) {
    INFO("cancelled at poll ", cancelAt);
    refuseEachInTurn([&](const Refusal& refusal) {
      qzLinearGenericBVHBuilder builder;
      qzGenericBVH tree;
      const CancelAtPoll cancel(cancelAt);
      const bool isRefused = refusal.strikes([&] { isComplete = builder.build(container, tree, &cancel, 20); });
      CHECK(builder.build(container, tree, nullptr, 20));
      CHECK(sameTree(tree, expected));
      return isRefused;
    });
  }
  CHECK(cancelAt > 100);
}

TEST_CASE("a linear builder whose copy or assignment fails throws and can be used again") {
  const LogCapture quiet(false);
  const BoxContainer container(randomBoxes(30, 0.2f, 23));
  qzLinearGenericBVHBuilder source;
  qzGenericBVH expected;
  for (int i = 0; i < 2; ++i) source.build(container, expected, nullptr, 20);  // now it holds the indices of the first
  const std::uint64_t nbOfCopy = refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] { static_cast<void>(qzLinearGenericBVHBuilder(source)); });
  });
  const std::uint64_t nbOfAssignment = refuseEachInTurn([&](const Refusal& refusal) {
    qzLinearGenericBVHBuilder target;
    const bool isRefused = refusal.strikes([&] { target = source; });
    qzGenericBVH tree;
    target.build(container, tree, nullptr, 20);
    CHECK(sameTree(tree, expected));
    return isRefused;
  });
  CHECK(nbOfCopy == 1);
  CHECK(nbOfAssignment == 1);
}
