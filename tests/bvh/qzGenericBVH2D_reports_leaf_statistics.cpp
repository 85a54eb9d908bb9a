#include <doctest/doctest.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "support/access/qzOpenBVH2D.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"

using namespace qzTest;

namespace {

struct Info {
  int nbNodes = -1, nbLeaves = -1, minPrimitives = -1, maxPrimitives = -1;
  float avgPrimitives = -1.0f;
};

Info infoOf(const qzGenericBVH2D& tree) {
  Info info;
  tree.getBVHInfo(info.nbNodes, info.nbLeaves, info.minPrimitives, info.maxPrimitives, info.avgPrimitives);
  return info;
}

qzGNode2D inner(unsigned int left, unsigned int right) {
  qzGNode2D node;
  node.setNode(left, right);
  return node;
}
qzGNode2D leaf(unsigned int count) {
  qzGNode2D node;
  node.setLeaf(0, count);
  return node;
}

qzGenericBVH2D treeOf(const std::vector<qzGNode2D>& nodes) {
  qzGenericBVH2D tree;
  tree.editNodes() = nodes;
  nbNodesOf(tree) = static_cast<unsigned int>(nodes.size());
  return tree;
}

// Nodes 1 and 2 below the root, leaves of 2, 3, 1 and 2 primitives, all two levels down.
qzGenericBVH2D sevenNodes() {
  return treeOf({inner(1, 2), inner(3, 4), inner(5, 6), leaf(2), leaf(3), leaf(1), leaf(2)});
}

// A traversal from a node on, with the counters as getBVHInfo starts them.
struct Traversal {
  int nbLeaves = 0, minPrimitives = 0, maxPrimitives = 0, sumPrimitives = 0, maxLocation = 0;

  explicit Traversal(const qzGenericBVH2D& tree, int from = 0, int level = 0, int startMinimum = 1000)
      : minPrimitives(startMinimum) {
    getBVHInfoIter(tree, from, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation, level);
  }
};

// Captures the process's standard output while it lives, at the level of file descriptors.
class StandardOutput {
 public:
  StandardOutput() : mFile(std::tmpfile()), mPrevious(::dup(STDOUT_FILENO)) {
    flush();
    ::dup2(::fileno(mFile), STDOUT_FILENO);
  }
  ~StandardOutput() {
    flush();
    ::dup2(mPrevious, STDOUT_FILENO);
    ::close(mPrevious);
    std::fclose(mFile);
  }
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  long nbBytes() const {
    flush();
    return static_cast<long>(::lseek(::fileno(mFile), 0, SEEK_END));
  }

 private:
  static void flush() {
    std::cout.flush();
    std::fflush(stdout);
  }

  std::FILE* mFile;
  int mPrevious;
};

}  // namespace

TEST_CASE("a 2D tree of one leaf with 5 primitives reports its node count 1 as minimum") {
  const Info info = infoOf(treeOf({leaf(5)}));
  CHECK(info.nbNodes == 1);
  CHECK(info.nbLeaves == 1);
  CHECK(info.minPrimitives == 1);
  CHECK(info.maxPrimitives == 5);
  CHECK(info.avgPrimitives == 5.0f);
}

TEST_CASE("a 2D tree of 7 nodes and leaves of 2, 3, 1 and 2 primitives") {
  const Info info = infoOf(sevenNodes());
  CHECK(info.nbNodes == 7);
  CHECK(info.nbLeaves == 4);
  CHECK(info.minPrimitives == 1);
  CHECK(info.maxPrimitives == 3);
  CHECK(info.avgPrimitives == 2.0f);
}

TEST_CASE("a 2D tree whose leaves all have more primitives than it has nodes reports its node count as minimum") {
  CHECK(infoOf(treeOf({inner(1, 2), leaf(10), leaf(20)})).minPrimitives == 3);
  CHECK(infoOf(treeOf({inner(1, 2), leaf(3), leaf(20)})).minPrimitives == 3);
  CHECK(infoOf(treeOf({inner(1, 2), leaf(2), leaf(20)})).minPrimitives == 2);
}

TEST_CASE("the 2D statistics report the node counter, not the length of the array") {
  qzGenericBVH2D tree = sevenNodes();
  nbNodesOf(tree) = 100;
  CHECK(infoOf(tree).nbNodes == 100);
  tree.editNodes().resize(500);
  CHECK(infoOf(tree).nbNodes == 100);
  CHECK(infoOf(tree).nbLeaves == 4);
}

