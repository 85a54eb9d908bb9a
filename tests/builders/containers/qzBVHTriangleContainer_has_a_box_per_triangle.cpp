#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "plain/qzPlainBBox.h"
#include "support/access/qzPrivateAccess.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"
#include "support/qzHeapWatch.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;
using Point = Wm4::Vector3<float>;

namespace qzTest {

struct VertexBufferOf {
  using Type = const qz::qzVertexBuffer* qzBVHTriangleContainer::*;
  friend Type privateMember(VertexBufferOf);
};
struct IndexBufferOf {
  using Type = const qz::qzIndexBuffer* qzBVHTriangleContainer::*;
  friend Type privateMember(IndexBufferOf);
};

template struct PrivateAccess<VertexBufferOf, &qzBVHTriangleContainer::mVertexBuffer>;
template struct PrivateAccess<IndexBufferOf, &qzBVHTriangleContainer::mIndexBuffer>;

}  // namespace qzTest

namespace {

const qz::qzVertexBuffer* vertexBufferOf(const qzBVHTriangleContainer& c) {
  return c.*privateMember(VertexBufferOf());
}
const qz::qzIndexBuffer* indexBufferOf(const qzBVHTriangleContainer& c) {
  return c.*privateMember(IndexBufferOf());
}

/// The empty box expanded by the three corners in order.
qzBBox plainBox(const qz::qzTriMesh& mesh, int triangle) {
  qzBBox box;
  for (int corner = 0; corner < 3; ++corner) {
    box = qzPlain::expand(
        box, mesh.getVertexBuffer()->Position3(mesh.getIndexBuffer()->getIndices()[3 * triangle + corner]));
  }
  return box;
}

bool samePlainBoxes(const qzBVHTriangleContainer& container, const qz::qzTriMesh& mesh) {
  if (container.getQuantity() != static_cast<unsigned int>(mesh.getIndexBuffer()->getNbIndices()) / 3) return false;
  for (unsigned int i = 0; i < container.getQuantity(); ++i) {
    if (!sameBits(*container.getBBox(i), plainBox(mesh, static_cast<int>(i)))) return false;
  }
  return true;
}

qz::qzVertexBuffer fourVertices() {
  return qz::qzVertexBuffer(
      {Point(0.0f, 0.0f, 0.0f), Point(1.0f, 0.0f, -1.0f), Point(0.0f, 2.0f, 0.5f), Point(-3.0f, 1.0f, 4.0f)});
}

}  // namespace

TEST_CASE("a triangle's box is the tight box of its three vertices") {
  const qz::qzVertexBuffer vertices = fourVertices();
  const qz::qzIndexBuffer indices(std::vector<int>{0, 1, 2, 3, 2, 1});
  const qzBVHTriangleContainer container(&vertices, &indices);
  REQUIRE(container.getQuantity() == 2);
  CHECK(sameBits(*container.getBBox(0), qzBBox::Make(0.0f, 0.0f, -1.0f, 1.0f, 2.0f, 0.5f)));
  CHECK(sameBits(*container.getBBox(1), qzBBox::Make(-3.0f, 0.0f, -1.0f, 1.0f, 2.0f, 4.0f)));
}

TEST_CASE("0, 1 or 2 indices give no triangle") {
  const qz::qzVertexBuffer vertices = fourVertices();
  const int index[2] = {0, 1};
  for (int count = 0; count < 3; ++count) {
    const qz::qzIndexBuffer indices(index, count);
    CHECK(qzBVHTriangleContainer(&vertices, &indices).getQuantity() == 0);
  }
}

TEST_CASE("an index count of -1 or -2 gives no triangle, -3 and below throws std::length_error") {
  const qz::qzVertexBuffer vertices = fourVertices();
  const int unread = 0;
  for (const int count : {-1, -2}) {
    const qz::qzIndexBuffer indices(&unread, count);
    CHECK(qzBVHTriangleContainer(&vertices, &indices).getQuantity() == 0);
  }
  for (const int count : {-3, -4, -1000, -2147483647 - 1}) {
    const qz::qzIndexBuffer indices(&unread, count);
    INFO("count ", count);
    CHECK_THROWS_AS(qzBVHTriangleContainer(&vertices, &indices), std::length_error);
  }
}

