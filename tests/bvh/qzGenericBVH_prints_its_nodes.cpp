#include <doctest/doctest.h>

#include <sstream>

#include "bvh/qzStatisticsTrees.h"
#include "support/qzStandardStream.h"

using namespace qzTest;

namespace {

std::string dumpOf(const qzGenericBVH& tree) {
  const StandardStream stream;
  tree.print();
  return stream.text();
}

// The printed text, by recursion.
std::string textOf(float value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}
std::string textOf(const qzBBox& box) {
  const auto& min = box.getMinPoint();
  const auto& max = box.getMaxPoint();
  return "(" + textOf(min[0]) + "," + textOf(min[1]) + "," + textOf(min[2]) + ")(" + textOf(max[0]) + "," +
         textOf(max[1]) + "," + textOf(max[2]) + ")\n";
}
std::string plainDump(const qzGenericBVH& tree, unsigned int number, unsigned int depth) {
  const qzGNode& node = tree.getNode(number);
  const std::string indent(depth, '|'), head = " ID " + std::to_string(number) + " " + textOf(node.getBBox());
  if (!node.isLeaf()) {
    return indent + "N" + head + plainDump(tree, node.getLeftChildIdx(), depth + 1) +
           plainDump(tree, node.getRightChildIdx(), depth + 1);
  }
  std::string primitives;
  for (unsigned int i = 0; i < node.getNoPrimitives(); ++i) {
    primitives += std::to_string(tree.getPrimitive(node.getPrimStartIdx() + i)) + " ";
  }
  return indent + "L" + head + indent + primitives + "\n";
}

qzGenericBVH twoLeaves() {
  qzGenericBVH tree = treeOf({inner(1, 2, qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f)),
                              leaf(2, 0, qzBBox::Make(0.0f, 0.0f, 0.0f, 0.5f, 1.0f, 1.0f)),
                              leaf(1, 2, qzBBox::Make(0.5f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f))});
  tree.editPrimitives() = {0, 1, 2};
  return tree;
}

}  // namespace

TEST_CASE("a root with two leaves prints five lines") {
  CHECK(dumpOf(twoLeaves()) ==
        "N ID 0 (0,0,0)(1,1,1)\n"
        "|L ID 1 (0,0,0)(0.5,1,1)\n"
        "|0 1 \n"
        "|L ID 2 (0.5,0,0)(1,1,1)\n"
        "|2 \n");
}

TEST_CASE("a root leaf is not indented, and an empty leaf has an empty second line") {
  qzGenericBVH tree = treeOf({leaf(3, 1, qzBBox::Make(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f))});
  tree.editPrimitives() = {9, 4000000000u, 7, 8};
  CHECK(dumpOf(tree) == "L ID 0 (1,2,3)(4,5,6)\n4000000000 7 8 \n");
  CHECK(dumpOf(treeOf({leaf(0)})) == "L ID 0 (inf,inf,inf)(-inf,-inf,-inf)\n\n");
}

TEST_CASE("an empty leaf below the root prints a second line of bars only") {
  const qzBBox box(Wm4::Vector3<float>(1.0f, 1.0f, 1.0f));
  CHECK(dumpOf(treeOf({inner(1, 2, box), leaf(0, 0, box), inner(3, 4, box), leaf(0, 0, box), leaf(0, 0, box)})) ==
        "N ID 0 (1,1,1)(1,1,1)\n"
        "|L ID 1 (1,1,1)(1,1,1)\n"
        "|\n"
        "|N ID 2 (1,1,1)(1,1,1)\n"
        "||L ID 3 (1,1,1)(1,1,1)\n"
        "||\n"
        "||L ID 4 (1,1,1)(1,1,1)\n"
        "||\n");
}

TEST_CASE("printNode starts at the given node and depth") {
  const StandardStream stream;
  printNode(twoLeaves(), 2, 3);
  CHECK(stream.text() == "|||L ID 2 (0.5,0,0)(1,1,1)\n|||2 \n");
}

TEST_CASE("the split position of an inner node does not change the printed text") {
  qzGenericBVH tree = twoLeaves();
  const std::string plain = dumpOf(tree);
  qzGNode root = tree.getNode(0);
  root.setNode(qzBBox::eAxisZ, 1, 0xF0000002u, 0.0f);
  tree.getNode(0) = root;
  CHECK(dumpOf(tree) == plain);
}

TEST_CASE("printing uses the formatting of standard output and does not change it") {
  qzGenericBVH tree = treeOf({leaf(2, 0, qzBBox::Make(0.0f, -1.0f, 2.0f / 3.0f, 10.0f, 1.0f, 1.0f))});
  tree.editPrimitives() = {255, 16};
  const StandardStream stream;
  std::cout << std::fixed << std::hex << std::showpos;
  std::cout.precision(2);
  tree.print();
  CHECK(stream.text() == "L ID 0 (+0.00,-1.00,+0.67)(+10.00,+1.00,+1.00)\nff 10 \n");
  CHECK(std::cout.precision() == 2);
}

TEST_CASE("a width set on standard output applies to the first item only") {
  const qzGenericBVH tree = twoLeaves();
  const StandardStream stream;
  std::cout.width(8);
  std::cout.fill('.');
  tree.print();
  CHECK(stream.text().substr(0, 27) == "...N ID 0 (0,0,0)(1,1,1)\n|L");
}

TEST_CASE("printing flushes every line: one of an inner node, two of a leaf") {
  const StandardStream stream;
  twoLeaves().print();
  CHECK(stream.nbFlushes() == 5);
}

TEST_CASE("trees of random shape with any floats print what a plain recursion prints") {
  const std::uint32_t seed = 1;
  Random random(seed);
  for (int round = 0; round < 300; ++round) {
    const qzGenericBVH tree = randomTree(random.below(40), random);
    INFO("round ", round, ", seed ", seed);
    REQUIRE(dumpOf(tree) == plainDump(tree, 0, 0));
  }
}