TEST_CASE("the 2D average is a single-precision quotient") {
  CHECK(sameBits(infoOf(treeOf({inner(1, 2), leaf(1), inner(3, 4), leaf(1), leaf(5)})).avgPrimitives, 7.0f / 3.0f));
}

TEST_CASE("the 2D traversal reports depth and number of the first leaf of maximum size") {
  const Traversal traversal(sevenNodes());
  CHECK(traversal.nbLeaves == 4);
  CHECK(traversal.sumPrimitives == 8);
  CHECK(traversal.minPrimitives == 1);
  CHECK(traversal.maxPrimitives == 3);
  CHECK(traversal.maxLocation == (2 << 24 | 4));
  // Leaves 3 (level 3), 5 (level 3) and 2 (level 1) are equally full; 3 is met first.
  const Traversal tied(treeOf({inner(1, 2), inner(4, 5), leaf(9), leaf(9), inner(6, 3), leaf(9), leaf(1)}));
  CHECK(tied.maxPrimitives == 9);
  CHECK(tied.maxLocation == (3 << 24 | 3));
}

TEST_CASE("the 2D traversal visits the left subtree first, and counts both children one deeper") {
  const Traversal right(treeOf({inner(1, 2), leaf(1), inner(3, 4), leaf(2), leaf(3)}));
  CHECK(right.maxLocation == (2 << 24 | 4));
  const Traversal left(treeOf({inner(2, 1), leaf(1), inner(4, 3), leaf(2), leaf(3)}));
  CHECK(left.maxLocation == (2 << 24 | 4));
}

TEST_CASE("the 2D traversal adds to the caller's counters and starts at the given node and depth") {
  const qzGenericBVH2D tree = sevenNodes();
  int nbLeaves = 10, minPrimitives = 1, maxPrimitives = 2, sumPrimitives = 100, maxLocation = -1;
  getBVHInfoIter(tree, 1, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation, 7);
  CHECK(nbLeaves == 12);
  CHECK(minPrimitives == 1);
  CHECK(maxPrimitives == 3);
  CHECK(sumPrimitives == 105);
  CHECK(maxLocation == (8 << 24 | 4));
}

TEST_CASE("leaf sizes in 2D are compared as signed numbers") {
  const Traversal traversal(treeOf({inner(1, 2), leaf(0xFFFFFFFFu), leaf(4)}));
  CHECK(traversal.minPrimitives == -1);
  CHECK(traversal.maxPrimitives == 4);
  CHECK(traversal.sumPrimitives == 3);
}

TEST_CASE("empty 2D leaves are counted, but are never the largest") {
  const Traversal traversal(treeOf({inner(1, 2), leaf(0), leaf(0)}));
  CHECK(traversal.nbLeaves == 2);
  CHECK(traversal.minPrimitives == 0);
  CHECK(traversal.maxPrimitives == 0);
  CHECK(traversal.maxLocation == 0);
}

TEST_CASE("a 2D chain of a million right children does not recurse, and depths above 127 make the location negative") {
  const unsigned int nbInner = 1000000;
  std::vector<qzGNode2D> nodes;
  for (unsigned int i = 0; i < nbInner; ++i) {
    nodes.push_back(inner(2 * i + 1, 2 * i + 2));
    nodes.push_back(leaf(1));
  }
  nodes.push_back(leaf(2));
  const Traversal traversal(treeOf(nodes));
  CHECK(traversal.nbLeaves == static_cast<int>(nbInner) + 1);
  CHECK(traversal.sumPrimitives == static_cast<int>(nbInner) + 2);
  CHECK(static_cast<std::uint32_t>(traversal.maxLocation) == ((nbInner << 24) | (2 * nbInner)));
  const Traversal deep(treeOf({leaf(1)}), 0, 200);
  CHECK(static_cast<std::uint32_t>(deep.maxLocation) == 200u << 24);
}

TEST_CASE("the 2D statistics write nothing to standard output") {
  const qzGenericBVH2D tree = sevenNodes();
  long nbSilent, nbAudible;
  {
    const StandardOutput output;
    infoOf(tree);
    const Traversal traversal(tree);
    nbSilent = output.nbBytes();
    std::cout << "x";
    nbAudible = output.nbBytes();
  }
  CHECK(nbSilent == 0);
  CHECK(nbAudible == 1);
}

TEST_CASE("the 2D statistics do not depend on the caller's float mode, which is kept") {
  const qzGenericBVH2D tree = treeOf({inner(1, 2), leaf(1), inner(3, 4), leaf(1), leaf(5)});
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
