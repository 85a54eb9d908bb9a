#pragma once
// The library's linear builder and its plain form side by side. Every build is done with both and compared.

#include "plain/qzPlainLinearBuilder.h"
#include "support/access/qzBuildJournal.h"
#include "support/access/qzOpenBVH.h"

#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

/// Private members of the builder.
const std::vector<unsigned int>& indicesOf(const qzLinearGenericBVHBuilder& builder);
const qzBBox& bboxOf(const qzLinearGenericBVHBuilder& builder);
unsigned int nbPrimitivesOf(const qzLinearGenericBVHBuilder& builder);
unsigned int maxPrimitivesPerLeafOf(const qzLinearGenericBVHBuilder& builder);

class BothBuilders {
 public:
  explicit BothBuilders(unsigned int maxPrimitivesPerLeaf = 4) { setMaxPrimitivesPerLeaf(maxPrimitivesPerLeaf); }
  void setMaxPrimitivesPerLeaf(unsigned int max);

  /// Builds with both and checks that they agree on everything a caller can observe: the return value, the journal and
  /// every bit of the tree. Returns what they returned. The cancel interface cancels at poll number cancelAt and at every
  /// later one.
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
