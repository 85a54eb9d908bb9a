// The library on sibling libraries with other names of members, which count the calls.

#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>
#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSystem/qzLog.h>

#include <algorithm>
#include <vector>

namespace {

using Point = Wm4::Vector3<float>;

/// Squares of side 1 in the plane z = 0, side by side along x, two triangles each, with shared vertices.
qz::qzTriMesh stripOfSquares(int nbSquares) {
  qz::qzTriMesh mesh;
  mesh.VBuffer = std::make_shared<qz::qzVertexBuffer>();
  mesh.IBuffer = std::make_shared<qz::qzIndexBuffer>();
  for (int i = 0; i <= nbSquares; ++i) {
    const float x = static_cast<float>(i);
    for (const float coordinate : {x, 0.0f, 0.0f, x, 1.0f, 0.0f}) mesh.VBuffer->Coordinates.push_back(coordinate);
  }
  mesh.VBuffer->VertexQuantity = 2 * (nbSquares + 1);
  for (int i = 0; i < nbSquares; ++i) {
    const int a = 2 * i;
    for (const int corner : {a, a + 2, a + 3, a, a + 3, a + 1}) mesh.IBuffer->Numbers.push_back(corner);
  }
  mesh.IBuffer->IndexQuantity = 6 * nbSquares;
  return mesh;
}

/// What was asked of the vertex buffer since the last call.
std::vector<int> asked(const qz::qzTriMesh& mesh) {
  std::vector<int> result;
  result.swap(mesh.VBuffer->Asked);
  return result;
}

/// Keeps the log of the library while it lives.
struct Log : qz::qzLog {
  Log() { msInstance = this; }
  ~Log() { msInstance = nullptr; }
};

class CancelAfter : public qz::qzCancelInterfaceReadOnly {
 public:
  explicit CancelAfter(int polls) : mPolls(polls) {}
  bool canceled() const override { return mPolls-- <= 0; }

 private:
  mutable int mPolls;
};

}  // namespace

TEST_CASE("a triangle container asks for three positions per triangle, in index order, and caches none") {
  const qz::qzTriMesh mesh = stripOfSquares(5);
  const qzBVHTriangleContainer container(mesh);
  CHECK(asked(mesh) == mesh.IBuffer->Numbers);
  REQUIRE(container.getQuantity() == 10);
  CHECK(container.getBBox(9)->xMin() == 4.0f);
  CHECK(container.getBBox(9)->xMax() == 5.0f);
  CHECK(asked(mesh).empty());
}

TEST_CASE("the indices of an incomplete triangle are not used") {
  const qz::qzTriMesh mesh = stripOfSquares(2);
  mesh.IBuffer->IndexQuantity = 7;
  CHECK(qzBVHTriangleContainer(mesh).getQuantity() == 2);
  CHECK(asked(mesh) == std::vector<int>{0, 2, 3, 0, 3, 1});
  mesh.IBuffer->IndexQuantity = 2;
  CHECK(qzBVHTriangleContainer(mesh.VBuffer.get(), mesh.IBuffer.get()).getQuantity() == 0);
  CHECK(asked(mesh).empty());
}

TEST_CASE("copies of a container ask for nothing") {
  const qz::qzTriMesh mesh = stripOfSquares(2);
  const qzBVHTriangleContainer container(mesh);
  asked(mesh);
  const qzBVHTriangleContainer copy = container;
  qzBVHTriangleContainer assigned(mesh);
  asked(mesh);
  assigned = container;
  CHECK((copy.getQuantity() == 4 && assigned.getQuantity() == 4));
  CHECK(asked(mesh).empty());
}

TEST_CASE("a mesh container reads every vertex once, in order, and no index") {
  qz::qzTriMesh mesh = stripOfSquares(2), other = stripOfSquares(1), none = stripOfSquares(1);
  mesh.IBuffer->IndexQuantity = 3;
  none.VBuffer->VertexQuantity = -1;
  const qzBVHMeshContainer container({&mesh, &none, &other});
  CHECK(asked(mesh) == std::vector<int>{0, 1, 2, 3, 4, 5});
  CHECK(asked(none).empty());
  CHECK(asked(other) == std::vector<int>{0, 1, 2, 3});
  REQUIRE(container.getQuantity() == 3);
  CHECK(container.getBBox(0)->xMax() == 2.0f);
  CHECK(container.getBBox(1)->isEmpty());
}

TEST_CASE("a linear build asks the mesh for nothing more, and logs through the family's log") {
  const qz::qzTriMesh mesh = stripOfSquares(50);
  const qzBVHTriangleContainer container(mesh);
  asked(mesh);
  Log log;
  qzGenericBVH bvh;
  CHECK(qzLinearGenericBVHBuilder().build(container, bvh, nullptr, 10));
  CHECK(asked(mesh).empty());
  CHECK(bvh.getNode(0).getBBox().xMax() == 50.0f);
  REQUIRE(log.mLines.size() == 4);
  CHECK(log.mLines[0] == "1 bvh: qzLinearGenericBVHBuilder : allocate 400B for 100 primitives indexes");
  log.mLowest = qz::eFailure;
  CHECK(qzLinearGenericBVHBuilder().build(container, bvh, nullptr, 10));
  CHECK(log.mLines.size() == 4);
}

