#include <doctest/doctest.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzVectorMath.h>

#include <limits>

#include "support/qzBits.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

using Point = Wm4::Vector3<float>;

qz::qzTriMesh makeMesh(std::vector<int> indices) {
  return {qz::qzVertexBuffer({Point(1, 2, 3), Point(-4, 5, 6), Point(7, -8, 9), Point(100, 100, 100)}),
          qz::qzIndexBuffer(std::move(indices))};
}

}  // namespace

TEST_CASE("the box holds the corners of triangles, not vertices that no triangle names") {
  const qzBBox box = boxOf(makeMesh({2, 1, 0}));
  CHECK(sameBits(box.getMinPoint(), Point(-4, -8, 3)));
  CHECK(sameBits(box.getMaxPoint(), Point(7, 5, 9)));
  CHECK(boxOf(makeMesh({2, 3, 0})).xMax() == 100.0f);
  CHECK(boxOf(makeMesh({})).isEmpty());
}

TEST_CASE("two indices are no triangle, and corners come in the order of the index buffer") {
  CHECK(countTriangles(makeMesh({0, 1})) == 0);
  CHECK(countTriangles(makeMesh({0, 1, 2, 2, 1, 3})) == 2);
  CHECK(countTriangles({qz::qzVertexBuffer(nullptr, 0), qz::qzIndexBuffer(nullptr, -6)}) == 0);
  const auto corners = cornersOf(makeMesh({0, 1, 2, 2, 1, 3}), 1);
  CHECK(sameBits(corners[0], Point(7, -8, 9)));
  CHECK(sameBits(corners[1], Point(-4, 5, 6)));
  CHECK(sameBits(corners[2], Point(100, 100, 100)));
}

TEST_CASE("dot and cross products of small integers are exact in both precisions") {
  CHECK(dot(Point(1, 2, 3), Point(4, -5, 6)) == 12.0f);
  CHECK(sameBits(cross(Point(1, 2, 3), Point(4, -5, 6)), Point(27, 6, -13)));
  CHECK(dot(tVector3d{1, 2, 3}, tVector3d{4, -5, 6}) == 12.0);
  CHECK(cross(tVector3d{1, 2, 3}, tVector3d{4, -5, 6}) == tVector3d{27, 6, -13});
  CHECK(along(tVector3d{1, 2, 3}, 2.0, tVector3d{4, -5, 6}) == tVector3d{9, -8, 15});
  CHECK(difference(tVector3d{1, 2, 3}, tVector3d{4, -5, 6}) == tVector3d{-3, 7, -3});
  CHECK(scaled(2.0, tVector3d{4, -5, 6}) == tVector3d{8, -10, 12});
  CHECK(normalized(tVector3d{0, -0x3p600, 0x4p600}) == tVector3d{0, -0.6, 0.8});
}

TEST_CASE("a point with one coordinate that is NaN or infinite is not finite") {
  CHECK(isFinite(Point(1, 2, kMaxFloat)));
  CHECK(isFinite(Wm4::Vector2<float>(1, kMaxFloat)));
  for (const float bad : {kNaN, kInf, -kInf}) {
    for (int axis = 0; axis < 3; ++axis) {
      Point point(1, 2, 3);
      point[axis] = bad;
      CHECK_FALSE(isFinite(point));
    }
    for (int axis = 0; axis < 2; ++axis) {
      Wm4::Vector2<float> point(1, 2);
      point[axis] = bad;
      CHECK_FALSE(isFinite(point));
    }
  }
}
