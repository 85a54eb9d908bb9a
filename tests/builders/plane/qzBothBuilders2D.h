#pragma once
// The library's 2D builder and its plain form side by side. Every build is done with both and compared.

#include <vector>

#include "builders/plane/qzScenes2D.h"
#include "plain/qzPlainLinear2DBuilder.h"
#include "support/access/qzOpenBVH2D.h"

namespace qzTest {

class BothBuilders2D {
 public:
  explicit BothBuilders2D(unsigned int maxPrimitivesPerLeaf = 4) { setMaxPrimitivesPerLeaf(maxPrimitivesPerLeaf); }
  void setMaxPrimitivesPerLeaf(unsigned int max);

  /// Fills both builders. Their index arrays have spareIndices entries more than there are primitives.
  void fill(const Scene2D& scene, unsigned int spareIndices = 0);

  /// Builds with both and checks that the trees and the builders' members agree in every bit.
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