TEST_CASE("a build is cancelled through the family's query") {
  const qz::qzTriMesh mesh = stripOfSquares(50);
  const qzBVHTriangleContainer container(mesh);
  Log log;
  qzGenericBVH bvh;
  const CancelAfter atOnce(0), later(3), never(1000000);
  CHECK_FALSE(qzLinearGenericBVHBuilder().build(container, bvh, &atOnce, 10));
  CHECK(bvh.getNodes().empty());
  CHECK_FALSE(qzLinearGenericBVHBuilder().build(container, bvh, &later, 10));
  CHECK(qzLinearGenericBVHBuilder().build(container, bvh, &never, 10));
}

TEST_CASE("a conversion asks for the three positions of every triangle once") {
  const qz::qzTriMesh mesh = stripOfSquares(50);
  Log log;
  qzGenericBVH bvh;
  CHECK(qzLinearGenericBVHBuilder().build(qzBVHTriangleContainer(mesh), bvh, nullptr, 10));
  asked(mesh);
  qzQBVH qbvh;
  qbvh.buildFromBVH(qzQBVH::eTrianglesEquations | qzQBVH::eTrianglesVertices, bvh, mesh);
  std::vector<int> positions = asked(mesh), expected = mesh.IBuffer->Numbers;
  REQUIRE(positions.size() == expected.size());
  std::sort(positions.begin(), positions.end());
  std::sort(expected.begin(), expected.end());
  CHECK(positions == expected);
}

TEST_CASE("rays and hulls get their answers without asking the mesh") {
  const qz::qzTriMesh mesh = stripOfSquares(50);
  Log log;
  qzQBVH qbvh;
  qbvh.buildFromMesh(qzQBVH::eTrianglesEquations | qzQBVH::eTrianglesVertices, mesh, 4);
  CHECK(asked(mesh).size() == 2 * mesh.IBuffer->Numbers.size());

  float t = 100.0f;
  Wm4::Vector2<float> weights;
  unsigned int triangle = 0;
  CHECK(qbvh.intersectRay(Point(17.25f, 0.75f, 2.0f), Point(0.0f, 0.0f, -1.0f), 0.0f, t, weights, triangle,
                          qzQBVH::eIntersectBothFaces));
  CHECK((t == 2.0f && triangle == 2 * 17 + 1));
  t = 100.0f;
  CHECK_FALSE(qbvh.intersectRay(Point(51.0f, 0.5f, 2.0f), Point(0.0f, 0.0f, -1.0f), 0.0f, t, weights, triangle,
                                qzQBVH::eIntersectBothFaces));
  CHECK(qbvh.intersectRaySymmetric(Point(3.75f, 0.25f, -2.0f), Point(0.0f, 0.0f, -1.0f), t, weights, triangle));
  CHECK((t == 2.0f && triangle == 2 * 3));

  const Wm4::Vector4<float> beyond[2] = {Wm4::Vector4<float>(1.0f, 0.0f, 0.0f, -49.5f),
                                         Wm4::Vector4<float>(0.0f, 1.0f, 0.0f, -0.5f)};
  qzQBVH::tSOASinglePlaneEqn* planes = qzQBVH::CreateSOAPlaneEquationSet(beyond, 2);
  CHECK(qbvh.intersectConvexHull(planes, 2));
  qzQBVH::DeleteSOAPlaneEquationSet(planes);
  CHECK(asked(mesh).empty());
}

TEST_CASE("a wrong build is reported as a failure in the family's log") {
  const qz::qzTriMesh mesh = stripOfSquares(1);
  qzQBVH qbvh;
  Log log;
  qbvh.buildFromMesh(qzQBVH::eTrianglesVertices, mesh, 4);
  log.mLines.clear();
  float t = 1.0f;
  Wm4::Vector2<float> weights;
  unsigned int triangle = 0;
  CHECK_FALSE(qbvh.intersectRay(Point(0.5f, 0.5f, 1.0f), Point(0.0f, 0.0f, -1.0f), 0.0f, t, weights, triangle,
                                qzQBVH::eIntersectBothFaces));
  REQUIRE(log.mLines.size() == 1);
  CHECK(log.mLines[0].rfind("2 : error: QBVH is not built with the right data type", 0) == 0);
}

TEST_CASE("a box becomes an oriented box of the family") {
  const Wm4::Box3<float> box = qzBBox::Make(0.0f, 0.0f, 0.0f, 2.0f, 4.0f, 6.0f).convert();
  CHECK((box.Middle[0] == 1.0f && box.Middle[1] == 2.0f && box.Middle[2] == 3.0f));
  CHECK((box.Axes[0][0] == 1.0f && box.Axes[1][1] == 1.0f && box.Axes[2][2] == 1.0f));
  CHECK((box.HalfExtents[0] == 1.0f && box.HalfExtents[1] == 2.0f && box.HalfExtents[2] == 3.0f));
}
