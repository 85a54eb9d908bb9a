#include <doctest/doctest.h>

#include "support/access/qzOpenSAHBuilder.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"

using namespace qzTest;

namespace {

using Point = Wm4::Vector3<float>;

qzGenericBVH build(const std::vector<qzBBox>& boxes) {
  OpenSAHBuilder builder(boxes);
  qzGenericBVH tree;
  builder.build(tree);
  return tree;
}

// Two clusters of unit boxes along one axis: nbLow from 0 on and nbHigh up to 100, 1/1024 apart.
std::vector<qzBBox> twoClusters(int axis, int nbLow, int nbHigh) {
  std::vector<qzBBox> boxes;
  for (int i = 0; i < nbLow + nbHigh; ++i) {
    Point p(0.0f, 0.0f, 0.0f);
    p[axis] = i < nbLow ? static_cast<float>(i) / 1024.0f : 100.0f - static_cast<float>(i - nbLow) / 1024.0f;
    const Point edge(p[0] + 1.0f, p[1] + 1.0f, p[2] + 1.0f);
    boxes.push_back(qzBBox::Make(p, edge));
  }
  return boxes;
}

bool isInner(const qzGNode& node, qzBBox::tAxis axis, unsigned int left, unsigned int right) {
  return !node.isLeaf() && node.getAxis() == axis && node.getLeftChildIdx() == left && node.getRightChildIdx() == right;
}
bool isLeaf(const qzGNode& node, unsigned int start, unsigned int count) {
  return node.isLeaf() && node.getPrimStartIdx() == start && node.getNoPrimitives() == count;
}

}  // namespace

TEST_CASE("without items the tree is one empty leaf with the scene box, in a node array of 1024") {
  OpenSAHBuilder builder;
  builder.mSceneBBox = qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
  qzGenericBVH tree;
  builder.build(tree);
  CHECK(tree.getNbNodes() == 1);
  CHECK(tree.getNodes().size() == 1024);
  CHECK(isLeaf(tree.getNode(0), 0, 0));
  CHECK(sameBits(tree.getNode(0).getBBox(), builder.mSceneBBox));
  CHECK(tree.getPrimitives().empty());
  for (std::size_t i = 1; i < 1024; ++i) CHECK(sameBits(tree.getNodes()[i], qzGNode()));
}

TEST_CASE("16 items make one leaf however far apart, 17 are split") {
  const qzGenericBVH sixteen = build(twoClusters(0, 8, 8));
  CHECK(sixteen.getNbNodes() == 1);
  CHECK(isLeaf(sixteen.getNode(0), 0, 16));
  const qzGenericBVH seventeen = build(twoClusters(0, 8, 9));
  CHECK(seventeen.getNbNodes() == 3);
  CHECK(isInner(seventeen.getNode(0), qzBBox::eAxisX, 1, 2));
  CHECK(isLeaf(seventeen.getNode(1), 0, 8));
  CHECK(isLeaf(seventeen.getNode(2), 8, 9));
}

TEST_CASE("a split is on the axis of least cost, and the boxes of both sides are tight") {
  for (int axis = 0; axis < 3; ++axis) {
    const qzGenericBVH tree = build(twoClusters(axis, 10, 12));
    CHECK(tree.getNbNodes() == 3);
    CHECK(tree.getNode(0).getAxis() == static_cast<unsigned int>(axis) << 30);
    const qzBBox left = tree.getNode(1).getBBox(), right = tree.getNode(2).getBBox();
    CHECK(left.getMinPoint()[axis] == 0.0f);
    CHECK(left.getMaxPoint()[axis] == 1.0f + 9.0f / 1024.0f);
    CHECK(right.getMinPoint()[axis] == 100.0f - 11.0f / 1024.0f);
    CHECK(right.getMaxPoint()[axis] == 101.0f);
    CHECK(left.getMaxPoint()[(axis + 1) % 3] == 1.0f);
  }
}

TEST_CASE("inner nodes have split position 0, so getSplitPlane returns the box minimum") {
  const qzGenericBVH tree = build(twoClusters(1, 20, 20));
  CHECK(tree.getNode(0).getNoPrimitives() == 2);  // the whole word
  CHECK(tree.getNode(0).getSplitPlane() == 0.0f);
}

