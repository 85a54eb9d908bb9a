#include <doctest/doctest.h>

#include <sstream>
#include <type_traits>

#include "bvh/qzStatisticsTrees.h"
#include "support/qzCallersFloatMode.h"
#include "support/qzStandardStream.h"

using namespace qzTest;

namespace {

struct Info {
  int nbNodes = -1, nbLeaves = -1, minPrimitives = -1, maxPrimitives = -1;
  float avgPrimitives = -1.0f;
  std::string output;
};

Info infoOf(const qzGenericBVH& tree) {
  Info info;
  const StandardStream stream;
  tree.getBVHInfo(info.nbNodes, info.nbLeaves, info.minPrimitives, info.maxPrimitives, info.avgPrimitives);
  info.output = stream.text();
  return info;
}

// A traversal from a node on, with the counters as getBVHInfo starts them.
struct Traversal {
  int nbLeaves = 0, minPrimitives = 0, maxPrimitives = 0, sumPrimitives = 0, maxLocation = 0;

  explicit Traversal(const qzGenericBVH& tree, int from = 0, int level = 0, int startMinimum = 1000)
      : minPrimitives(startMinimum) {
    getBVHInfoIter(tree, from, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation, level);
  }
};

// The statistics by recursion from the root.
struct PlainInfo {
  int nbLeaves = 0, minPrimitives, maxPrimitives = 0, sum = 0;
  unsigned int levelOfMax = 0;

  explicit PlainInfo(const qzGenericBVH& tree) : minPrimitives(static_cast<int>(tree.getNbNodes())) {
    visit(tree, 0, 0);
  }
  void visit(const qzGenericBVH& tree, unsigned int number, unsigned int level) {
    const qzGNode& node = tree.getNode(number);
    if (!node.isLeaf()) {
      visit(tree, node.getLeftChildIdx(), level + 1);
      visit(tree, node.getRightChildIdx(), level + 1);
      return;
    }
    const int count = static_cast<int>(node.getNoPrimitives());
    ++nbLeaves;
    sum += count;
    if (count < minPrimitives) minPrimitives = count;
    if (count > maxPrimitives) {
      maxPrimitives = count;
      levelOfMax = level;
    }
  }
};

}  // namespace

TEST_CASE("a tree of one leaf with 5 primitives reports its node count 1 as minimum, at level 0") {
  const Info info = infoOf(treeOf({leaf(5)}));
  CHECK(info.nbNodes == 1);
  CHECK(info.nbLeaves == 1);
  CHECK(info.minPrimitives == 1);
  CHECK(info.maxPrimitives == 5);
  CHECK(info.avgPrimitives == 5.0f);
  CHECK(info.output == "max at lvl:0\n");
}

TEST_CASE("a tree of one empty leaf has minimum, maximum and average 0") {
  const Info info = infoOf(treeOf({leaf(0)}));
  CHECK(info.nbLeaves == 1);
  CHECK(info.minPrimitives == 0);
  CHECK(info.maxPrimitives == 0);
  CHECK(info.avgPrimitives == 0.0f);
  CHECK(info.output == "max at lvl:0\n");
}

TEST_CASE("a tree of 7 nodes and leaves of 2, 3, 1 and 2 primitives") {
  const Info info = infoOf(sevenNodes());
  CHECK(info.nbNodes == 7);
  CHECK(info.nbLeaves == 4);
  CHECK(info.minPrimitives == 1);
  CHECK(info.maxPrimitives == 3);
  CHECK(info.avgPrimitives == 2.0f);
  CHECK(info.output == "max at lvl:2\n");
}

TEST_CASE("a tree whose leaves all have more primitives than it has nodes reports its node count as minimum") {
  CHECK(infoOf(treeOf({inner(1, 2), leaf(10), leaf(20)})).minPrimitives == 3);
  CHECK(infoOf(treeOf({inner(1, 2), leaf(3), leaf(20)})).minPrimitives == 3);
  CHECK(infoOf(treeOf({inner(1, 2), leaf(2), leaf(20)})).minPrimitives == 2);
}

