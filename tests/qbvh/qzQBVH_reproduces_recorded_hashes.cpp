// Hashes of whole hierarchies and of thousands of hits, the same with every compiler, flag set and processor.
// The scenes are made from seeds by sums and products alone, so no library function of the platform matters.

#include <doctest/doctest.h>

#include "support/qzHash.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

void add(Hash& hash, const Words& words) {
  for (const std::uint32_t word : words) hash.add(word);
}
void addFloats(Hash& hash, const Words& words) {
  for (const std::uint32_t word : words) hash.addFloatBits(word);
}

std::uint64_t hashOfArrays(const Words& nodes, const Words& vertices, const Words& equations, const Words& indices,
                           const qzBBox& box) {
  Hash hash;
  add(hash, nodes);
  add(hash, vertices);
  addFloats(hash, equations);
  add(hash, indices);
  hash.add(box);
  return hash.value();
}

template <class Hierarchy>
std::uint64_t hashOfRays(const Hierarchy& hierarchy, const qz::qzTriMesh& mesh, bool symmetric) {
  Hash hash;
  Random random(1000);
  for (int i = 0; i < 5000; ++i) {
    const Ray ray = i % 8 != 0 ? ordinaryRay(mesh, random) : awkwardRay(mesh, random);
    const Answer answer = symmetric ? castSymmetric(hierarchy, ray) : cast(hierarchy, ray);
    hash.addAll(answer.hit, answer.t, answer.barycentric, answer.triangle);
  }
  return hash.value();
}

struct Fingerprint {
  std::string name;
  qz::qzTriMesh mesh;
  unsigned int leafSize;
  std::uint64_t arrays, rays, symmetricRays;
};

const std::vector<Fingerprint>& fingerprints() {
  static const std::vector<Fingerprint> kFingerprints = {
      {"terrain", terrainMesh(32, 1), 4, 0xAF959A41B04D636E, 0xF1F6F2680A9897F4, 0xD2C28B13D22DDAA1},
      {"terrain, leaves of one", terrainMesh(32, 1), 1, 0x588B71CD126F68AD, 0xB45F8D55AF4CBA80, 0x801F419984D97C4A},
      {"soup", soupMesh(3000, 2), 4, 0xD9B3EB04C4568997, 0xB0234E076A500AE6, 0x6032E2C59D80F93E},
      {"soup, leaves of nine", soupMesh(3000, 2), 9, 0x8B58B316C72C1BF4, 0x0522385D7C474A76, 0x949400D5892C6519},
      {"awkward", awkwardMesh(1500, 3), 4, 0xFEB06159C9EF2104, 0x7B64472B0D105557, 0xA0E2232A960F27DF},
  };
  return kFingerprints;
}

}  // namespace

TEST_CASE("the arrays of seeded scenes have their recorded hashes, in the library and in the plain form") {
  for (const Fingerprint& scene : fingerprints()) {
    CAPTURE(scene.name);
    OpenQBVH library;
    buildFromMesh(library, kBothArrays, scene.mesh, scene.leafSize);
    CHECK(hashOfArrays(library.nodeWords(), library.vertexWords(), library.equationWords(), library.indexWords(),
                       library.mRootBBox) == scene.arrays);
    const qzPlain::tQBVH plain = qzPlain::convert(3, linearBVH(scene.mesh, scene.leafSize), scene.mesh);
    CHECK(hashOfArrays(plain.mNodes, plain.mVertices, plain.mEquations, plain.mIndices, plain.mRootBBox) ==
          scene.arrays);
  }
}

TEST_CASE("rays on seeded scenes have the recorded hashes of their answers, in the library and in the plain form") {
  for (const Fingerprint& scene : fingerprints()) {
    CAPTURE(scene.name);
    OpenQBVH library;
    buildFromMesh(library, kBothArrays, scene.mesh, scene.leafSize);
    const qzPlain::tQBVH plain = qzPlain::convert(3, linearBVH(scene.mesh, scene.leafSize), scene.mesh);
    CHECK(hashOfRays(library, scene.mesh, false) == scene.rays);
    CHECK(hashOfRays(plain, scene.mesh, false) == scene.rays);
    CHECK(hashOfRays(library, scene.mesh, true) == scene.symmetricRays);
    CHECK(hashOfRays(plain, scene.mesh, true) == scene.symmetricRays);
  }
}
