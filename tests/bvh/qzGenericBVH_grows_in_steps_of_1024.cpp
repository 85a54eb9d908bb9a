#include <doctest/doctest.h>

#include "support/access/qzOpenBVH.h"
#include "support/qzBits.h"

using namespace qzTest;

TEST_CASE("a new hierarchy is empty") {
  qzGenericBVH bvh;
  CHECK(bvh.getPrimitives().empty());
  CHECK(bvh.getNodes().empty());
  CHECK(bvh.getNbNodes() == 0);
  CHECK(nbPrimitivesOf(bvh) == 0);
  CHECK(bvh.getMemoryUsed() == 8);
}

TEST_CASE("getOrCreateNode(0) of an empty hierarchy makes 1024 nodes and leaves the counter 0") {
  qzGenericBVH bvh;
  getOrCreateNode(bvh, 0);
  CHECK(bvh.getNodes().size() == 1024);
  CHECK(bvh.getNbNodes() == 0);
  getOrCreateNode(bvh, 1023);
  CHECK(bvh.getNodes().size() == 1024);
  getOrCreateNode(bvh, 1024);
  CHECK(bvh.getNodes().size() == 2048);
  CHECK(bvh.getNbNodes() == 0);
}

TEST_CASE("the array grows to the smallest multiple of 1024 above the index") {
  struct Growth {
    unsigned int index, length;
  };
  for (const Growth& growth :
       {Growth{0, 1024}, Growth{1, 1024}, Growth{1022, 1024}, Growth{1023, 1024}, Growth{1024, 2048},
        Growth{1025, 2048}, Growth{2047, 2048}, Growth{2048, 3072}, Growth{5000, 5120}, Growth{10239, 10240}}) {
    INFO("index ", growth.index);
    qzGenericBVH created, set;
    getOrCreateNode(created, growth.index);
    CHECK(created.getNodes().size() == growth.length);
    setNode(set, growth.index, qzGNode());
    CHECK(set.getNodes().size() == growth.length);
  }
}

TEST_CASE("new nodes are default nodes and old ones keep their values") {
  qzGNode marked;
  marked.setBBox(qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f));
  marked.setLeaf(7, 8);
  qzGenericBVH bvh;
  setNode(bvh, 3, marked);
  setNode(bvh, 1023, marked);
  getOrCreateNode(bvh, 4000);
  REQUIRE(bvh.getNodes().size() == 4096);
  for (unsigned int i = 0; i < 4096; ++i) {
    if (!sameBits(bvh.getNode(i), i == 3 || i == 1023 ? marked : qzGNode())) FAIL("node ", i);
  }
}

TEST_CASE("setNode copies the node and does not change the node counter") {
  qzGenericBVH bvh = smallBVH();
  qzGNode node;
  node.setLeaf(1, 1);
  setNode(bvh, 700, node);
  CHECK(sameBits(bvh.getNode(700), node));
  node.setLeaf(2, 2);
  CHECK_FALSE(sameBits(bvh.getNode(700), node));
  CHECK(bvh.getNbNodes() == 3);
}

TEST_CASE("setNode may copy one of the hierarchy's own nodes") {
  qzGenericBVH bvh = smallBVH();
  const qzGNode root = bvh.getNode(0);
  setNode(bvh, 5, bvh.getNode(0));
  CHECK(sameBits(bvh.getNode(5), root));
}

TEST_CASE("getOrCreateNode returns a reference to the node") {
  qzGenericBVH bvh;
  getOrCreateNode(bvh, 9).setLeaf(4, 5);
  CHECK(bvh.getNode(9).isLeaf());
  CHECK(&getOrCreateNode(bvh, 9) == &bvh.getNodes()[9]);
}

TEST_CASE("getOrCreateNode of a low node does not shrink the array") {
  qzGenericBVH bvh;
  getOrCreateNode(bvh, 3000);
  const qzGNode* place = bvh.getNodes().data();
  getOrCreateNode(bvh, 0);
  CHECK(bvh.getNodes().size() == 3072);
  CHECK(bvh.getNodes().data() == place);
}
