// Builds cancelled at poll 0, 1, 2, ... up to the last one. BothBuilders compares the polls, calls and records of the
// cancelled build and every bit that it leaves in the tree with the plain form.

#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

#include <doctest/doctest.h>

using namespace qzTest;

namespace {

std::uint64_t nbPollsOfWholeBuild(const std::vector<qzBBox>& boxes, unsigned int bits, unsigned int limit) {
  BothBuilders both(limit);
  CHECK(both.build(boxes, bits, CancelAtPoll::kNever));
  return both.nbPolls();
}

// Builds into an empty tree or, if before is not empty, into the tree over those boxes.
void cancelAtEveryPoll(const std::vector<qzBBox>& boxes, unsigned int bits, unsigned int limit,
                       const std::vector<qzBBox>& before = {}) {
  const std::uint64_t nbPolls = nbPollsOfWholeBuild(boxes, bits, limit);
  REQUIRE(nbPolls > 0);
  for (std::uint64_t k = 0; k < nbPolls; ++k) {
    BothBuilders both(limit);
    if (!before.empty()) both.build(before, bits);
    CHECK_FALSE(both.build(boxes, bits, k));
    CHECK(both.nbPolls() > k);
    CHECK(both.build(boxes, bits));
  }
}

}  // namespace

TEST_CASE("a build can be cancelled at any poll") {
  const std::vector<qzBBox> boxes = randomBoxes(45, 0.2f, 30);
  for (const unsigned int limit : {1u, 4u, 100u}) {
    for (const unsigned int bits : {2u, 10u, 20u}) cancelAtEveryPoll(boxes, bits, limit);
  }
}

TEST_CASE("a rebuild into a smaller or larger tree can be cancelled at any poll") {
  const std::vector<qzBBox> boxes = randomBoxes(33, 0.2f, 31);
  for (const unsigned int limit : {1u, 5u}) {
    cancelAtEveryPoll(boxes, 20, limit, randomBoxes(4, 0.2f, 32));
    cancelAtEveryPoll(boxes, 20, limit, randomBoxes(20, 0.2f, 33));
    cancelAtEveryPoll(boxes, 20, limit, randomBoxes(200, 0.2f, 34));
  }
}

TEST_CASE("a build of degenerate scenes can be cancelled at any poll") {
  const std::uint32_t kSeed = 35;
  for (const Scene& scene : scenesOfEveryKind(12, kSeed)) {
    INFO(scene.name, ", seed ", kSeed);
    for (const unsigned int bits : {0u, 1u, 9u, 20u}) {
      cancelAtEveryPoll(scene.boxes, bits, 1);
      cancelAtEveryPoll(scene.boxes, bits, 3, randomBoxes(9, 0.2f, 36));
    }
  }
}

TEST_CASE("repeated builds by one builder into one tree, cancelled at random, equal the plain form") {
  const std::uint32_t kSeed = 37;
  const std::vector<Scene> scenes = scenesOfEveryKind(30, kSeed);
  BothBuilders both;
  Random random(kSeed);
  int nbComplete = 0;
  for (int round = 0; round < 1500; ++round) {
    const Scene& scene = scenes[random.below(static_cast<std::uint32_t>(scenes.size()))];
    INFO("round ", round, ": ", scene.name, ", seed ", kSeed);
    both.setMaxPrimitivesPerLeaf(1 + random.below(6));
    const unsigned int bits = random.below(22);
    nbComplete += both.build(scene.boxes, bits, random.below(400));
  }
  CHECK(nbComplete > 100);
  CHECK(nbComplete < 1400);
}

TEST_CASE("a build cancelled before it links nodes does not change the tree") {
  const std::vector<qzBBox> before = randomBoxes(20, 0.2f, 38), boxes = randomBoxes(50, 0.2f, 39);
  for (const std::uint64_t cancelAt : {0u, 1u, 2u, 3u}) {
    BothBuilders both;
    both.build(before, 20);
    const std::vector<qzGNode> nodes = both.nodes();
    const std::vector<unsigned int> primitives = both.tree().getPrimitives();
    const unsigned int nbNodes = both.tree().getNbNodes();
    CHECK_FALSE(both.build(boxes, 20, cancelAt));
    REQUIRE(both.nodes().size() == nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) CHECK(sameBits(both.nodes()[i], nodes[i]));
    CHECK(both.tree().getPrimitives() == primitives);
    CHECK(both.tree().getNbNodes() == nbNodes);
    CHECK(nbPrimitivesOf(both.tree()) == 20);
  }
}

