// Every word of small hierarchies, worked by hand, in the library's arrays and in those of the plain form.

#include <doctest/doctest.h>

#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr unsigned int kNone = 0xFFFFFFFFu;

/// Triangle number t has the corners (t, 0, 0), (t + 2, 0, 0) and (t, 4, 0).
qz::qzTriMesh rowOfTriangles(int count) {
  std::vector<Point> corners;
  for (int t = 0; t < count; ++t) {
    const float x = static_cast<float>(t);
    corners.insert(corners.end(), {Point(x, 0.0f, 0.0f), Point(x + 2.0f, 0.0f, 0.0f), Point(x, 4.0f, 0.0f)});
  }
  return meshOfCorners(corners);
}

/// A different box for every number.
qzBBox boxNumber(int number) {
  const float x = static_cast<float>(number);
  return qzBBox::Make(x, x + 0.125f, x + 0.25f, x + 0.5f, x + 0.625f, x + 0.75f);
}

/// Primitive entries 0 ... count - 1, each naming the triangle of its number.
void fillPrimitives(qzGenericBVH& bvh, unsigned int count) {
  bvh.editPrimitives().clear();
  for (unsigned int i = 0; i < count; ++i) bvh.editPrimitives().push_back(i);
}

qzGenericBVH rootLeaf(unsigned int count) {
  qzGenericBVH bvh;
  fillPrimitives(bvh, count);
  setLeaf(bvh, 0, boxNumber(7), 0, count);
  return bvh;
}

/// The library's conversion, after checking that its words equal the plain form's.
struct Converted {
  OpenQBVH library;
  qzPlain::tQBVH plain;

  Converted(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh)
      : plain(qzPlain::convert(flags, bvh, mesh)) {
    library.buildFromBVH(qzQBVH::tQBVHDataFlags(flags), bvh, mesh);
    CHECK(difference(library, plain) == "");
  }

  std::uint32_t nodeWord(unsigned int node, unsigned int row, unsigned int lane) const {
    return library.nodeWords().at(32 * node + 4 * row + lane);
  }
  std::uint32_t childIndex(unsigned int node, unsigned int lane) const { return nodeWord(node, 6, lane); }
  std::uint32_t childQuadruplets(unsigned int node, unsigned int lane) const { return nodeWord(node, 7, lane); }
  bool hasBox(unsigned int node, unsigned int lane, const qzBBox& box) const {
    for (unsigned int axis = 0; axis < 3; ++axis) {
      if (nodeWord(node, axis, lane) != bitsOf(box.getMinPoint()[static_cast<int>(axis)])) return false;
      if (nodeWord(node, 3 + axis, lane) != bitsOf(box.getMaxPoint()[static_cast<int>(axis)])) return false;
    }
    return true;
  }
  bool isEmptyLane(unsigned int node, unsigned int lane) const {
    return childIndex(node, lane) == kNone && childQuadruplets(node, lane) == 0 && hasBox(node, lane, qzBBox());
  }
  float vertexValue(unsigned int quadruplet, unsigned int row, unsigned int lane) const {
    return floatFromBits(library.vertexWords().at(36 * quadruplet + 4 * row + lane));
  }
  float equationValue(unsigned int quadruplet, unsigned int row, unsigned int lane) const {
    return floatFromBits(library.equationWords().at(48 * quadruplet + 4 * row + lane));
  }
};

/// Whether the rows from first on hold values in a lane of the equations, bit for bit; any NaN equals any other.
bool equationRowsAre(const Converted& converted, unsigned int lane, unsigned int first, std::vector<float> values) {
  for (unsigned int i = 0; i < values.size(); ++i) {
    if (!sameBitsOrNaN(converted.equationValue(0, first + i, lane), values[i])) return false;
  }
  return true;
}

}  // namespace