TEST_CASE("one or two extra indices are ignored and their vertices not read") {
  // An index this far off would be a read outside the vertex buffer.
  const qz::qzVertexBuffer vertices = fourVertices();
  const int index[8] = {0, 1, 2, 3, 2, 1, 1 << 30, 1 << 30};
  for (const int count : {7, 8}) {
    const qz::qzIndexBuffer indices(index, count);
    const qzBVHTriangleContainer container(&vertices, &indices);
    CHECK(container.getQuantity() == 2);
    CHECK(sameBits(*container.getBBox(1), qzBBox::Make(-3.0f, 0.0f, -1.0f, 1.0f, 2.0f, 4.0f)));
  }
}

TEST_CASE("three equal indices make a box of one point") {
  const qz::qzVertexBuffer vertices = fourVertices();
  const qz::qzIndexBuffer indices(std::vector<int>{3, 3, 3});
  const qzBVHTriangleContainer container(&vertices, &indices);
  CHECK(sameBits(*container.getBBox(0), qzBBox(Point(-3.0f, 1.0f, 4.0f))));
  CHECK_FALSE(container.getBBox(0)->isEmpty());
}

TEST_CASE("degenerate triangles are primitives like others") {
  const qz::qzTriMesh mesh = awkwardMesh(2000, 61);
  const qzBVHTriangleContainer container(mesh);
  CHECK(container.getQuantity() == 2000);
  CHECK(samePlainBoxes(container, mesh));
}

TEST_CASE("corners are united in index order: of equal zeros the first stays, NaN is skipped") {
  const auto boxOf = [](const Point& a, const Point& b, const Point& c) {
    const qz::qzTriMesh mesh = meshOfCorners({a, b, c});
    return *qzBVHTriangleContainer(mesh).getBBox(0);
  };
  const qzBBox zeros = boxOf({-0.0f, 0.0f, -0.0f}, {0.0f, -0.0f, 1.0f}, {0.0f, 0.0f, 0.0f});
  CHECK(sameBits(zeros, qzBBox::Make(-0.0f, 0.0f, -0.0f, -0.0f, 0.0f, 1.0f)));
  const qzBBox partlyNaN = boxOf({kNaN, 1.0f, kNaN}, {2.0f, kNaN, kNaN}, {3.0f, kNaN, kNaN});
  CHECK(sameBits(partlyNaN, qzBBox::Make(2.0f, 1.0f, kInf, 3.0f, 1.0f, -kInf)));
}

TEST_CASE("triangle boxes equal their plain form for any floats") {
  const std::uint32_t seed = 62;
  INFO("seed ", seed);
  Random random(seed);
  std::vector<Point> corners;
  for (int i = 0; i < 3 * 20000; ++i) {
    const float x = random.anyFloat(), y = random.anyFloat(), z = random.anyFloat();
    corners.emplace_back(x, y, z);
  }
  const qz::qzTriMesh mesh = meshOfCorners(corners);
  CHECK(samePlainBoxes(qzBVHTriangleContainer(mesh), mesh));
}

TEST_CASE("triangle boxes do not depend on the caller's float mode, which is kept") {
  Random random(63);
  std::vector<Point> corners;
  for (int i = 0; i < 300; ++i) {
    const auto tiny = [&] { return floatFromBits(random.bits() & 0x807FFFFFu); };
    const float x = tiny(), y = tiny(), z = tiny();
    corners.emplace_back(x, y, z);
  }
  const qz::qzTriMesh mesh = meshOfCorners(corners);
  std::optional<qzBVHTriangleContainer> container;
  bool isKept;
  {
    const CallersFloatMode callers(CallersFloatMode::eFastMath);
    container.emplace(mesh);
    isKept = callers.isKept();
  }
  CHECK(isKept);
  CHECK(samePlainBoxes(*container, mesh));
}

