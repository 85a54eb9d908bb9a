// Hashes of whole 2D trees, recorded from the plain form, which every compiler, flag set and processor must reproduce.
// The scenes are made from seeds by sums and products alone.

#include <doctest/doctest.h>

#include "builders/plane/qzBothBuilders2D.h"
#include "support/qzHash.h"
#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

namespace {

std::uint64_t hashOf(const std::vector<qzGNode2D>& nodes, const std::vector<unsigned int>& primitives,
                     unsigned int nbNodes) {
  Hash hash;
  hash.add(nbNodes);
  for (const qzGNode2D& node : nodes) {
    hash.addAll(node.getBBox(), node.getLeftChildIdx() | (node.isLeaf() ? 0xC0000000u : 0u), node.getRightChildIdx());
  }
  for (const unsigned int primitive : primitives) hash.add(primitive);
  return hash.value();
}

// Any points within ordinary bounds: their cells overflow, underflow, wrap and are NaN.
Scene2D wildScene(std::uint32_t count, std::uint32_t seed) {
  Scene2D scene = randomScene(count, 0.1f, seed);
  Random random(seed);
  for (Point& point : scene.points) {
    if (random.below(8) == 0) point[static_cast<int>(random.below(2))] = random.anyFloat();
  }
  return scene;
}

Scene2D latticeScene(std::uint32_t side) {
  std::vector<Point> points;
  for (std::uint32_t i = 0; i < side * side; ++i) {
    points.emplace_back(static_cast<float>(i % side) * 0.1f, static_cast<float>(i / side) * 0.3f);
  }
  return pointScene(points);
}

struct Fingerprint {
  std::string name;
  Scene2D scene;
  unsigned int bitsPerAxis, maxPrimitivesPerLeaf;
  std::uint64_t hash;
};

}  // namespace

TEST_CASE("2D trees of seeded scenes have their recorded hashes, in the library and in the plain form") {
  const Scene2D random = randomScene(20000, 0.05f, 1), lattice = latticeScene(70), wild = wildScene(3000, 2);
  const Fingerprint kFingerprints[] = {
      {"random", random, 16, 4, 0xA76E1777306154B4u},
      {"random, leaves of one", random, 16, 1, 0x24C351FCAB7E5733u},
      {"random, ten bits", random, 10, 4, 0x894161B3917B51A8u},
      {"random, coarse", random, 3, 8, 0x920C512B3AF9DFCFu},
      {"lattice", lattice, 16, 4, 0xFC9E2D6C1CD2F2DEu},
      {"lattice, large leaves", lattice, 8, 100, 0x01952F618DA209C3u},
      {"wild", wild, 16, 1, 0x1CD2D905F8A789FBu},
      {"wild, fifteen bits", wild, 15, 4, 0xAB534C15FCBB72F6u},
  };
  for (const Fingerprint& fingerprint : kFingerprints) {
    CAPTURE(fingerprint.name);
    BothBuilders2D both(fingerprint.maxPrimitivesPerLeaf);
    both.fill(fingerprint.scene);
    qzPlain::Linear2DBuilder plainBuilder = both.plainBuilder();
    qzPlain::Tree2D plainTree;
    plainBuilder.build(plainTree, fingerprint.bitsPerAxis);
    CHECK(hashOf(plainTree.nodes, plainTree.primitives, plainTree.nbNodes) == fingerprint.hash);
    both.build(fingerprint.bitsPerAxis);
    CHECK(hashOf(both.nodes(), both.primitives(), nbNodesOf(both.tree())) == fingerprint.hash);
  }
}