TEST_CASE("a split keeps the order of left items, and right items are in the order of their swaps") {
  // Even items go left. 1 is swapped with 16, which stays; 3 with 15, which goes right as well and is swapped with 14;
  // and so on.
  std::vector<qzBBox> boxes;
  for (int i = 0; i < 17; ++i) {
    const float x = i % 2 == 0 ? 0.0f : 100.0f;
    boxes.push_back(qzBBox::Make(x, 0.0f, 0.0f, x + 1.0f, 1.0f, 1.0f));
  }
  const qzGenericBVH tree = build(boxes);
  const std::vector<unsigned int> kOrder = {0, 16, 2, 14, 4, 12, 6, 10, 8, 9, 11, 7, 13, 5, 15, 3, 1};
  CHECK(isLeaf(tree.getNode(1), 0, 9));
  CHECK(bool(tree.getPrimitives() == kOrder));
}

TEST_CASE("up to 1024 items with one centroid stay one leaf") {
  for (const unsigned int count : {17u, 1024u}) {
    const qzGenericBVH tree = build(std::vector<qzBBox>(count, qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 2.0f, 3.0f)));
    CHECK(tree.getNbNodes() == 1);
    CHECK(isLeaf(tree.getNode(0), 0, count));
  }
  // Nested boxes around one point: the same centroid, different boxes.
  std::vector<qzBBox> nested;
  for (int i = 1; i <= 500; ++i) {
    const float r = static_cast<float>(i);
    nested.push_back(qzBBox::Make(-r, -r, -r, r, r, r));
  }
  CHECK(isLeaf(build(nested).getNode(0), 0, 500));
}

TEST_CASE("more than 1024 items with one centroid go left 32 times, with empty leaves on the right") {
  const unsigned int kCount = 1025;
  const qzGenericBVH tree = build(std::vector<qzBBox>(kCount, qzBBox(Point(1.0f, 2.0f, 3.0f))));
  CHECK(tree.getNbNodes() == 65);
  // A left subtree is built before the right one, but both children are numbered together.
  unsigned int node = 0;
  for (int depth = 0; depth < 32; ++depth) {
    const unsigned int left = tree.getNode(node).getLeftChildIdx(), right = tree.getNode(node).getRightChildIdx();
    CHECK_FALSE(tree.getNode(node).isLeaf());
    CHECK(left == 2 * static_cast<unsigned int>(depth) + 1);
    CHECK(right == left + 1);
    CHECK(isLeaf(tree.getNode(right), kCount, 0));
    CHECK(sameBits(tree.getNode(right).getBBox(), qzBBox()));
    node = left;
  }
  CHECK(isLeaf(tree.getNode(node), 0, kCount));
  CHECK(sameBits(tree.getNode(node).getBBox(), qzBBox(Point(1.0f, 2.0f, 3.0f))));
}

TEST_CASE("1025 items are halved at the upper median centroid along the longest axis, at any cost") {
  // Points 0 ... 1024 on z: position 512 of the sorted ones is the median, and it goes left.
  std::vector<qzBBox> boxes;
  for (unsigned int i = 0; i < 1025; ++i) boxes.emplace_back(Point(0.5f, 0.25f, static_cast<float>((i * 7) % 1025)));
  OpenSAHBuilder builder(boxes);
  qzGenericBVH tree;
  builder.build(tree);
  CHECK(tree.getNode(0).getAxis() == qzBBox::eAxisZ);
  CHECK(tree.getNode(1).getBBox().zMax() == 512.0f);
  CHECK(tree.getNode(2).getBBox().zMin() == 513.0f);
}

TEST_CASE("a median split uses the axis of getMaxExtent: y before z before x among equals") {
  const auto axisOf = [](float dx, float dy, float dz) {
    std::vector<qzBBox> boxes;
    for (unsigned int i = 0; i < 1025; ++i) {
      const float t = static_cast<float>(i) / 1024.0f;
      boxes.emplace_back(Point(dx * t, dy * t, dz * t));
    }
    return build(boxes).getNode(0).getAxis();
  };
  CHECK(axisOf(1.0f, 1.0f, 1.0f) == qzBBox::eAxisY);
  CHECK(axisOf(2.0f, 1.0f, 2.0f) == qzBBox::eAxisZ);
  CHECK(axisOf(2.0f, 2.0f, 1.0f) == qzBBox::eAxisY);
  CHECK(axisOf(2.0f, 1.0f, 1.0f) == qzBBox::eAxisX);
}