TEST_CASE("an empty hierarchy has no nodes, no quadruplets, no arrays, no flags and the empty box") {
  const OpenQBVH hierarchy;
  CHECK(hierarchy.getNoNodes() == 0);
  CHECK(hierarchy.getNoTriangleQuadruplets() == 0);
  CHECK(hierarchy.flags() == 0);
  for (const void* array : hierarchy.arrays()) CHECK(array == nullptr);
  CHECK(sameBits(hierarchy.mRootBBox, qzBBox()));
}

TEST_CASE("a root leaf of n triangles makes no node and n / 4 quadruplets, rounded up, and its box is the root box") {
  for (unsigned int n = 0; n <= 13; ++n) {
    CAPTURE(n);
    const Converted converted(kBothArrays, rootLeaf(n), rowOfTriangles(13));
    CHECK(converted.library.getNoNodes() == 0);
    CHECK(converted.library.getNoTriangleQuadruplets() == (n == 0    ? 0u
                                                           : n <= 4  ? 1u
                                                           : n <= 8  ? 2u
                                                           : n <= 12 ? 3u
                                                                     : 4u));
    CHECK(sameBits(converted.library.mRootBBox, boxNumber(7)));
  }
}

TEST_CASE("the box of a root leaf is copied unchanged, inverted or NaN") {
  qzGenericBVH bvh = rootLeaf(1);
  for (const qzBBox& box : {qzBBox(), qzBBox::Make(3.0f, kNaN, -0.0f, 1.0f, 2.0f, -kInf)}) {
    bvh.getNode(0).setBBox(box);
    CHECK(sameBits(Converted(1, bvh, rowOfTriangles(1)).library.mRootBBox, box));
  }
}

TEST_CASE("a leaf of five makes two quadruplets, the second with three lanes of padding") {
  const Converted converted(kBothArrays, rootLeaf(5), rowOfTriangles(5));
  REQUIRE(converted.library.getNoTriangleQuadruplets() == 2);
  CHECK(converted.library.indexWords() == Words{0, 1, 2, 3, 4, kNone, kNone, kNone});
  for (unsigned int lane = 1; lane < 4; ++lane) {
    for (unsigned int row = 0; row < 9; ++row) CHECK(sameBits(converted.vertexValue(1, row, lane), 0.0f));
    const float expected[12] = {0, 0, 0, kInf, 0, 0, 0, -1, 0, 0, 0, -1};
    for (unsigned int row = 0; row < 12; ++row) CHECK(sameBits(converted.equationValue(1, row, lane), expected[row]));
  }
}

TEST_CASE("vertex rows are V0.x V0.y V0.z V1.x ... V2.z, lane j being triangle j") {
  std::vector<Point> corners;
  for (int i = 0; i < 12; ++i) {
    const float x = static_cast<float>(100 * (i / 3) + 10 * (i % 3));  // triangle, vertex, axis: a digit for each
    corners.emplace_back(x, x + 1.0f, x + 2.0f);
  }
  const Converted converted(kBothArrays, rootLeaf(4), meshOfCorners(corners));
  for (unsigned int row = 0; row < 9; ++row) {
    for (unsigned int lane = 0; lane < 4; ++lane) {
      CHECK(converted.vertexValue(0, row, lane) == static_cast<float>(100 * lane + 10 * (row / 3) + row % 3));
    }
  }
}

TEST_CASE("vertices follow the index buffer, and triangle numbers are those that the binary hierarchy names") {
  std::vector<Point> vertices = {Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0), Point(5, 5, 5)};
  const qz::qzTriMesh mesh{qz::qzVertexBuffer(vertices), qz::qzIndexBuffer(std::vector<int>{0, 1, 2, 3, 2, 1})};
  qzGenericBVH bvh;
  bvh.editPrimitives() = {0, 1, 1};
  setLeaf(bvh, 0, qzBBox(), 1, 2);
  const Converted converted(kBothArrays, bvh, mesh);
  CHECK(converted.library.indexWords() == Words{1, 1, kNone, kNone});
  CHECK(converted.vertexValue(0, 0, 0) == 5.0f);  // V0 is vertex 3, V1 vertex 2, V2 vertex 1
  CHECK(converted.vertexValue(0, 4, 0) == 1.0f);
  CHECK(converted.vertexValue(0, 6, 0) == 1.0f);
}

