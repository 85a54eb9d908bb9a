// Copies share their source's arrays. Objects that must not release them live in storage that is never destroyed.

#include <doctest/doctest.h>

#include <new>
#include <stdexcept>
#include <type_traits>

#include "support/qzObservers.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

/// Storage for a hierarchy whose destructor is never called.
class Undestroyed {
 public:
  Undestroyed() : mHierarchy(new (mStorage) OpenQBVH()) {}
  explicit Undestroyed(const OpenQBVH& o) : mHierarchy(new (mStorage) OpenQBVH(o)) {}
  OpenQBVH& operator*() { return *mHierarchy; }
  OpenQBVH* operator->() { return mHierarchy; }

 private:
  alignas(OpenQBVH) unsigned char mStorage[sizeof(OpenQBVH)];
  OpenQBVH* mHierarchy;
};

const Ray kDown{Point(0.1f, 0.1f, 5.0f), Point(0.0f, 0.0f, -1.0f)};

}  // namespace

TEST_CASE("a copy has its source's array pointers, box, flags and sizes") {
  const qz::qzTriMesh mesh = terrainMesh(6, 21);
  const LogCapture quiet(false);  // rays on the one without equations
  for (unsigned int flags : {1u, 2u, 3u}) {
    OpenQBVH source;
    buildFromMesh(source, qzQBVH::tQBVHDataFlags(flags), mesh, 4);
    Undestroyed constructed(source), assigned;
    *assigned = source;
    for (OpenQBVH* copy : {&*constructed, &*assigned}) {
      CHECK(copy->arrays() == source.arrays());
      CHECK(sameBits(copy->mRootBBox, source.mRootBBox));
      CHECK(copy->flags() == flags);
      CHECK(copy->getNoNodes() == source.getNoNodes());
      CHECK(copy->getNoTriangleQuadruplets() == source.getNoTriangleQuadruplets());
      CHECK(sameAnswer(cast(*copy, kDown), cast(source, kDown)));
    }
  }
}

TEST_CASE("an assignment does not release the target's old arrays") {
  const qz::qzTriMesh first = terrainMesh(6, 22), second = soupMesh(50, 23);
  OpenQBVH owner, source;
  buildFromMesh(owner, kBothArrays, first, 4);
  buildFromMesh(source, kBothArrays, second, 4);
  const Words nodes = owner.nodeWords(), equations = owner.equationWords();
  Undestroyed target(owner);
  *target = source;
  CHECK(target->arrays() == source.arrays());
  CHECK(owner.nodeWords() == nodes);
  CHECK(owner.equationWords() == equations);
}

TEST_CASE("a copy of a source that is never destroyed releases the shared arrays") {
  const qz::qzTriMesh mesh = terrainMesh(6, 24);
  Undestroyed source;
  buildFromMesh(*source, kBothArrays, mesh, 4);
  const OpenQBVH copy(*source);  // a leak checker sees whether these arrays are released, and only once
  CHECK(cast(copy, kDown).hit);
}

TEST_CASE("self-assignment changes nothing") {
  OpenQBVH hierarchy;
  buildFromMesh(hierarchy, kBothArrays, terrainMesh(4, 25), 4);
  const auto arrays = hierarchy.arrays();
  const Words nodes = hierarchy.nodeWords();
  OpenQBVH& same = hierarchy;
  hierarchy = same;
  CHECK(hierarchy.arrays() == arrays);
  CHECK(hierarchy.nodeWords() == nodes);
}

TEST_CASE("qzQBVH has no virtual functions and the alignment of a pointer") {
  CHECK(!std::is_polymorphic_v<qzQBVH>);
  CHECK(std::is_copy_constructible_v<qzQBVH>);
  CHECK(std::is_copy_assignable_v<qzQBVH>);
  CHECK(sizeof(qzQBVH) == 4 * sizeof(void*) + sizeof(qzBBox) + 3 * sizeof(unsigned) + 4);  // 4 bytes of padding
  CHECK(static_cast<unsigned>(qzQBVH::eTrianglesVertices) == 1);
  CHECK(static_cast<unsigned>(qzQBVH::eTrianglesEquations) == 2);
  CHECK(static_cast<unsigned>(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations) == 3);
  CHECK(static_cast<unsigned>(qzQBVH::eIntersectBothFaces) == 0);
  CHECK(static_cast<unsigned>(qzQBVH::eIntersectFrontFaces) == 1);
  CHECK(static_cast<unsigned>(qzQBVH::eIntersectBackFaces) == 2);
}

TEST_CASE("a mesh with a negative number of triangles throws what the triangle container throws") {
  const qz::qzTriMesh mesh(qz::qzVertexBuffer(nullptr, 0), qz::qzIndexBuffer(nullptr, -3));
  const LogCapture log;
  qzQBVH hierarchy;
  CHECK_THROWS_AS(hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4), std::length_error);
  CHECK(log.records().empty());
  CHECK(hierarchy.getNoNodes() == 0);
}
