#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/qzByteSize.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzLinearBuild.h>
#include <qzCommonAddOns/qzDetail/qzLogRecord.h>

#include <memory>
#include <string>

using qzDetail::tBoxLanes;
using qzDetail::tCancel;
using qzDetail::tSplits;
using tContainer = qzLinearGenericBVHBuilder::tPrimitiveContainerInterface;

namespace {

// One record of the build, put together from text and numbers only if somebody reads it.
template <class MakeText>
void log(MakeText makeText) {
  if (qzDetail::isLogged(qz::qzLogType(1))) qzDetail::logRecord(qz::qzLogType(1), "bvh", makeText().c_str());
}

std::string allocated(std::uint64_t bytes, const std::string& what) {
  return "qzLinearGenericBVHBuilder : allocate " + qzDetail::formatByteSize(static_cast<std::int64_t>(bytes)) + "B " +
         what;
}

// The primitives of a container, every box by a call of its own.
struct tContainerSource {
  const tContainer& mContainer;
  std::uint32_t mNbPrimitives;

  std::uint32_t nbPrimitives() const { return mNbPrimitives; }
  tBoxLanes boxOf(std::uint32_t i) const { return tBoxLanes(*mContainer.getBBox(i)); }
};

// Everything below is for builds that somebody may cancel: they go through the stages one by one, on the whole tree, so
// that an abandoned build leaves what its last stage left.

// Links the nodes of the levels 1 ... lastLevel; boxes stay as they are.
void writeWholeTree(const tSplits& splits, unsigned int lastLevel, qzGNode* nodes) {
  const auto keeps = [=](unsigned int level, std::uint32_t) { return level <= lastLevel; };
  qzDetail::writeNodes<qzDetail::tNoBox>(splits, qzDetail::tNumbering(splits, keeps), nodes, keeps, qzDetail::tLink3(),
                                         [](std::uint32_t, std::uint32_t) { return qzDetail::tNoBox(); });
}

// Boxes bottom-up, left before right. Cancelled, a node keeps its box, but those above still unite their children.
struct tRefit {
  const tContainer& mContainer;
  const std::vector<unsigned int>& mIndices;
  tCancel mCancel;
  std::vector<qzGNode>& mNodes;

  void visit(unsigned int number) {
    if (mCancel.poll()) return;
    qzGNode& node = mNodes[number];
    tBoxLanes box;
    if (node.isLeaf()) {
      const unsigned int start = node.getPrimStartIdx(), end = start + node.getNoPrimitives();
      for (unsigned int k = start; k < end; ++k) {
        box.unite(tBoxLanes(*mContainer.getBBox(mIndices[k])));
        if (mCancel.poll()) return;
      }
    } else {
      visit(node.getLeftChildIdx());
      visit(node.getRightChildIdx());
      box = tBoxLanes(mNodes[node.getLeftChildIdx()].getBBox());
      box.unite(tBoxLanes(mNodes[node.getRightChildIdx()].getBBox()));
    }
    node.setBBox(box.toBBox());
  }
};

// Turns every subtree of at most mMax primitives into a leaf and marks the nodes that are left: mMarks[i + 1] for node
// i.
struct tCollapse {
  unsigned int mMax;
  tCancel mCancel;
  std::vector<qzGNode>& mNodes;
  std::vector<unsigned int>& mMarks;

  /// Number of primitives below the node; 0 when cancelled.
  unsigned int visit(unsigned int number) {
    if (mCancel.poll()) return 0;
    mMarks[number + 1] = 1;
    qzGNode& node = mNodes[number];
    if (node.isLeaf()) return node.getNoPrimitives();
    const unsigned int left = node.getLeftChildIdx(), right = node.getRightChildIdx();
    const unsigned int nbLeft = visit(left);
    const unsigned int total = nbLeft + visit(right);
    if (total > mMax) return total;
    mMarks[left + 1] = 0;
    mMarks[right + 1] = 0;
    const unsigned int leftStart = mNodes[left].getPrimStartIdx(), rightStart = mNodes[right].getPrimStartIdx();
    node.setLeaf(rightStart < leftStart ? rightStart : leftStart, total);
    return total;
  }
};

// Fuses small subtrees and closes the gaps that they leave. Returns false when cancelled.
bool fuseLeaves(std::vector<qzGNode>& nodes, unsigned int maxPerLeaf, tCancel cancel) {
  const std::size_t nbWhole = nodes.size();
  std::vector<unsigned int> marks(nbWhole + 1);
  tCollapse{maxPerLeaf, cancel, nodes, marks}.visit(0);
  if (cancel.poll()) return false;

  // New numbers by a running sum; node i is kept when its mark differs from the next.
  for (std::size_t i = 1; i <= nbWhole; ++i) marks[i] += marks[i - 1];
  for (std::size_t i = 0; i < nbWhole; ++i) {
    if (marks[i] == marks[i + 1]) continue;
    qzGNode node = nodes[i];
    if (!node.isLeaf()) {
      node.setNode(qzBBox::tAxis(node.getAxis()), marks[node.getLeftChildIdx()], marks[node.getRightChildIdx()], 0.0f);
      nodes[i] = node;
    }
    nodes[marks[i]] = node;
  }
  const unsigned int nbKept = marks[nbWhole];
  if (cancel.poll()) return false;
  std::vector<unsigned int>().swap(marks);
  nodes.resize(nbKept);
  return true;
}

}  // namespace