TEST_CASE("a right triangle in z = 0 has normal (0, 0, 1), U = (1/2, 0, 0) and W = (0, 1/4, 0)") {
  const Converted converted(kBothArrays, rootLeaf(3), rowOfTriangles(3));
  CHECK(equationRowsAre(converted, 0, 0, {0.0f, 0.0f, 1.0f, -0.0f}));
  CHECK(equationRowsAre(converted, 0, 4, {0.5f, 0.0f, 0.0f, -0.0f}));
  CHECK(equationRowsAre(converted, 0, 8, {0.0f, 0.25f, 0.0f, -0.0f}));
  CHECK(equationRowsAre(converted, 2, 4, {0.5f, 0.0f, 0.0f, -1.0f}));  // two to the right: U.w = -(0.5 * 2)
}

TEST_CASE("the equations of a skew triangle are the dual basis of its edges") {
  // e1 = (2, 0, 0), e2 = (2, 0, 2): a11 = 4, a22 = 8, a12 = 4, s = 1 / (1 - 1/2 * 1) = 2.
  // n = (0, -1, 0) from N = (0, -4, 0); U = (1/2) e1 - (1/2 * 1/2) e2 = (1/2, 0, -1/2); W = (1/4) e2 - (1/4) e1.
  const Point v0(1.0f, 3.0f, 0.0f);
  const Converted converted(kBothArrays, rootLeaf(1),
                            meshOfCorners({v0, Point(3.0f, 3.0f, 0.0f), Point(3.0f, 3.0f, 2.0f)}));
  CHECK(equationRowsAre(converted, 0, 0, {0.0f, -1.0f, 0.0f, 3.0f}));
  CHECK(equationRowsAre(converted, 0, 4, {0.5f, 0.0f, -0.5f, -0.5f}));
  CHECK(equationRowsAre(converted, 0, 8, {0.0f, 0.0f, 0.5f, -0.0f}));
}

TEST_CASE("a triangle of three equal corners stores a zero normal, d = 1 and NaN equations") {
  const Point p(1.0f, 2.0f, 3.0f);
  const Converted converted(kBothArrays, rootLeaf(1), meshOfCorners({p, p, p}));
  CHECK(equationRowsAre(converted, 0, 0, {0.0f, 0.0f, 0.0f, 1.0f}));
  CHECK(equationRowsAre(converted, 0, 4, std::vector<float>(8, kNaN)));
}

TEST_CASE("collinear corners store a zero normal, d = 1 and the results of a division by zero") {
  // e1 = (1, 0, 0), e2 = (2, 0, 0): s = 1 / 0. U = inf * e1 - inf * e2.
  const Converted converted(kBothArrays, rootLeaf(1), meshOfCorners({Point(0, 0, 0), Point(1, 0, 0), Point(2, 0, 0)}));
  CHECK(equationRowsAre(converted, 0, 0, {0.0f, 0.0f, 0.0f, 1.0f, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN}));
}

TEST_CASE("a triangle whose squared normal underflows keeps its normal unnormalised, with d = 1") {
  // N = (0, 0, 2^-80), whose square is 0.
  const Converted converted(kBothArrays, rootLeaf(1),
                            meshOfCorners({Point(0, 0, 0), Point(0x1p-40f, 0, 0), Point(0, 0x1p-40f, 0)}));
  CHECK(equationRowsAre(converted, 0, 0, {0.0f, 0.0f, 0x1p-80f, 1.0f}));
  CHECK(equationRowsAre(converted, 0, 4, {0x1p40f, 0.0f, 0.0f, -0.0f}));
}