TEST_CASE("the statistics report the node counter, not the length of the array") {
  qzGenericBVH tree = sevenNodes();
  nbNodesOf(tree) = 100;
  tree.editNodes().resize(1024);
  CHECK(infoOf(tree).nbNodes == 100);
  CHECK(infoOf(tree).nbLeaves == 4);
}

TEST_CASE("among leaves of maximum size the first one visited gives the level") {
  // Leaves 3 and 5 on level 3 and leaf 2 on level 1 are equally full; 3 is the first one from the left.
  const qzGenericBVH tree = treeOf({inner(1, 2), inner(4, 5), leaf(9), leaf(9), inner(3, 6), leaf(9), leaf(1)});
  CHECK(infoOf(tree).output == "max at lvl:3\n");
  CHECK(Traversal(tree).maxLocation == (3 << 24 | 3));
  CHECK(infoOf(treeOf({inner(2, 1), inner(3, 4), leaf(9), leaf(9), leaf(9)})).output == "max at lvl:1\n");
}

TEST_CASE("the traversal visits the left subtree first, and counts both children one level deeper") {
  CHECK(Traversal(treeOf({inner(1, 2), leaf(1), inner(3, 4), leaf(2), leaf(3)})).maxLocation == (2 << 24 | 4));
  CHECK(Traversal(treeOf({inner(2, 1), leaf(1), inner(4, 3), leaf(2), leaf(3)})).maxLocation == (2 << 24 | 4));
  CHECK(Traversal(sevenNodes(), 4, 5).maxLocation == (5 << 24 | 4));
}

TEST_CASE("the traversal adds to the caller's counters and starts at the given node and level") {
  const qzGenericBVH tree = sevenNodes();
  int nbLeaves = 10, minPrimitives = 1, maxPrimitives = 2, sumPrimitives = 100, maxLocation = -1;
  getBVHInfoIter(tree, 1, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation, 7);
  CHECK(nbLeaves == 12);
  CHECK(minPrimitives == 1);
  CHECK(maxPrimitives == 3);
  CHECK(sumPrimitives == 105);
  CHECK(maxLocation == (8 << 24 | 4));
}

TEST_CASE("leaf sizes are compared as signed numbers, and their sum wraps") {
  const Traversal traversal(treeOf({inner(1, 2), leaf(0xFFFFFFFFu), leaf(4)}));
  CHECK(traversal.minPrimitives == -1);
  CHECK(traversal.maxPrimitives == 4);
  CHECK(traversal.sumPrimitives == 3);
  const Info large = infoOf(treeOf({inner(1, 2), leaf(0x7FFFFFFFu), leaf(1)}));
  CHECK(large.maxPrimitives == 0x7FFFFFFF);
  CHECK(large.avgPrimitives == -1073741824.0f);
}

TEST_CASE("levels from 128 on print as large numbers, and node numbers from 2^24 on overflow into the level") {
  std::vector<qzGNode> nodes;
  for (unsigned int i = 0; i < 128; ++i) {
    nodes.push_back(inner(2 * i + 1, 2 * i + 2));
    nodes.push_back(leaf(1));
  }
  nodes.push_back(leaf(2));
  CHECK(infoOf(treeOf(nodes)).output == "max at lvl:4294967168\n");

  const int far = 0x1000000;  // half a gigabyte of nodes; only the last one is read
  qzGenericBVH tree;
  tree.editNodes().resize(far + 1);
  tree.getNode(far) = leaf(2);
  CHECK(Traversal(tree, far, 2).maxLocation == 3 << 24);
  CHECK(Traversal(tree, far, 1).maxLocation == 1 << 24);
}

