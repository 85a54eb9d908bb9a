#pragma once
// The library's linear builder and its plain form side by side: every build is done by both, and checked to be the
// same.

#include "plain/qzPlainLinearBuilder.h"
#include "support/qzBuildJournal.h"

#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

/// Members of the library's classes that only tests look at.
const std::vector<unsigned int>& indicesOf(const qzLinearGenericBVHBuilder& builder);
const qzBBox& bboxOf(const qzLinearGenericBVHBuilder& builder);
unsigned int nbPrimitivesOf(const qzLinearGenericBVHBuilder& builder);
unsigned int maxPrimitivesPerLeafOf(const qzLinearGenericBVHBuilder& builder);
unsigned int nbPrimitivesOf(const qzGenericBVH& tree);

class BothBuilders {
 public:
  explicit BothBuilders(unsigned int maxPrimitivesPerLeaf = 4) { setMaxPrimitivesPerLeaf(maxPrimitivesPerLeaf); }
  void setMaxPrimitivesPerLeaf(unsigned int max);

  /// Builds with both and checks that nobody can tell them apart: result, journal, every bit of the tree. Returns what
  /// the builds returned. The cancel interface says "cancel" at poll number cancelAt and ever after.
  bool build(const std::vector<qzBBox>& boxes, unsigned int bitsPerAxis, std::uint64_t cancelAt = kNoInterface);

  const qzGenericBVH& tree() const { return mTree; }
  const std::vector<qzGNode>& nodes() const { return mTree.getNodes(); }
  const qzLinearGenericBVHBuilder& builder() const { return mBuilder; }
  /// Of the last build.
  const Journal& journal() const { return mJournal; }
  std::vector<std::string> recordTexts() const;
  std::uint64_t nbPolls() const;

 private:
  qzLinearGenericBVHBuilder mBuilder;
  qzGenericBVH mTree;
  qzPlain::LinearBuilder mPlainBuilder;
  qzPlain::Tree mPlainTree;
  Journal mJournal;
};

}  // namespace qzTest