TEST_CASE("a leaf as left child of the root lies in lane 0, and lane 1 is empty") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 9);
  setInner(bvh, 0, boxNumber(0), 1, 2);
  setLeaf(bvh, 1, boxNumber(1), 0, 2);
  setInner(bvh, 2, boxNumber(2), 3, 4);
  setLeaf(bvh, 3, boxNumber(3), 2, 5);
  setLeaf(bvh, 4, boxNumber(4), 7, 1);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(9));
  REQUIRE(converted.library.getNoNodes() == 1);
  CHECK(converted.library.getNoTriangleQuadruplets() == 4);
  CHECK((converted.childIndex(0, 0) == 0 && converted.childQuadruplets(0, 0) == 1));
  CHECK(converted.isEmptyLane(0, 1));
  CHECK((converted.childIndex(0, 2) == 1 && converted.childQuadruplets(0, 2) == 2));
  CHECK((converted.childIndex(0, 3) == 3 && converted.childQuadruplets(0, 3) == 1));
  CHECK((converted.hasBox(0, 0, boxNumber(1)) && converted.hasBox(0, 2, boxNumber(3)) &&
         converted.hasBox(0, 3, boxNumber(4))));
  CHECK(converted.library.indexWords() ==
        Words{0, 1, kNone, kNone, 2, 3, 4, 5, 6, kNone, kNone, kNone, 7, kNone, kNone, kNone});
}

TEST_CASE("two leaves below the root leave lanes 1 and 3 empty") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 2);
  setInner(bvh, 0, boxNumber(0), 2, 1);
  setLeaf(bvh, 1, boxNumber(1), 0, 1);
  setLeaf(bvh, 2, boxNumber(2), 1, 1);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(2));
  REQUIRE(converted.library.getNoNodes() == 1);
  CHECK((converted.isEmptyLane(0, 1) && converted.isEmptyLane(0, 3)));
  // Quadruplets are numbered by binary node: the right child has the smaller number, so it has the first one.
  CHECK((converted.childIndex(0, 0) == 1 && converted.childIndex(0, 2) == 0));
  CHECK(converted.library.indexWords() == Words{0, kNone, kNone, kNone, 1, kNone, kNone, kNone});
}

TEST_CASE("four inner grandchildren fill four inner lanes, numbered in the order of the binary node array") {
  // Node 0 over 5 and 6, these over 8, 2 and 4, 3, these over two leaves each, 9 ... 16.
  qzGenericBVH bvh;
  fillPrimitives(bvh, 8);
  setInner(bvh, 0, boxNumber(0), 5, 6);
  setInner(bvh, 5, boxNumber(5), 8, 2);
  setInner(bvh, 6, boxNumber(6), 4, 3);
  const unsigned int grandchildren[4] = {8, 2, 4, 3};
  for (unsigned int i = 0; i < 4; ++i) {
    setInner(bvh, grandchildren[i], boxNumber(static_cast<int>(grandchildren[i])), 9 + 2 * i, 10 + 2 * i);
    setLeaf(bvh, 9 + 2 * i, boxNumber(20), 2 * i, 1);
    setLeaf(bvh, 10 + 2 * i, boxNumber(21), 2 * i + 1, 1);
  }
  setLeaf(bvh, 1, boxNumber(1), 0, 8);  // unreachable, like 7
  setInner(bvh, 7, boxNumber(7), 1, 1);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(8));
  REQUIRE(converted.library.getNoNodes() == 5);
  CHECK(converted.library.getNoTriangleQuadruplets() == 8);
  const unsigned int expected[4] = {4, 1, 3, 2};
  for (unsigned int lane = 0; lane < 4; ++lane) {
    CHECK(converted.childQuadruplets(0, lane) == kNone);
    CHECK(converted.childIndex(0, lane) == expected[lane]);
    CHECK(converted.hasBox(0, lane, boxNumber(static_cast<int>(grandchildren[lane]))));
    CHECK(converted.childIndex(expected[lane], 0) == 2 * lane);
    CHECK(converted.isEmptyLane(expected[lane], 1));
    CHECK(converted.childIndex(expected[lane], 2) == 2 * lane + 1);
    CHECK(converted.isEmptyLane(expected[lane], 3));
  }
}

