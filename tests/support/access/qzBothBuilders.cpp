#include "support/access/qzBothBuilders.h"

#include "support/access/qzPrivateAccess.h"
#include "support/access/qzSameTrees.h"
#include "support/qzBits.h"

#include <doctest/doctest.h>

#include <algorithm>

namespace qzTest {

struct BuilderIndices {
  using Type = std::vector<unsigned int> qzLinearGenericBVHBuilder::*;
  friend Type privateMember(BuilderIndices);
};
struct BuilderBBox {
  using Type = qzBBox qzLinearGenericBVHBuilder::*;
  friend Type privateMember(BuilderBBox);
};
struct BuilderNbPrimitives {
  using Type = unsigned int qzLinearGenericBVHBuilder::*;
  friend Type privateMember(BuilderNbPrimitives);
};
struct BuilderMaxPerLeaf {
  using Type = unsigned int qzLinearGenericBVHBuilder::*;
  friend Type privateMember(BuilderMaxPerLeaf);
};
template struct PrivateAccess<BuilderIndices, &qzLinearGenericBVHBuilder::mIndices>;
template struct PrivateAccess<BuilderBBox, &qzLinearGenericBVHBuilder::mBBox>;
template struct PrivateAccess<BuilderNbPrimitives, &qzLinearGenericBVHBuilder::mNbPrimitives>;
template struct PrivateAccess<BuilderMaxPerLeaf, &qzLinearGenericBVHBuilder::mMaxPrimitivesPerLeaf>;

const std::vector<unsigned int>& indicesOf(const qzLinearGenericBVHBuilder& builder) {
  return builder.*privateMember(BuilderIndices());
}
const qzBBox& bboxOf(const qzLinearGenericBVHBuilder& builder) {
  return builder.*privateMember(BuilderBBox());
}
unsigned int nbPrimitivesOf(const qzLinearGenericBVHBuilder& builder) {
  return builder.*privateMember(BuilderNbPrimitives());
}
unsigned int maxPrimitivesPerLeafOf(const qzLinearGenericBVHBuilder& builder) {
  return builder.*privateMember(BuilderMaxPerLeaf());
}

namespace {

template <class T>
std::size_t firstDifference(const std::vector<T>& a, const std::vector<T>& b) {
  const std::size_t shared = std::min(a.size(), b.size());
  const auto where = std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(shared), b.begin()).first;
  return static_cast<std::size_t>(where - a.begin());
}

// The first node that is not as in the plain form; empty if there is none. Nodes from nbLinked on are not linked into the
// tree: they may also hold what the array held before the build, or be default nodes.
std::string differenceOfNodes(const std::vector<qzGNode>& nodes, const std::vector<qzGNode>& plainNodes,
                              const std::vector<qzGNode>& before, std::uint64_t nbLinked) {
  std::vector<qzGNode> expected = plainNodes;
  if (nodes.size() == expected.size()) {
    for (std::size_t i = nbLinked; i < nodes.size(); ++i) {
      const bool isAsBefore = i < before.size() && sameBits(nodes[i], before[i]);
      if (isAsBefore || sameBits(nodes[i], qzGNode())) expected[i] = nodes[i];
    }
  }
  return qzTest::differenceOfNodes(nodes, expected);
}

// Where the storage of a tree is, to show that a build did not replace it.
struct Storage {
  const void* nodes;
  const void* primitives;
  std::size_t nodeCapacity, primitiveCapacity;

  explicit Storage(const qzGenericBVH& tree)
      : nodes(tree.getNodes().data()),
        primitives(tree.getPrimitives().data()),
        nodeCapacity(tree.getNodes().capacity()),
        primitiveCapacity(tree.getPrimitives().capacity()) {}
  bool operator==(const Storage& o) const {
    return nodes == o.nodes && primitives == o.primitives && nodeCapacity == o.nodeCapacity &&
           primitiveCapacity == o.primitiveCapacity;
  }
};

}  // namespace

void BothBuilders::setMaxPrimitivesPerLeaf(unsigned int max) {
  mBuilder.setMaxPrimitivesPerLeaf(max);
  mPlainBuilder.setMaxPrimitivesPerLeaf(max);
}

bool BothBuilders::build(const std::vector<qzBBox>& boxes, unsigned int bitsPerAxis, std::uint64_t cancelAt) {
  const std::vector<qzGNode> nodesBefore = mPlainTree.nodes;
  const Storage storageBefore(mTree);
  Journal plainJournal;
  mJournal = Journal();
  const bool result = buildWithJournal(mBuilder, mTree, boxes, bitsPerAxis, cancelAt, mJournal);
  const bool plainResult = buildWithJournal(mPlainBuilder, mPlainTree, boxes, bitsPerAxis, cancelAt, plainJournal);

  INFO("bits per axis ", bitsPerAxis, ", leaf limit ", mPlainBuilder.maxPrimitivesPerLeaf, ", cancelled at poll ",
       cancelAt);
  CHECK(result == plainResult);

  INFO("events differ from ", firstDifference(mJournal.events, plainJournal.events), " of ",
       plainJournal.events.size());
  CHECK(bool(mJournal.events == plainJournal.events));
  const std::size_t nbRecords = plainJournal.records.size();
  REQUIRE(mJournal.records.size() == nbRecords);
  for (std::size_t i = 0; i < nbRecords; ++i) {
    CHECK(mJournal.records[i].text == plainJournal.records[i].text);
    CHECK(mJournal.records[i].category == "bvh");
    CHECK(mJournal.records[i].type == qz::eLogInfo);
    CHECK(mJournal.eventsBeforeRecord[i] == plainJournal.eventsBeforeRecord[i]);
  }

  const bool isUntouched = mPlainBuilder.nbLinkedNodes == 0;
  CHECK(differenceOfNodes(mTree.getNodes(), mPlainTree.nodes, nodesBefore,
                          isUntouched ? nodesBefore.size() : mPlainBuilder.nbLinkedNodes) == "");
  CHECK(bool(mTree.getPrimitives() == mPlainTree.primitives));
  CHECK(mTree.getNbNodes() == mPlainTree.nbNodes);
  CHECK(nbPrimitivesOf(mTree) == mPlainTree.nbPrimitives);
  if (isUntouched) CHECK(bool(Storage(mTree) == storageBefore));
  if (nbRecords == 4) CHECK(mTree.getNodes().capacity() == mTree.getNodes().size());

  CHECK(sameBits(bboxOf(mBuilder), mPlainBuilder.bbox));
  CHECK(nbPrimitivesOf(mBuilder) == mPlainBuilder.nbPrimitives);
  CHECK(maxPrimitivesPerLeafOf(mBuilder) == mPlainBuilder.maxPrimitivesPerLeaf);
  CHECK(bool(indicesOf(mBuilder) == mPlainBuilder.indices));
  return result;
}

std::vector<std::string> BothBuilders::recordTexts() const {
  std::vector<std::string> texts;
  for (const Record& record : mJournal.records) texts.push_back(record.text);
  return texts;
}

std::uint64_t BothBuilders::nbPolls() const {
  return static_cast<std::uint64_t>(std::count(mJournal.events.begin(), mJournal.events.end(), Event{Event::ePoll, 0}));
}

}  // namespace qzTest
