#include <doctest/doctest.h>
#include <qzSceneGraph/qzIndexBuffer.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSceneGraph/qzVertexBuffer.h>

#include <type_traits>
#include <vector>

#include "support/qzBits.h"

using namespace qzTest;
using Point = Wm4::Vector3<float>;

TEST_CASE("a vertex buffer keeps its own copy of the positions") {
  Point positions[2] = {Point(1.0f, 2.0f, 3.0f), Point(4.0f, 5.0f, 6.0f)};
  const qz::qzVertexBuffer buffer(positions, 2);
  positions[0] = positions[1] = Point(0.0f, 0.0f, 0.0f);
  CHECK(buffer.getNbVertices() == 2);
  CHECK(sameBits(buffer.Position3(0), Point(1.0f, 2.0f, 3.0f)));
  CHECK(sameBits(buffer.Position3(1), Point(4.0f, 5.0f, 6.0f)));
}

TEST_CASE("positions come back bit for bit, NaN and negative zero included") {
  const qz::qzVertexBuffer buffer({Point(-0.0f, floatFromBits(0x7FC12345u), -kInf)});
  CHECK(sameBits(buffer.Position3(0), Point(-0.0f, floatFromBits(0x7FC12345u), -kInf)));
}

TEST_CASE("a position is returned by value") {
  CHECK(std::is_same_v<decltype(std::declval<const qz::qzVertexBuffer&>().Position3(0)), Point>);
}

TEST_CASE("a vertex buffer made of a vector counts its positions") {
  CHECK(qz::qzVertexBuffer(std::vector<Point>(5, Point(0.0f, 0.0f, 0.0f))).getNbVertices() == 5);
  CHECK(qz::qzVertexBuffer(std::vector<Point>()).getNbVertices() == 0);
}

TEST_CASE("a negative vertex count is kept, and no vertex is copied") {
  CHECK(qz::qzVertexBuffer(nullptr, -1).getNbVertices() == -1);
  CHECK(qz::qzVertexBuffer(nullptr, -7).getNbVertices() == -7);
  CHECK(qz::qzVertexBuffer(nullptr, 0).getNbVertices() == 0);
}

TEST_CASE("an index buffer keeps its own copy of the indices") {
  int indices[4] = {3, -1, 2, 1000000};
  const qz::qzIndexBuffer buffer(indices, 4);
  indices[0] = indices[1] = indices[2] = indices[3] = 0;
  REQUIRE(buffer.getNbIndices() == 4);
  CHECK(buffer.getIndices()[0] == 3);
  CHECK(buffer.getIndices()[1] == -1);
  CHECK(buffer.getIndices()[2] == 2);
  CHECK(buffer.getIndices()[3] == 1000000);
}

TEST_CASE("an index buffer made of a vector counts its indices") {
  const qz::qzIndexBuffer buffer(std::vector<int>{0, 1, 2});
  REQUIRE(buffer.getNbIndices() == 3);
  CHECK(buffer.getIndices()[2] == 2);
  CHECK(qz::qzIndexBuffer(std::vector<int>()).getNbIndices() == 0);
}

TEST_CASE("a negative index count is kept, and no index is copied") {
  CHECK(qz::qzIndexBuffer(nullptr, -1).getNbIndices() == -1);
  CHECK(qz::qzIndexBuffer(nullptr, -3).getNbIndices() == -3);
  CHECK(qz::qzIndexBuffer(nullptr, 0).getNbIndices() == 0);
}

TEST_CASE("a mesh owns both of its buffers") {
  std::vector<Point> positions = {Point(1.0f, 2.0f, 3.0f)};
  std::vector<int> indices = {0, 0, 0};
  const qz::qzTriMesh mesh{qz::qzVertexBuffer(positions), qz::qzIndexBuffer(indices)};
  positions.clear();
  indices.clear();
  REQUIRE(mesh.getVertexBuffer() != nullptr);
  REQUIRE(mesh.getIndexBuffer() != nullptr);
  CHECK(mesh.getVertexBuffer()->getNbVertices() == 1);
  CHECK(sameBits(mesh.getVertexBuffer()->Position3(0), Point(1.0f, 2.0f, 3.0f)));
  CHECK(mesh.getIndexBuffer()->getNbIndices() == 3);
}

TEST_CASE("a copied mesh has buffers of its own") {
  const qz::qzTriMesh mesh{qz::qzVertexBuffer({Point(1.0f, 2.0f, 3.0f)}), qz::qzIndexBuffer(std::vector<int>{0, 0, 0})};
  const qz::qzTriMesh copy = mesh;
  CHECK(copy.getVertexBuffer() != mesh.getVertexBuffer());
  CHECK(copy.getIndexBuffer() != mesh.getIndexBuffer());
  CHECK(copy.getIndexBuffer()->getIndices() != mesh.getIndexBuffer()->getIndices());
  CHECK(sameBits(copy.getVertexBuffer()->Position3(0), mesh.getVertexBuffer()->Position3(0)));
}