TEST_CASE("a leaf without triangles has the count of an empty lane, its box and the next quadruplet's number") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 3);
  setInner(bvh, 0, boxNumber(0), 1, 2);
  setLeaf(bvh, 1, boxNumber(1), 0, 1);
  setInner(bvh, 2, boxNumber(2), 3, 4);
  setLeaf(bvh, 3, boxNumber(3), 1, 0);
  setLeaf(bvh, 4, boxNumber(4), 1, 2);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(3));
  CHECK(converted.library.getNoTriangleQuadruplets() == 2);
  CHECK((converted.childIndex(0, 2) == 1 && converted.childQuadruplets(0, 2) == 0 &&
         converted.hasBox(0, 2, boxNumber(3))));
  CHECK((converted.childIndex(0, 3) == 1 && converted.childQuadruplets(0, 3) == 1));
}

TEST_CASE("leaves that share primitive entries have quadruplets of their own") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 4);
  setInner(bvh, 0, boxNumber(0), 1, 2);
  setLeaf(bvh, 1, boxNumber(1), 0, 3);
  setLeaf(bvh, 2, boxNumber(2), 1, 3);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(4));
  CHECK(converted.library.indexWords() == Words{0, 1, 2, kNone, 1, 2, 3, kNone});
}

TEST_CASE("a leaf that is both children of the root fills two lanes and has its quadruplets in both") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 3);
  setInner(bvh, 0, boxNumber(0), 1, 1);
  setLeaf(bvh, 1, boxNumber(1), 0, 3);
  const qz::qzTriMesh mesh = rowOfTriangles(3);
  OpenQBVH library;
  library.buildFromBVH(kBothArrays, bvh, mesh);
  const qzPlain::tQBVH plain = qzPlain::convert(3, bvh, mesh);
  CHECK((library.getNoNodes() == 1 && library.getNoTriangleQuadruplets() == 2));
  CHECK((plain.mNoNodes == 1 && plain.mNoQuadruplets == 2));
  CHECK(library.nodeWords() == plain.mNodes);
  for (std::size_t lane : {0u, 2u}) CHECK((plain.mNodes[24 + lane] == 0 && plain.mNodes[28 + lane] == 1));
  const Words indices = library.indexWords();  // no leaf has the second quadruplet
  CHECK(Words(indices.begin(), indices.begin() + 4) == Words{0, 1, 2, kNone});
}

TEST_CASE("unreachable nodes change nothing, wherever they are in the array") {
  const qz::qzTriMesh mesh = rowOfTriangles(4);
  qzGenericBVH dense, sparse;
  for (qzGenericBVH* bvh : {&dense, &sparse}) {
    const bool isSparse = bvh == &sparse;
    const unsigned int left = isSparse ? 40 : 1, right = isSparse ? 90 : 2;
    fillPrimitives(*bvh, 4);
    if (isSparse) {
      for (unsigned int i = 1; i < 2000; ++i)
        setLeaf(*bvh, i, boxNumber(50), 0xFFFFFFu, 0x10000u);                                   // beyond the primitives
      for (unsigned int i = 1; i < 2000; i += 3) setInner(*bvh, i, boxNumber(50), 5000, 6000);  // beyond the nodes
    }
    setInner(*bvh, 0, boxNumber(0), left, right);
    setLeaf(*bvh, left, boxNumber(1), 0, 2);
    setLeaf(*bvh, right, boxNumber(2), 2, 2);
  }
  const Converted a(kBothArrays, dense, mesh), b(kBothArrays, sparse, mesh);
  CHECK(difference(b.library, a.plain) == "");
}

