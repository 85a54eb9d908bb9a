#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/qzByteSize.h>
#include <qzCommonAddOns/qzDetail/qzCodeGroups.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzLogRecord.h>
#include <qzCommonAddOns/qzDetail/qzMorton.h>
#include <qzCommonAddOns/qzDetail/qzPlatformAdapter.h>
#include <qzCommonAddOns/qzDetail/qzRadixSort.h>
#include <qzCommonAddOns/qzDetail/qzTreeWriter.h>

#include <memory>
#include <string>

using qzDetail::formatByteSize;
using qzDetail::tBoxLanes;
using qzDetail::tSplits;
using tContainer = qzLinearGenericBVHBuilder::tPrimitiveContainerInterface;

namespace {

constexpr unsigned int kMaxBitsPerAxis = 21;
constexpr unsigned int kMaxBitsPerAxisOf32BitCodes = 10;

// The caller's wish to stop, if there is somebody to ask.
struct tCancel {
  const qz::qzCancelInterfaceReadOnly* mInterface;
  bool poll() const { return mInterface != nullptr && qzDetail::isCanceled(*mInterface); }
};

// One record of the build, put together from text and numbers only if somebody reads it.
template <class MakeText>
void log(MakeText makeText) {
  if (qzDetail::isLogged(qz::qzLogType(1))) qzDetail::logRecord(qz::qzLogType(1), "bvh", makeText().c_str());
}

void logAllocation(std::uint64_t bytes, const std::string& what) {
  log([&] {
    return "qzLinearGenericBVHBuilder : allocate " + formatByteSize(static_cast<std::int64_t>(bytes)) + "B " + what;
  });
}

void logWorkingBuffer(std::uint64_t nbGroups) {
  logAllocation(8 * nbGroups, "of working buffer");
}

tBoxLanes boxOfAll(const tContainer& container, unsigned int n) {
  tBoxLanes box;
  for (unsigned int i = 0; i < n; ++i) box.unite(tBoxLanes(*container.getBBox(i)));
  return box;
}

// Morton codes of the box centres on a cubic grid around the scene.
template <class Code>
void makeCodes(const tContainer& container, unsigned int n, const qzBBox& scene, unsigned int bitsPerAxis,
               Code* codes) {
  const Wm4::Vector3<float>&min = scene.getMinPoint(), &max = scene.getMaxPoint();
  const float dx = max[0] - min[0], dy = max[1] - min[1], dz = max[2] - min[2];
  const float edgeYZ = dy > dz ? dy : dz;
  const float edge = dx > edgeYZ ? dx : edgeYZ;
  qzDetail::tGridAxis axes[3];
  for (int axis = 0; axis < 3; ++axis) axes[axis] = qzDetail::gridAxis(min[axis], max[axis], edge, bitsPerAxis);

  const std::uint32_t lastCell = (1u << bitsPerAxis) - 1;
  for (unsigned int i = 0; i < n; ++i) {
    const qzBBox& bbox = *container.getBBox(i);
    std::uint32_t cell[3];
    for (int axis = 0; axis < 3; ++axis) {
      cell[axis] = axes[axis].cellOf((bbox.getMinPoint()[axis] + bbox.getMaxPoint()[axis]) * 0.5f, lastCell);
    }
    codes[i] = static_cast<Code>(qzDetail::encodeMorton3(cell[0], cell[1], cell[2]));
  }
}

// Splits of level 1 are on the top code bit, a z bit; then y, then x, and again.
struct tLink {
  void operator()(qzGNode& node, unsigned int level, std::uint32_t leftChild) const {
    const qzBBox::tAxis axis = level % 3 == 0 ? qzBBox::eAxisX : level % 3 == 1 ? qzBBox::eAxisZ : qzBBox::eAxisY;
    node.setNode(axis, leftChild, leftChild + 1, 0.0f);
  }
};

// Everything below is for builds that somebody may cancel: they go through the stages one by one, on the whole tree, so
// that an abandoned build leaves what its last stage left.

// Links the nodes of the levels 1 ... lastLevel; boxes stay as they are.
void writeWholeTree(const tSplits& splits, unsigned int lastLevel, qzGNode* nodes) {
  const auto keeps = [=](unsigned int level, std::uint32_t) { return level <= lastLevel; };
  qzDetail::writeNodes<qzDetail::tNoBox>(splits, qzDetail::tNumbering(splits, keeps), nodes, keeps, tLink(),
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

// Sorts mIndices by Morton code and reads the splits off the sorted codes. Returns null when cancelled.
template <class Code>
static std::unique_ptr<tSplits> sortAndSplit(const tContainer& container, std::vector<unsigned int>& indices,
                                             const qzBBox& scene, unsigned int bitsPerAxis, tCancel cancel) {
  const auto n = static_cast<unsigned int>(indices.size());
  const unsigned int codeBits = 3 * bitsPerAxis;
  const auto abandon = [&](std::uint64_t nbGroups) {
    logWorkingBuffer(nbGroups);
    cancel.poll();
    return nullptr;
  };
  std::unique_ptr<Code[]> codes(new Code[n]);
  makeCodes(container, n, scene, bitsPerAxis, codes.get());
  if (cancel.poll()) return abandon(0);

  qzDetail::sortByCode(codes.get(), indices.data(), n);
  if (cancel.poll()) return abandon(0);

  auto splits = std::make_unique<tSplits>(codes.get(), n, codeBits);
  codes.reset();
  const std::uint64_t nbGroups = splits->nbGroupsOfAllLevels(codeBits);
  if (cancel.poll()) return abandon(nbGroups);

  logWorkingBuffer(nbGroups);
  if (cancel.poll()) return nullptr;
  return splits;
}

bool qzLinearGenericBVHBuilder::build(const tPrimitiveContainerInterface& container, qzGenericBVH& bvh,
                                      const qz::qzCancelInterfaceReadOnly* cancelInterface, unsigned int bitsPerAxis) {
  const qzDetail::tFloatMode mode;
  const tCancel cancel{cancelInterface};
  const unsigned int bits = bitsPerAxis < kMaxBitsPerAxis ? bitsPerAxis : kMaxBitsPerAxis;

  mNbPrimitives = container.getQuantity();
  mBBox = qzBBox();
  mIndices.resize(mNbPrimitives);
  logAllocation(4 * std::uint64_t(mNbPrimitives), "for " + std::to_string(mNbPrimitives) + " primitives indexes");
  mBBox = boxOfAll(container, mNbPrimitives).toBBox();

  const std::unique_ptr<tSplits> splits = bits <= kMaxBitsPerAxisOf32BitCodes
                                              ? sortAndSplit<std::uint32_t>(container, mIndices, mBBox, bits, cancel)
                                              : sortAndSplit<std::uint64_t>(container, mIndices, mBBox, bits, cancel);
  if (splits == nullptr) return false;

  // The whole tree has a leaf for every code and one node to spare; who cannot cancel never sees it.
  const std::uint64_t nbGroups = splits->nbGroups(), nbWhole = 2 * nbGroups;
  logAllocation(64 * nbGroups, "for " + std::to_string(nbWhole) + " result nodes");
  if (cancelInterface == nullptr) {
    qzDetail::writeFusedTree<tBoxLanes>(*splits, mMaxPrimitivesPerLeaf, bvh.mNodes, tLink(),
                                        [&](std::uint32_t k) { return tBoxLanes(*container.getBBox(mIndices[k])); });
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
  log([&] {
    return "fuse " + std::to_string(static_cast<std::uint32_t>(nbWhole)) + " into " + std::to_string(bvh.mNodes.size());
  });
  bvh.mNodes.shrink_to_fit();
  return !cancel.poll();
}

void qzLinearGenericBVHBuilder::takeOverPrimitives(qzGenericBVH& bvh) {
  mIndices.swap(bvh.mPrimitives);
  bvh.mNbPrimitives = mNbPrimitives;
}