TEST_CASE("a chain of a million right children does not recurse") {
  const unsigned int nbInner = 1000000;
  std::vector<qzGNode> nodes;
  for (unsigned int i = 0; i < nbInner; ++i) {
    nodes.push_back(inner(2 * i + 1, 2 * i + 2));
    nodes.push_back(leaf(1));
  }
  nodes.push_back(leaf(1));
  CHECK(Traversal(treeOf(nodes)).nbLeaves == static_cast<int>(nbInner) + 1);
}

TEST_CASE("the average is a quotient of floats in any float mode of the caller, which is kept") {
  const qzGenericBVH tree = treeOf({inner(1, 2), leaf(1), inner(3, 4), leaf(1), leaf(5)});
  CHECK(sameBits(infoOf(tree).avgPrimitives, 7.0f / 3.0f));
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    Info info;
    bool isKept;
    {
      const CallersFloatMode callers(mode);
      info = infoOf(tree);
      isKept = callers.isKept();
    }
    CHECK(sameBits(info.avgPrimitives, 7.0f / 3.0f));
    CHECK(isKept);
  }
}

TEST_CASE("the level is written to standard output with its formatting, and the line is flushed") {
  const qzGenericBVH tree = treeOf(std::vector<qzGNode>{inner(1, 2), leaf(1), leaf(2)});
  int nbNodes, nbLeaves, minPrimitives, maxPrimitives;
  float avgPrimitives;
  const StandardStream stream;
  std::cout << std::hex << std::showbase;
  tree.getBVHInfo(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
  CHECK(stream.text() == "max at lvl:0x1\n");
  CHECK(stream.nbFlushes() == 1);
}

TEST_CASE("trees of random shape have the statistics of a plain recursion") {
  const std::uint32_t seed = 1;
  Random random(seed);
  for (int round = 0; round < 500; ++round) {
    const qzGenericBVH tree = randomTree(random.below(60), random);
    const Info info = infoOf(tree);
    const PlainInfo plain(tree);
    INFO("round ", round, ", seed ", seed);
    REQUIRE(info.nbNodes == static_cast<int>(tree.getNbNodes()));
    REQUIRE(info.nbLeaves == plain.nbLeaves);
    REQUIRE(info.minPrimitives == plain.minPrimitives);
    REQUIRE(info.maxPrimitives == plain.maxPrimitives);
    REQUIRE(sameBits(info.avgPrimitives, static_cast<float>(plain.sum) / static_cast<float>(plain.nbLeaves)));
    REQUIRE(info.output == "max at lvl:" + std::to_string(plain.levelOfMax) + "\n");
  }
}

TEST_CASE("the stream summary has nodes, leaves, maximum, minimum and average, and no line break") {
  const StandardStream stream;
  std::ostringstream os;
  std::ostream& returned = os << sevenNodes();
  CHECK(os.str() == "7 nodes. 4(3,1,2) leaves (max, min, avg):");
  CHECK(&returned == &os);
  CHECK(stream.text() == "max at lvl:2\n");
}

TEST_CASE("a summary on standard output follows the line with the level") {
  const StandardStream stream;
  std::cout << treeOf({inner(1, 2), leaf(1), leaf(2)});
  CHECK(stream.text() == "max at lvl:1\n3 nodes. 2(2,1,1.5) leaves (max, min, avg):");
}

TEST_CASE("the summary uses the formatting of its stream and does not change it") {
  const StandardStream stream;
  std::ostringstream os;
  os << std::hex << std::fixed;
  os.precision(3);
  os.width(6);
  std::vector<qzGNode> nodes = {inner(1, 2), leaf(1), leaf(30)};
  qzGenericBVH tree = treeOf(nodes);
  nbNodesOf(tree) = 0x1F;
  os << tree;
  CHECK(os.str() == "    1f nodes. 2(1e,1,15.500) leaves (max, min, avg):");
  CHECK(os.precision() == 3);
  CHECK((os.flags() & std::ios::fixed) != 0);
}