TEST_CASE("the conversion ignores the binary hierarchy's node counter") {
  // The counter of a hierarchy made by hand is 0; that of a linear build is larger than the array once leaves are
  // fused.
  const qz::qzTriMesh mesh = terrainMesh(8, 3);
  const qzGenericBVH built = linearBVH(mesh, 6);
  REQUIRE(built.getNbNodes() > built.getNodes().size());
  qzGenericBVH byHand;
  byHand.editNodes() = built.getNodes();
  byHand.editPrimitives() = built.getPrimitives();
  REQUIRE(byHand.getNbNodes() == 0);
  const Converted a(kBothArrays, built, mesh), b(kBothArrays, byHand, mesh);
  CHECK(difference(b.library, a.plain) == "");
}

TEST_CASE("the conversion ignores axis and split position") {
  const qz::qzTriMesh mesh = soupMesh(60, 4);
  qzGenericBVH bvh = linearBVH(mesh, 2);
  const Converted before(kBothArrays, bvh, mesh);
  Random random(5);
  for (qzGNode& node : bvh.editNodes()) {
    if (node.isLeaf()) continue;
    const auto axis = qzBBox::tAxis(random.below(3) << 30);
    node.setNode(axis, node.getLeftChildIdx(), node.getRightChildIdx() | random.below(16) << 28, 0.0f);
  }
  const Converted after(kBothArrays, bvh, mesh);
  CHECK(difference(after.library, before.plain) == "");
}

TEST_CASE("the flags select the arrays, each 16-byte aligned") {
  const qz::qzTriMesh mesh = soupMesh(30, 6);
  const qzGenericBVH bvh = linearBVH(mesh, 4);
  for (unsigned int flags : {1u, 2u, 3u}) {
    CAPTURE(flags);
    const Converted converted(flags, bvh, mesh);
    const auto [nodes, vertices, equations, indices] = converted.library.arrays();
    CHECK(converted.library.flags() == flags);
    CHECK((vertices != nullptr) == ((flags & qzQBVH::eTrianglesVertices) != 0));
    CHECK((equations != nullptr) == ((flags & qzQBVH::eTrianglesEquations) != 0));
    CHECK((nodes != nullptr && indices != nullptr));
    for (const void* array : converted.library.arrays()) CHECK(reinterpret_cast<std::uintptr_t>(array) % 16 == 0);
  }
}

TEST_CASE("allocate sets flags and sizes, and allocates a node array even for no nodes") {
  OpenQBVH hierarchy;
  hierarchy.allocate(kBothArrays, 3, 5);
  CHECK((hierarchy.getNoNodes() == 3 && hierarchy.getNoTriangleQuadruplets() == 5 && hierarchy.flags() == 3));
  for (const void* array : hierarchy.arrays()) CHECK(array != nullptr);
  hierarchy.allocate(qzQBVH::eTrianglesVertices, 0, 2);
  CHECK((hierarchy.getNoNodes() == 0 && hierarchy.getNoTriangleQuadruplets() == 2 && hierarchy.flags() == 1));
  CHECK((hierarchy.arrays()[0] != nullptr && hierarchy.arrays()[1] != nullptr && hierarchy.arrays()[3] != nullptr));
  CHECK(hierarchy.arrays()[2] == nullptr);
  hierarchy.allocate(qzQBVH::tQBVHDataFlags(0), 1, 2);
  CHECK((hierarchy.arrays()[0] != nullptr && hierarchy.arrays()[1] == nullptr));
  CHECK((hierarchy.arrays()[2] == nullptr && hierarchy.arrays()[3] == nullptr));
}

