// The plane sets that the hull query reads.

#include <doctest/doctest.h>

#include <cstdint>

#include "support/scenes/qzHullScenes.h"

using namespace qzTest;
using Rows = qzQBVH::tSOASinglePlaneEqn;

namespace {

Planes oddPlanes() {
  return {Plane(1.0f, 2.0f, 3.0f, 4.0f), Plane(-0.0f, kInf, -kInf, 0x1p-149f), Plane(kNaN, -kNaN, kMaxFloat, 0.0f)};
}

bool areRowsOf(const Rows& rows, const Plane& plane) {
  const float* lanes = reinterpret_cast<const float*>(&rows);
  bool same = true;
  for (int row = 0; row < 4; ++row) {
    for (int lane = 0; lane < 4; ++lane) same = same && sameBits(lanes[4 * row + lane], plane[row]);
  }
  return same;
}

}  // namespace

TEST_CASE("a plane takes four rows of four lanes, 16-byte aligned") {
  CHECK(sizeof(Rows) == 64);
  CHECK(alignof(Rows) == 16);
}

TEST_CASE("CreateSOAPlaneEquationSet copies every coefficient into four lanes, planes in the order given") {
  const Planes planes = oddPlanes();
  for (unsigned int count = 0; count <= 3; ++count) {
    Rows* set = qzQBVH::CreateSOAPlaneEquationSet(planes.data(), count);
    CHECK(reinterpret_cast<std::uintptr_t>(set) % 16 == 0);
    for (unsigned int i = 0; i < count; ++i) CHECK(areRowsOf(set[i], planes[i]));
    qzQBVH::DeleteSOAPlaneEquationSet(set);
  }
}

TEST_CASE("InitSOAPlaneEquationSet writes count entries of the caller's storage") {
  const Planes planes = oddPlanes();
  const Plane mark(-7.0f, -7.0f, -7.0f, -7.0f);
  Rows storage[4];
  for (unsigned int count = 0; count <= 3; ++count) {
    for (Rows& rows : storage) qzQBVH::InitSOAPlaneEquationSet(&mark, &rows, 1);
    qzQBVH::InitSOAPlaneEquationSet(planes.data(), storage, count);
    for (unsigned int i = 0; i < 4; ++i) CHECK(areRowsOf(storage[i], i < count ? planes[i] : mark));
  }
}

TEST_CASE("a plane set in the caller's storage gives the same answers as one that the library allocated") {
  HullQBVH hierarchy;
  hierarchy.allocateEmpty(0, 1);
  const Planes around = cubeAround(Point(0.0f, 0.0f, 0.0f), 1.0f), beside = cubeAround(Point(2.0f, 0.0f, 0.0f), 1.0f);
  Rows storage[6];
  qzQBVH::InitSOAPlaneEquationSet(around.data(), storage, 6);
  CHECK(hierarchy.intersectConvexHull(storage, 6));
  qzQBVH::InitSOAPlaneEquationSet(beside.data(), storage, 6);
  CHECK_FALSE(hierarchy.intersectConvexHull(storage, 6));
}

TEST_CASE("a null set may be released") {
  CHECK_NOTHROW(qzQBVH::DeleteSOAPlaneEquationSet(nullptr));
}