qzLinearGenericBVHBuilder::tPrimitiveContainerInterface::~tPrimitiveContainerInterface() = default;

void qzLinearGenericBVHBuilder::setMaxPrimitivesPerLeaf(unsigned int max) {
  mMaxPrimitivesPerLeaf = max == 0 ? 1 : max;
}

void qzDetail::logIndexAllocation(std::uint32_t nbPrimitives) {
  log([=] {
    return allocated(4 * std::uint64_t(nbPrimitives), "for " + std::to_string(nbPrimitives) + " primitives indexes");
  });
}

void qzDetail::logWorkingBuffer(std::uint64_t nbGroups) {
  log([=] { return allocated(8 * nbGroups, "of working buffer"); });
}

void qzDetail::logNodeAllocation(std::uint64_t nbCodes) {
  log([=] { return allocated(64 * nbCodes, "for " + std::to_string(2 * nbCodes) + " result nodes"); });
}

void qzDetail::logFusion(std::uint64_t nbWhole, std::uint64_t nbFused) {
  log([=] {
    return "fuse " + std::to_string(static_cast<std::uint32_t>(nbWhole)) + " into " + std::to_string(nbFused);
  });
}

bool qzLinearGenericBVHBuilder::build(const tPrimitiveContainerInterface& container, qzGenericBVH& bvh,
                                      const qz::qzCancelInterfaceReadOnly* cancelInterface, unsigned int bitsPerAxis) {
  const qzDetail::tFloatMode mode;
  const tCancel cancel{cancelInterface};
  const unsigned int bits = bitsPerAxis < qzDetail::kMaxBitsPerAxis ? bitsPerAxis : qzDetail::kMaxBitsPerAxis;

  mNbPrimitives = container.getQuantity();
  mBBox = qzBBox();
  mIndices.resize(mNbPrimitives);
  qzDetail::logIndexAllocation(mNbPrimitives);
  const tContainerSource source{container, mNbPrimitives};
  mBBox = qzDetail::boxOfAll(source).toBBox();
  const std::unique_ptr<tSplits> splits = qzDetail::sortAndSplit(source, mBBox, bits, mIndices.data(), cancel);
  if (splits == nullptr) return false;

  // The whole tree has a leaf for every code and one node to spare; who cannot cancel never sees it.
  const std::uint64_t nbCodes = splits->nbGroups(), nbWhole = 2 * nbCodes;
  qzDetail::logNodeAllocation(nbCodes);
  if (cancelInterface == nullptr) {
    const qzDetail::tFusedTree tree(*splits, mMaxPrimitivesPerLeaf);
    tree.write<tBoxLanes>(bvh.mNodes, qzDetail::tLink3(), [&](std::uint32_t k) { return source.boxOf(mIndices[k]); });
    bvh.mNbNodes = static_cast<unsigned int>(nbWhole - 1);
    takeOverPrimitives(bvh);
  } else {
    bvh.mNodes.resize(nbWhole);
    for (unsigned int level = 1; level <= 3 * bits; ++level) {
      if (cancel.poll()) {
        writeWholeTree(*splits, level, bvh.mNodes.data());
        return false;
      }
    }
    writeWholeTree(*splits, 3 * bits, bvh.mNodes.data());
    bvh.mNbNodes = static_cast<unsigned int>(nbWhole - 1);
    tRefit{container, mIndices, cancel, bvh.mNodes}.visit(0);
    if (cancel.poll()) return false;
    takeOverPrimitives(bvh);
    if (!fuseLeaves(bvh.mNodes, mMaxPrimitivesPerLeaf, cancel)) return false;
  }
  qzDetail::logFusion(nbWhole, bvh.mNodes.size());
  bvh.mNodes.shrink_to_fit();
  return !cancel.poll();
}

void qzLinearGenericBVHBuilder::takeOverPrimitives(qzGenericBVH& bvh) {
  mIndices.swap(bvh.mPrimitives);
  bvh.mNbPrimitives = mNbPrimitives;
}