TEST_CASE("a build cancelled while it links nodes leaves the full node array, no boxes and the old counter") {
  const std::vector<qzBBox> corners =
      boxesInCells({{1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}, 1);
  const std::size_t nbNodesOfLevel[] = {3, 7, 15};  // linked after level 1, 2, 3
  for (const std::uint64_t level : {1u, 2u, 3u}) {
    BothBuilders both;
    CHECK_FALSE(both.build(corners, 1, 3 + level));
    CHECK(both.nbPolls() == 4 + level);
    CHECK(both.tree().getNbNodes() == 0);
    CHECK(both.tree().getPrimitives().empty());
    REQUIRE(both.nodes().size() == 16);
    for (std::size_t i = 0; i < 16; ++i) {
      CHECK(sameBits(both.nodes()[i].getBBox(), qzBBox()));
      if (i >= nbNodesOfLevel[level - 1]) CHECK(sameBits(both.nodes()[i], qzGNode()));
    }
    const qzGNode& last = both.nodes()[nbNodesOfLevel[level - 1] - 1];
    CHECK(last.isLeaf());
    CHECK(last.getNoPrimitives() == (8u >> level));
    CHECK(last.getPrimStartIdx() == 8u - (8u >> level));
  }
}

TEST_CASE("a build cancelled among the boxes polls once per remaining visit, and parents still unite child boxes") {
  // Two leaves of one point each. Polls: 0 to 3 and three levels, then the root, the left leaf and its primitive, the
  // right leaf and its primitive, and one after the boxes.
  const std::vector<qzBBox> boxes = pointBoxes({{0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}});
  const qzBBox empty, left = boxes[0], right = boxes[1];
  struct Expected {
    std::uint64_t cancelAt, nbPolls;
    qzBBox root, left, right;
  };
  const Expected kExpected[] = {
      {7, 9, empty, empty, empty},                                // the root itself
      {8, 11, empty, empty, empty},                               // the left leaf: the right one polls, the root unites
      {9, 12, empty, empty, empty},                               // after the left primitive
      {10, 12, left, left, empty},                                // the right leaf
      {11, 13, left, left, empty},                                // after the right primitive
      {12, 13, qzBBox::Make({0, 0, 0}, {1, 1, 1}), left, right},  // after the boxes
  };
  for (const Expected& expected : kExpected) {
    INFO("cancelled at poll ", expected.cancelAt);
    BothBuilders both;
    CHECK_FALSE(both.build(boxes, 1, expected.cancelAt));
    CHECK(both.nbPolls() == expected.nbPolls);
    REQUIRE(both.nodes().size() == 4);
    CHECK(sameBits(both.nodes()[0].getBBox(), expected.root));
    CHECK(sameBits(both.nodes()[1].getBBox(), expected.left));
    CHECK(sameBits(both.nodes()[2].getBBox(), expected.right));
    CHECK(both.tree().getNbNodes() == 3);
    CHECK(both.tree().getPrimitives().empty());
    CHECK(nbPrimitivesOf(both.tree()) == 0);
  }
}

TEST_CASE("a build cancelled while it counts subtrees treats uncounted ones as empty, so parents become leaves") {
  // Polls 13 to 15 belong to the root, the left and the right leaf; 16 follows the counting.
  const std::vector<qzBBox> boxes = pointBoxes({{0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}});
  const auto cancelledAt = [&](std::uint64_t cancelAt, std::uint64_t nbPolls) {
    BothBuilders both(1);
    CHECK_FALSE(both.build(boxes, 1, cancelAt));
    CHECK(both.nbPolls() == nbPolls);
    CHECK(both.nodes().size() == 4);
    CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{0, 1});
    CHECK(nbPrimitivesOf(both.tree()) == 2);
    return both.nodes()[0];
  };
  const qzGNode root13 = cancelledAt(13, 15), root14 = cancelledAt(14, 17), root15 = cancelledAt(15, 17),
                root16 = cancelledAt(16, 17);
  CHECK_FALSE(root13.isLeaf());
  CHECK(root14.isLeaf());
  CHECK(root14.getNoPrimitives() == 0);
  CHECK(root15.isLeaf());
  CHECK(root15.getNoPrimitives() == 1);
  CHECK(root15.getPrimStartIdx() == 0);
  CHECK_FALSE(root16.isLeaf());
}

TEST_CASE("a build cancelled at its last poll leaves the complete tree") {
  const std::vector<qzBBox> boxes = randomBoxes(60, 0.1f, 40);
  BothBuilders complete, cancelled;
  CHECK(complete.build(boxes, 20, CancelAtPoll::kNever));
  CHECK_FALSE(cancelled.build(boxes, 20, complete.nbPolls() - 1));
  REQUIRE(cancelled.nodes().size() == complete.nodes().size());
  for (std::size_t i = 0; i < complete.nodes().size(); ++i) {
    CHECK(sameBits(cancelled.nodes()[i], complete.nodes()[i]));
  }
  CHECK(cancelled.recordTexts() == complete.recordTexts());
  CHECK(cancelled.recordTexts().size() == 4);
}