TEST_CASE("a build records whether the boxes are nested, and allocate clears that") {
  const qzBBox outer = boxNumber(3), inside = qzBBox::Make(3.0f, 3.25f, 3.25f, 3.25f, 3.625f, 3.5f);
  const qz::qzTriMesh mesh = rowOfTriangles(3);
  struct Case {
    qzBBox child;
    unsigned int count;
    bool isNested;
  };
  const Case cases[] = {
      {outer, 1, true},
      {inside, 1, true},
      {inside, 0, false},  // a lane without triangles, whose box is not that of an empty lane
      {boxNumber(4), 1, false},
      {qzBBox(), 1, false},
      {qzBBox::Make(3.0f, 3.25f, 3.25f, kNaN, 3.625f, 3.5f), 1, false},
  };
  for (const Case& c : cases) {
    CAPTURE(&c - cases);
    qzGenericBVH bvh;  // the child is a lane of the second four-wide node, whose own lane has the outer box
    fillPrimitives(bvh, 3);
    setInner(bvh, 0, qzBBox(), 1, 2);
    setInner(bvh, 1, qzBBox(), 3, 4);
    setLeaf(bvh, 2, inside, 0, 1);
    setInner(bvh, 3, outer, 5, 6);
    setLeaf(bvh, 4, inside, 1, 1);
    setLeaf(bvh, 5, outer, 2, 1);
    setLeaf(bvh, 6, c.child, 2, c.count);
    Converted converted(kBothArrays, bvh, mesh);
    CHECK(converted.library.mIsNested == c.isNested);
    for (int axis = 0; axis < 3 && c.count == 1; ++axis) {  // sticking out on one side of one axis
      for (bool atMin : {false, true}) {
        Point min = inside.getMinPoint(), max = inside.getMaxPoint();
        (atMin ? min : max)[axis] += atMin ? -1.0f : 1.0f;
        bvh.getNode(6).setBBox(qzBBox::Make(min, max));
        const Converted sticking(kBothArrays, bvh, mesh);
        CHECK(!sticking.library.mIsNested);
      }
    }
    converted.library.allocate(kBothArrays, 1, 1);
    CHECK(!converted.library.mIsNested);
  }
}

TEST_CASE("the root box is the union of the lane boxes of the first node") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 3);
  setInner(bvh, 0, boxNumber(100), 1, 2);  // the binary root's own box does not count
  setLeaf(bvh, 1, boxNumber(1), 0, 1);
  setInner(bvh, 2, boxNumber(50), 3, 4);
  setLeaf(bvh, 3, boxNumber(-3), 1, 1);
  setLeaf(bvh, 4, boxNumber(2), 2, 1);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(3));
  CHECK(sameBits(converted.library.mRootBBox, qzBBox::Make(-3.0f, -2.875f, -2.75f, 2.5f, 2.625f, 2.75f)));

  // For every mesh it is the union of the four.
  const qz::qzTriMesh mesh = terrainMesh(9, 8);
  OpenQBVH built;
  buildFromMesh(built, kBothArrays, mesh, 4);
  qzBBox box;
  const Words words = built.nodeWords();
  for (std::size_t lane = 0; lane < 4; ++lane) {
    const auto value = [&](std::size_t row) { return floatFromBits(words[4 * row + lane]); };
    box.selfUnion(qzBBox::Make(value(0), value(1), value(2), value(3), value(4), value(5)));
  }
  CHECK(sameBits(built.mRootBBox, box));
}

TEST_CASE("empty leaf boxes below the root make an infinite root box") {
  qzGenericBVH bvh;
  fillPrimitives(bvh, 2);
  setInner(bvh, 0, boxNumber(0), 1, 2);
  setLeaf(bvh, 1, qzBBox(), 0, 1);
  setLeaf(bvh, 2, qzBBox(), 1, 1);
  const Converted converted(kBothArrays, bvh, rowOfTriangles(2));
  CHECK(sameBits(converted.library.mRootBBox, qzBBox::Make(-kInf, -kInf, -kInf, kInf, kInf, kInf)));
}

