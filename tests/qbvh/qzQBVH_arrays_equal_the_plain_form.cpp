// Every word of large and degenerate hierarchies against the plain conversion.

#include <doctest/doctest.h>

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <cmath>
#include <memory>

#include "support/qzCallersFloatMode.h"
#include "support/qzObservers.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

struct NamedMesh {
  std::string name;
  qz::qzTriMesh mesh;
};

std::vector<NamedMesh> meshes() {
  return {{"terrain", terrainMesh(15, 11)},
          {"soup", soupMesh(333, 12)},
          {"sphere", sphereMesh(12, 17)},
          {"awkward", awkwardMesh(300, 13)},
          {"one triangle", soupMesh(1, 14)}};
}

constexpr unsigned int kAllFlags[] = {1, 2, 3};

std::string differenceOfConversions(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh,
                                    NaNWords nans = eSameNaN) {
  OpenQBVH library;
  library.buildFromBVH(qzQBVH::tQBVHDataFlags(flags), bvh, mesh);
  return difference(library, qzPlain::convert(flags, bvh, mesh), nans);
}

/// A chain of inner nodes, each with a leaf of one triangle on one side and the rest on the other.
qzGenericBVH chain(unsigned int length, bool growsLeft) {
  qzGenericBVH bvh;
  bvh.editNodes().resize(2 * length + 1);
  for (unsigned int i = 0; i < length; ++i) {
    const unsigned int leaf = 2 * i + 1, next = 2 * i + 2;
    bvh.editPrimitives().push_back(i % 7);
    setInner(bvh, 2 * i, qzBBox(), growsLeft ? next : leaf, growsLeft ? leaf : next);
    setLeaf(bvh, leaf, qzBBox(), i, 1);
  }
  bvh.editPrimitives().push_back(0);
  setLeaf(bvh, 2 * length, qzBBox(), length, 1);
  return bvh;
}

}  // namespace

TEST_CASE("every mesh, leaf size and set of flags gives the words of the plain conversion") {
  for (const NamedMesh& scene : meshes()) {
    CAPTURE(scene.name);
    for (unsigned int leafSize : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 50u, 100000u, 0xFFFFFFFFu}) {
      CAPTURE(leafSize);
      const qzGenericBVH bvh = linearBVH(scene.mesh, leafSize);
      for (unsigned int flags : kAllFlags) {
        CAPTURE(flags);
        OpenQBVH library;
        buildFromMesh(library, qzQBVH::tQBVHDataFlags(flags), scene.mesh, leafSize);
        CHECK(difference(library, qzPlain::convert(flags, bvh, scene.mesh)) == "");
      }
    }
  }
}

TEST_CASE("a leaf size of 0 counts as 1") {
  for (const NamedMesh& scene : meshes()) {
    OpenQBVH zero, one;
    buildFromMesh(zero, kBothArrays, scene.mesh, 0);
    buildFromMesh(one, kBothArrays, scene.mesh, 1);
    CHECK(zero.nodeWords() == one.nodeWords());
    CHECK(zero.vertexWords() == one.vertexWords());
    CHECK(zero.equationWords() == one.equationWords());
    CHECK(zero.indexWords() == one.indexWords());
    CHECK(sameBits(zero.mRootBBox, one.mRootBBox));
  }
}

TEST_CASE("a build from a mesh logs what the linear builder logs at 20 bits per axis, and nothing else") {
  const qz::qzTriMesh mesh = soupMesh(500, 15);
  LogCapture ofBuilder;
  qzGenericBVH bvh;
  qzLinearGenericBVHBuilder builder;
  builder.setMaxPrimitivesPerLeaf(3);
  builder.build(qzBVHTriangleContainer(mesh), bvh, nullptr, 20);
  LogCapture ofMesh;
  OpenQBVH hierarchy;
  hierarchy.buildFromMesh(kBothArrays, mesh, 3);
  CHECK(ofBuilder.records().size() == 4);
  CHECK(ofMesh.records() == ofBuilder.records());
  LogCapture ofConversion;
  hierarchy.buildFromBVH(kBothArrays, bvh, mesh);
  CHECK(ofConversion.records().empty());
}

TEST_CASE("hierarchies of any shape and with any boxes give the words of the plain conversion") {
  for (std::uint32_t seed = 1; seed <= 300; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    const unsigned int count = 1 + random.below(60);
    const qz::qzTriMesh mesh =
        random.below(2) == 0 ? soupMesh(static_cast<int>(count), seed) : awkwardMesh(static_cast<int>(count), seed);
    const unsigned int leafSize = random.below(12);
    const qzGenericBVH bvh = randomBVH(mesh, leafSize, BoxKind(random.below(4)), random);
    CHECK(differenceOfConversions(kAllFlags[random.below(3)], bvh, mesh) == "");
  }
}

TEST_CASE("chains of up to 5000 nodes to either side equal the plain conversion") {
  const qz::qzTriMesh mesh = soupMesh(7, 16);
  for (bool growsLeft : {false, true}) {
    for (unsigned int length : {1u, 2u, 3u, 4u, 999u, 1000u, 5000u}) {
      CAPTURE(length);
      CHECK(differenceOfConversions(3, chain(length, growsLeft), mesh) == "");
    }
  }
}