TEST_CASE("a mesh and its two buffers give the same container") {
  const qz::qzTriMesh mesh = terrainMesh(8, 64);
  const qzBVHTriangleContainer fromMesh(mesh), fromBuffers(mesh.getVertexBuffer(), mesh.getIndexBuffer());
  CHECK((samePlainBoxes(fromMesh, mesh) && samePlainBoxes(fromBuffers, mesh)));
  CHECK((vertexBufferOf(fromMesh) == mesh.getVertexBuffer() && indexBufferOf(fromMesh) == mesh.getIndexBuffer()));
  CHECK((vertexBufferOf(fromBuffers) == mesh.getVertexBuffer() && indexBufferOf(fromBuffers) == mesh.getIndexBuffer()));
}

TEST_CASE("a triangle's box is around its own vertices only") {
  const qz::qzTriMesh mesh{fourVertices(), qz::qzIndexBuffer(std::vector<int>{0, 1, 2})};
  const qzBVHTriangleContainer container(mesh);
  CHECK(sameBits(*container.getBBox(0), qzBBox::Make(0.0f, 0.0f, -1.0f, 1.0f, 2.0f, 0.5f)));
}

TEST_CASE("triangle boxes outlive the buffers") {
  auto mesh = std::make_unique<qz::qzTriMesh>(terrainMesh(4, 65));
  const qzBVHTriangleContainer container(*mesh);
  std::vector<qzBBox> expected;
  for (int i = 0; i < 32; ++i) expected.push_back(plainBox(*mesh, i));
  mesh.reset();
  REQUIRE(container.getQuantity() == 32);
  for (unsigned int i = 0; i < 32; ++i) CHECK(sameBits(*container.getBBox(i), expected[i]));
}

TEST_CASE("a copy keeps its boxes and buffer pointers when the source is destroyed") {
  const qz::qzTriMesh mesh = terrainMesh(4, 66);
  std::optional<qzBVHTriangleContainer> source(mesh);
  const qzBVHTriangleContainer copy = *source;
  CHECK(copy.getBBox(0) != source->getBBox(0));
  CHECK(vertexBufferOf(copy) == vertexBufferOf(*source));
  CHECK(indexBufferOf(copy) == indexBufferOf(*source));
  source.reset();
  CHECK(samePlainBoxes(copy, mesh));
}

TEST_CASE("assignment copies boxes and buffer pointers and returns the container") {
  const qz::qzTriMesh mesh = terrainMesh(4, 67), other = terrainMesh(3, 68);
  std::optional<qzBVHTriangleContainer> source(mesh);
  qzBVHTriangleContainer target(other);
  CHECK(&(target = *source) == &target);
  source.reset();
  CHECK(samePlainBoxes(target, mesh));
  CHECK((vertexBufferOf(target) == mesh.getVertexBuffer() && indexBufferOf(target) == mesh.getIndexBuffer()));
}

TEST_CASE("assigning a container to itself leaves the boxes unchanged") {
  const qz::qzTriMesh mesh = terrainMesh(4, 69);
  qzBVHTriangleContainer container(mesh);
  const qzBVHTriangleContainer& same = container;
  container = same;
  CHECK(samePlainBoxes(container, mesh));
  CHECK(vertexBufferOf(container) == mesh.getVertexBuffer());
}

TEST_CASE("getBBox points into one array, in triangle order") {
  const qz::qzTriMesh mesh = terrainMesh(4, 70);
  const qzBVHTriangleContainer container(mesh);
  for (unsigned int i = 0; i < container.getQuantity(); ++i) {
    CHECK(container.getBBox(i) == container.getBBox(0) + i);
  }
}

TEST_CASE("one allocation holds the boxes") {
  const qz::qzTriMesh mesh = terrainMesh(8, 71);
  const HeapWatch watch;
  { const qzBVHTriangleContainer container(mesh); }
  CHECK(watch.nbAllocations() == 1);
  CHECK(watch.nbReleases() == 1);
}