TEST_CASE("the root box unites lanes 0 with 1 and 2 with 3; a first operand stays unless the second exceeds it") {
  struct Case {
    float min[4], max[4], expectedMin, expectedMax;
  };
  const Case cases[] = {
      {{4, 3, 2, 1}, {5, 6, 7, 8}, 1, 8},
      {{0.0f, -0.0f, 0.0f, -0.0f}, {1, 1, 1, 1}, 0.0f, 1},  // equal zeros: that of lane 0
      {{-0.0f, 0.0f, 0.0f, 0.0f}, {1, 1, 1, 1}, -0.0f, 1},
      {{-1, -1, -1, -1}, {0.0f, -0.0f, -0.0f, -0.0f}, -1, 0.0f},
      {{-1, -1, -1, -1}, {-0.0f, 0.0f, 0.0f, 0.0f}, -1, -0.0f},
      {{1, kNaN, 2, 3}, {4, kNaN, 5, 6}, 1, 6},  // a NaN in lane 1 or 3 is dropped,
      {{1, 2, kNaN, 0}, {4, 5, kNaN, 9}, 1, 5},  // in lane 2 together with lane 3,
      {{1, 2, 0, kNaN}, {4, 5, 9, kNaN}, 0, 9},
      {{kNaN, 2, 0, 1}, {4, 5, 6, 7}, kNaN, kNaN},         // in lane 0 it stays, in both corners
      {{1, 2, 3, 4}, {kNaN, 5, 6, 7}, 1, 1},               // a NaN maximum becomes the minimum
      {{3, 4, 5, 6}, {1, 0, 2, -1}, 2, 3},                 // inverted boxes: the corners are ordered
      {{0.0f, 1, 1, 1}, {-0.0f, -1, -1, -1}, 0.0f, 0.0f},  // equal zeros: both are the minimum's
      {{kInf, kInf, kInf, kInf}, {-kInf, -kInf, -kInf, -kInf}, -kInf, kInf},
  };
  for (const Case& c : cases) {
    CAPTURE(&c - cases);
    for (int axis = 0; axis < 3; ++axis) {
      OpenQBVH hierarchy;
      hierarchy.allocate(qzQBVH::eTrianglesVertices, 1, 0);
      qzPlain::tQBVH plain;
      for (int a = 0; a < 3; ++a) {
        for (int lane = 0; lane < 4; ++lane) {
          hierarchy.mNodes[0].mMin[a][lane] = a == axis ? c.min[lane] : 1.0f;
          hierarchy.mNodes[0].mMax[a][lane] = a == axis ? c.max[lane] : 2.0f;
          hierarchy.mNodes[0].mChildIndex[lane] = kNone;
          hierarchy.mNodes[0].mChildQuadruplets[lane] = 0;
        }
      }
      plain.mNodes = hierarchy.nodeWords();
      CHECK(hierarchy.computeRootNodeBBox());
      for (int a = 0; a < 3; ++a) {
        CHECK(sameBits(hierarchy.mRootBBox.getMinPoint()[a], a == axis ? c.expectedMin : 1.0f));
        CHECK(sameBits(hierarchy.mRootBBox.getMaxPoint()[a], a == axis ? c.expectedMax : 2.0f));
      }
      CHECK(sameBits(qzPlain::boxOfFirstNode(plain), hierarchy.mRootBBox));
    }
  }
}

TEST_CASE("without a node computeRootNodeBBox returns false and the root box is unchanged") {
  OpenQBVH hierarchy;
  hierarchy.mRootBBox = boxNumber(3);
  CHECK(!hierarchy.computeRootNodeBBox());
  CHECK(sameBits(hierarchy.mRootBBox, boxNumber(3)));
}

TEST_CASE("a build from a mesh records nested boxes, unless a leaf has only NaN vertices") {
  std::vector<Point> corners;
  for (int i = 0; i < 8; ++i) {
    const float x = static_cast<float>(i);
    corners.insert(corners.end(), {Point(x, 0.0f, 0.0f), Point(x + 1.0f, 0.0f, 0.0f), Point(x, 1.0f, 0.0f)});
  }
  OpenQBVH library;
  buildFromMesh(library, qzQBVH::eTrianglesEquations, meshOfCorners(corners), 1);
  CHECK(library.mIsNested);
  for (int corner = 0; corner < 3; ++corner) corners[corner] = Point(kNaN, 0.0f, 0.0f);
  buildFromMesh(library, qzQBVH::eTrianglesEquations, meshOfCorners(corners), 1);
  CHECK(!library.mIsNested);
}