TEST_CASE("infinite, huge, tiny and NaN vertices give the words of the plain conversion") {
  for (std::uint32_t seed = 1; seed <= 300; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    const bool withNaN = seed % 2 == 0;
    std::vector<Point> corners;
    for (int i = 0; i < 60; ++i) {
      Point p;
      for (int axis = 0; axis < 3; ++axis) {
        do p[axis] = random.anyFloat();
        while (!withNaN && p[axis] != p[axis]);
      }
      corners.push_back(p);
    }
    const qz::qzTriMesh mesh = meshOfCorners(corners);
    CHECK(differenceOfConversions(3, randomBVH(mesh, 5, eOddBoxes, random), mesh, withNaN ? eAnyNaN : eSameNaN) == "");
  }
}

TEST_CASE("meshes with signed zeros and NaN give the words of the plain conversion") {
  // The order of the operands of minimum and maximum decides which zero a box keeps, and that it keeps no NaN.
  for (std::uint32_t seed = 1; seed <= 200; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    const bool withNaN = seed % 2 == 0;
    std::vector<Point> corners;
    for (int i = 0; i < 90; ++i) {
      Point p;
      for (int axis = 0; axis < 3; ++axis) {
        const std::uint32_t kind = random.below(8);
        p[axis] = kind < 2 ? 0.0f : kind < 4 ? -0.0f : kind == 4 && withNaN ? std::nanf("") : random.unit();
      }
      corners.push_back(p);
    }
    const qz::qzTriMesh mesh = meshOfCorners(corners);
    const unsigned int leafSize = 1 + random.below(9);
    OpenQBVH library;
    buildFromMesh(library, kBothArrays, mesh, leafSize);
    const qzPlain::tQBVH plain = qzPlain::convert(kBothArrays, linearBVH(mesh, leafSize), mesh);
    CHECK(difference(library, plain, withNaN ? eAnyNaN : eSameNaN) == "");
  }
}

TEST_CASE("a further build replaces everything") {
  const qz::qzTriMesh large = terrainMesh(10, 17), small = awkwardMesh(5, 18);
  const qzGenericBVH largeBVH = linearBVH(large, 2), smallBVH = linearBVH(small, 100);
  OpenQBVH library;
  for (unsigned int flags : {3u, 1u, 2u, 3u, 2u, 1u}) {
    CAPTURE(flags);
    library.buildFromBVH(qzQBVH::tQBVHDataFlags(flags), largeBVH, large);
    CHECK(difference(library, qzPlain::convert(flags, largeBVH, large)) == "");
    library.buildFromBVH(qzQBVH::tQBVHDataFlags(flags), smallBVH, small);
    CHECK(difference(library, qzPlain::convert(flags, smallBVH, small)) == "");
    buildFromMesh(library, qzQBVH::tQBVHDataFlags(flags), large, 4);
    CHECK(difference(library, qzPlain::convert(flags, linearBVH(large, 4), large)) == "");
  }
}

TEST_CASE("a hierarchy outlives its mesh and its binary hierarchy") {
  OpenQBVH library;
  qzPlain::tQBVH plain;
  {
    const auto mesh = std::make_unique<qz::qzTriMesh>(soupMesh(100, 19));
    const auto bvh = std::make_unique<qzGenericBVH>(linearBVH(*mesh, 4));
    library.buildFromBVH(kBothArrays, *bvh, *mesh);
    plain = qzPlain::convert(3, *bvh, *mesh);
  }
  CHECK(difference(library, plain) == "");
  CHECK(library.nodeWords().size() > 32);
}

TEST_CASE("indices beyond the last whole triangle are not read") {
  std::vector<Point> vertices = {Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0), Point(1, 1, 1)};
  const qz::qzTriMesh mesh{qz::qzVertexBuffer(vertices), qz::qzIndexBuffer(std::vector<int>{0, 1, 2, 3, 2, 1, 999999})};
  OpenQBVH library;
  buildFromMesh(library, kBothArrays, mesh, 4);
  CHECK(library.getNoTriangleQuadruplets() == 1);
  CHECK(difference(library, qzPlain::convert(3, linearBVH(mesh, 4), mesh)) == "");
}

TEST_CASE("a build does not depend on the caller's rounding and denormal modes, and leaves them as they are") {
  const qz::qzTriMesh mesh = awkwardMesh(400, 20);
  const qzGenericBVH bvh = linearBVH(mesh, 4);
  const qzPlain::tQBVH plain = qzPlain::convert(3, bvh, mesh);
  for (CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    OpenQBVH converted, fromMesh;
    const LogCapture quiet(false);
    bool isKept;
    {
      const CallersFloatMode floatMode(mode);
      converted.buildFromBVH(kBothArrays, bvh, mesh);
      fromMesh.buildFromMesh(kBothArrays, mesh, 4);
      isKept = floatMode.isKept();
    }
    CHECK(isKept);
    CHECK(difference(converted, plain) == "");
    CHECK(difference(fromMesh, plain) == "");
  }
}
