#pragma once
// The library's 2D builder and its plain form side by side: every build is done by both, and checked to be the same.

#include <vector>

#include "builders/plane/qzScenes2D.h"
#include "plain/qzPlainLinear2DBuilder.h"
#include "support/qzOpenBVH2D.h"

namespace qzTest {

class BothBuilders2D {
 public:
  explicit BothBuilders2D(unsigned int maxPrimitivesPerLeaf = 4) { setMaxPrimitivesPerLeaf(maxPrimitivesPerLeaf); }
  void setMaxPrimitivesPerLeaf(unsigned int max);

  /// Fills both builders. Their index arrays become as long as there are primitives, and spareIndices longer.
  void fill(const Scene2D& scene, unsigned int spareIndices = 0);

  /// Builds with both and checks that nobody can tell them apart: every bit of the trees and what the builders hold.
  void build(unsigned int bitsPerAxis);
  void build(const Scene2D& scene, unsigned int bitsPerAxis) {
    fill(scene);
    build(bitsPerAxis);
  }

  qzGenericBVH2D& tree() { return mTree; }
  const std::vector<qzGNode2D>& nodes() const { return mTree.getNodes(); }
  const std::vector<unsigned int>& primitives() { return primitivesOf(mTree); }
  OpenBuilder2D& builder() { return mBuilder; }
  qzPlain::Linear2DBuilder& plainBuilder() { return mPlainBuilder; }

 private:
  OpenBuilder2D mBuilder;
  qzGenericBVH2D mTree;
  qzPlain::Linear2DBuilder mPlainBuilder;
  qzPlain::Tree2D mPlainTree;
};

}  // namespace qzTest