TEST_CASE("children are numbered in pairs after their parent, the whole left subtree first") {
  const qzGenericBVH tree = build(randomBoxes(3000, 0.02f, 1));
  struct Numbering {
    const qzGenericBVH& tree;
    // Checks the subtree of node, whose children must be next and next + 1. Returns the number after the last one.
    unsigned int visit(unsigned int node, unsigned int next) const {
      const qzGNode& here = tree.getNode(node);
      if (here.isLeaf()) return next;
      CHECK(here.getLeftChildIdx() == next);
      CHECK(here.getRightChildIdx() == next + 1);
      return visit(next + 1, visit(next, next + 2));
    }
  };
  CHECK(Numbering{tree}.visit(0, 1) == tree.getNbNodes());
}

TEST_CASE("leaves divide the primitive array from left to right, and every item is within its leaf's box") {
  const std::vector<qzBBox> boxes = randomBoxes(5000, 0.02f, 2);
  const qzGenericBVH tree = build(boxes);
  std::vector<bool> isSeen(boxes.size());
  unsigned int next = 0;
  std::vector<unsigned int> stack = {0};
  while (!stack.empty()) {
    const qzGNode& node = tree.getNode(stack.back());
    stack.pop_back();
    if (!node.isLeaf()) {
      stack.push_back(node.getRightChildIdx());
      stack.push_back(node.getLeftChildIdx());
      continue;
    }
    CHECK(node.getPrimStartIdx() == next);
    for (unsigned int i = 0; i < node.getNoPrimitives(); ++i) {
      const unsigned int item = tree.getPrimitive(next++);
      CHECK_FALSE(isSeen[item]);
      isSeen[item] = true;
      CHECK(node.getBBox().contains(boxes[item]));
    }
  }
  CHECK(next == boxes.size());
}

TEST_CASE("among equal costs x comes before y, and the lower plane before the higher") {
  // Four clusters at the corners of a square: x and y cost the same.
  std::vector<qzBBox> boxes;
  for (int i = 0; i < 8; ++i) {
    for (const Point& p :
         {Point(0.0f, 0.0f, 0.0f), Point(64.0f, 0.0f, 0.0f), Point(0.0f, 64.0f, 0.0f), Point(64.0f, 64.0f, 0.0f)}) {
      boxes.push_back(qzBBox::Make(p, Point(p[0] + 1.0f, p[1] + 1.0f, 1.0f)));
    }
  }
  OpenSAHBuilder builder(boxes);
  qzGNode node;
  node.setBBox(builder.mSceneBBox);
  builder.computeBinning(node, 0, 32);
  qzBBox::tAxis axis = qzBBox::eAxisZ;
  float plane = -1.0f;
  CHECK(builder.findSplitPlane(node, 32, axis, plane));
  CHECK(axis == qzBBox::eAxisX);
  // Centroids lie at 0.5 and 64.5 of 65, in bins 0 and 127; the planes between 1 and 127 bins all cost the same.
  CHECK(plane == 65.0f / 128.0f);
  CHECK(build(boxes).getNode(0).getAxis() == qzBBox::eAxisX);
  CHECK(build(boxes).getNode(1).getBBox().xMax() == 1.0f);
}

TEST_CASE("among equal costs y comes before z") {
  std::vector<qzBBox> boxes;
  for (int i = 0; i < 8; ++i) {
    for (const float y : {0.0f, 64.0f}) {
      for (const float z : {0.0f, 64.0f}) boxes.push_back(qzBBox::Make(0.0f, y, z, 1.0f, y + 1.0f, z + 1.0f));
    }
  }
  CHECK(build(boxes).getNode(0).getAxis() == qzBBox::eAxisY);
}

TEST_CASE("a rebuild replaces nodes and primitives, and gives an array as long as a new tree's") {
  OpenSAHBuilder large(randomBoxes(6000, 0.01f, 3)), small(randomBoxes(20, 0.01f, 4));
  qzGenericBVH tree, fresh;
  large.build(tree);
  CHECK(tree.getNodes().size() > 1024);
  small.mItemIndices = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  small.build(fresh);
  small.mItemIndices = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  small.build(tree);
  CHECK(tree.getNodes().size() == 1024);
  CHECK(tree.getNbNodes() == fresh.getNbNodes());
  CHECK(bool(tree.getPrimitives() == fresh.getPrimitives()));
  for (std::size_t i = 0; i < 1024; ++i) CHECK(sameBits(tree.getNodes()[i], fresh.getNodes()[i]));
}

TEST_CASE("a build reserves about one node per item") {
  for (const unsigned int count : {1u, 1024u, 1025u, 5000u}) {
    const qzGenericBVH tree = build(randomBoxes(count, 0.01f, 5));
    CHECK(tree.getNodes().capacity() >= (count - 1 + 1024) / 1024 * 1024);
  }
}
