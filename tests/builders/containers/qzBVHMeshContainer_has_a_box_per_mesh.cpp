#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHMeshContainer.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <optional>
#include <vector>

#include "plain/qzPlainBBox.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;
using Point = Wm4::Vector3<float>;

namespace {

/// The empty box expanded by all vertices in order.
qzBBox plainBox(const qz::qzTriMesh& mesh) {
  qzBBox box;
  for (int i = 0; i < mesh.getVertexBuffer()->getNbVertices(); ++i) {
    box = qzPlain::expand(box, mesh.getVertexBuffer()->Position3(i));
  }
  return box;
}

qz::qzTriMesh meshOf(std::vector<Point> vertices, std::vector<int> indices = {}) {
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

}  // namespace

TEST_CASE("an empty list of meshes gives no primitive") {
  CHECK(qzBVHMeshContainer(std::vector<qz::qzTriMesh*>()).getQuantity() == 0);
}

TEST_CASE("there is one box per mesh, in list order, also for repeated meshes") {
  qz::qzTriMesh a = terrainMesh(4, 81), b = sphereMesh(4, 6);
  const qzBVHMeshContainer container({&b, &a, &b});
  REQUIRE(container.getQuantity() == 3);
  CHECK(sameBits(*container.getBBox(0), plainBox(b)));
  CHECK(sameBits(*container.getBBox(1), plainBox(a)));
  CHECK(sameBits(*container.getBBox(2), plainBox(b)));
}

TEST_CASE("a mesh without vertices has the empty box") {
  qz::qzTriMesh a = terrainMesh(2, 82), b = meshOf({});
  const qzBVHMeshContainer container({&a, &b});
  REQUIRE(container.getQuantity() == 2);
  CHECK(sameBits(*container.getBBox(0), plainBox(a)));
  CHECK(sameBits(*container.getBBox(1), qzBBox()));
}

TEST_CASE("a negative number of vertices counts as none") {
  qz::qzTriMesh mesh(qz::qzVertexBuffer(nullptr, -5), qz::qzIndexBuffer(std::vector<int>{0, 1, 2}));
  const qzBVHMeshContainer container({&mesh});
  REQUIRE(container.getQuantity() == 1);
  CHECK(sameBits(*container.getBBox(0), qzBBox()));
}

TEST_CASE("a mesh's box is around all vertices, referenced by an index or not") {
  qz::qzTriMesh mesh = meshOf(
      {Point(0.0f, 0.0f, 0.0f), Point(1.0f, 0.0f, 0.0f), Point(0.0f, 1.0f, 0.0f), Point(9.0f, 9.0f, -9.0f)}, {0, 1, 2});
  CHECK(sameBits(*qzBVHMeshContainer({&mesh}).getBBox(0), qzBBox::Make(0.0f, 0.0f, -9.0f, 9.0f, 9.0f, 0.0f)));
  CHECK(sameBits(*qzBVHTriangleContainer(mesh).getBBox(0), qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 0.0f)));
}

TEST_CASE("the mesh container does not read the index buffer, even an invalid one") {
  qz::qzTriMesh mesh(qz::qzVertexBuffer({Point(1.0f, 2.0f, 3.0f)}), qz::qzIndexBuffer(nullptr, -300));
  CHECK(sameBits(*qzBVHMeshContainer({&mesh}).getBBox(0), qzBBox(Point(1.0f, 2.0f, 3.0f))));
}

TEST_CASE("mesh triangle boxes equal their plain form for any floats, in the default and the fast-math mode") {
  const std::uint32_t seed = 83;
  INFO("seed ", seed);
  Random random(seed);
  std::vector<qz::qzTriMesh> meshes;
  for (int k = 0; k < 2000; ++k) {
    std::vector<Point> vertices;
    for (std::uint32_t i = random.below(6); i > 0; --i) {
      const auto any = [&] {
        return random.below(3) == 0 ? floatFromBits(random.bits() & 0x807FFFFFu) : random.anyFloat();
      };
      const float x = any(), y = any(), z = any();
      vertices.emplace_back(x, y, z);
    }
    meshes.push_back(meshOf(vertices));
  }
  std::vector<qz::qzTriMesh*> list;
  for (qz::qzTriMesh& mesh : meshes) list.push_back(&mesh);
  for (const CallersFloatMode::Mode mode : {CallersFloatMode::eDefault, CallersFloatMode::eFastMath}) {
    std::optional<qzBVHMeshContainer> container;
    bool isKept;
    {
      const CallersFloatMode callers(mode);
      container.emplace(list);
      isKept = callers.isKept();
    }
    CHECK(isKept);
    for (unsigned int k = 0; k < list.size(); ++k) {
      if (!sameBits(*container->getBBox(k), plainBox(meshes[k])))
        FAIL("mesh ", k, " mode ", static_cast<unsigned int>(mode));
    }
  }
}

TEST_CASE("the boxes outlive the meshes") {
  std::optional<qz::qzTriMesh> mesh(terrainMesh(3, 84));
  const qzBBox expected = plainBox(*mesh);
  const qzBVHMeshContainer container({&*mesh});
  mesh.reset();
  CHECK(sameBits(*container.getBBox(0), expected));
}

TEST_CASE("copies of a mesh container have their own boxes, and assignment returns the container") {
  qz::qzTriMesh a = terrainMesh(3, 85), b = sphereMesh(3, 5);
  std::optional<qzBVHMeshContainer> source(std::vector<qz::qzTriMesh*>{&a, &b});
  const qzBVHMeshContainer copy = *source;
  qzBVHMeshContainer assigned({});
  CHECK(&(assigned = *source) == &assigned);
  source.reset();
  for (const qzBVHMeshContainer* container : {&copy, static_cast<const qzBVHMeshContainer*>(&assigned)}) {
    REQUIRE(container->getQuantity() == 2);
    CHECK(sameBits(*container->getBBox(0), plainBox(a)));
    CHECK(sameBits(*container->getBBox(1), plainBox(b)));
  }
  CHECK(copy.getBBox(0) != assigned.getBBox(0));
  const qzBVHMeshContainer& same = assigned;
  assigned = same;
  CHECK(sameBits(*assigned.getBBox(1), plainBox(b)));
}

TEST_CASE("getBBox of a mesh container points into one array, in mesh order") {
  qz::qzTriMesh a = terrainMesh(2, 86);
  const qzBVHMeshContainer container({&a, &a, &a});
  for (unsigned int i = 0; i < 3; ++i) CHECK(container.getBBox(i) == container.getBBox(0) + i);
}
