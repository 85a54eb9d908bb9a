#include "plain/qzPlainLinearBuilder.h"

#include "plain/qzPlainBBox.h"

#include <qzSystem/qzLog.h>
#include <qzSystem/qzLogObject.h>
#include <qzSystem/qzStringUtils.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>

namespace qzPlain {

using Container = qzLinearGenericBVHBuilder::tPrimitiveContainerInterface;
using Cancel = qz::qzCancelInterfaceReadOnly;

namespace {

bool poll(const Cancel* cancel) {
  return cancel != nullptr && cancel->isCanceled();
}

void logLine(const std::string& text) {
  if (qz::qzLog::msInstance != nullptr && !qz::qzLog::msInstance->isLogTypeEnabled(qz::eLogInfo)) return;
  qz::qzLogObject(qz::eLogInfo, "bvh", qz::qzLog::msInstance, nullptr, false) << text.c_str();
}

std::string allocateLine(std::uint64_t bytes, const std::string& what) {
  return "qzLinearGenericBVHBuilder : allocate " + formatByteSize(static_cast<std::int64_t>(bytes)) + "B " + what;
}

float larger(float a, float b) {
  return a > b ? a : b;
}

unsigned int highestBit(std::uint64_t value) {
  unsigned int bit = 0;
  while (value >>= 1) ++bit;
  return bit;
}

// The boxes of a subtree. A poll that cancels ends a node's visit and leaves its box; the visits of its
// ancestors continue.
void refitBBoxes(const Container& container, const std::vector<unsigned int>& indices, Tree& tree, unsigned int node,
                 const Cancel* cancel) {
  if (poll(cancel)) return;
  qzGNode& here = tree.nodes[node];
  if (!here.isLeaf()) {
    const unsigned int left = here.getLeftChildIdx(), right = here.getRightChildIdx();
    refitBBoxes(container, indices, tree, left, cancel);
    refitBBoxes(container, indices, tree, right, cancel);
    here.setBBox(bboxUnion(tree.nodes[left].getBBox(), tree.nodes[right].getBBox()));
    return;
  }
  qzBBox box;
  for (unsigned int k = 0; k < here.getNoPrimitives(); ++k) {
    box = bboxUnion(box, *container.getBBox(indices[here.getPrimStartIdx() + k]));
    if (poll(cancel)) return;
  }
  here.setBBox(box);
}

// Makes every subtree of at most max primitives a leaf. marks[i + 1] becomes 1 for each node i that stays. Returns the
// number of primitives below node.
std::uint32_t collapseSmallSubtrees(Tree& tree, unsigned int node, std::uint32_t max, std::vector<std::uint32_t>& marks,
                                    const Cancel* cancel) {
  if (poll(cancel)) return 0;
  marks[node + 1] = 1;
  qzGNode& here = tree.nodes[node];
  if (here.isLeaf()) return here.getNoPrimitives();
  const unsigned int left = here.getLeftChildIdx(), right = here.getRightChildIdx();
  const std::uint32_t nbLeft = collapseSmallSubtrees(tree, left, max, marks, cancel);
  const std::uint32_t nbRight = collapseSmallSubtrees(tree, right, max, marks, cancel);
  const std::uint32_t nbBelow = nbLeft + nbRight;
  if (nbBelow > max) return nbBelow;
  marks[left + 1] = 0;
  marks[right + 1] = 0;
  const unsigned int leftStart = tree.nodes[left].getPrimStartIdx(), rightStart = tree.nodes[right].getPrimStartIdx();
  here.setLeaf(rightStart < leftStart ? rightStart : leftStart, nbBelow);
  return nbBelow;
}

bool fuseLeaves(Tree& tree, std::uint32_t max, const Cancel* cancel) {
  const std::size_t nbNodes = tree.nodes.size();
  std::vector<std::uint32_t> marks(nbNodes + 1, 0);
  collapseSmallSubtrees(tree, 0, max, marks, cancel);
  if (poll(cancel)) return false;

  // Sums of the marks: node i stays when marks[i] and marks[i + 1] differ, as node marks[i].
  std::partial_sum(marks.begin(), marks.end(), marks.begin());
  for (std::size_t i = 0; i < nbNodes; ++i) {
    if (marks[i] == marks[i + 1]) continue;
    qzGNode& here = tree.nodes[i];
    if (!here.isLeaf()) {
      here.setNode(static_cast<qzBBox::tAxis>(here.getAxis()), marks[here.getLeftChildIdx()],
                   marks[here.getRightChildIdx()], 0.0f);
    }
    tree.nodes[marks[i]] = here;
  }
  if (poll(cancel)) return false;

  const std::size_t nbKept = marks[nbNodes];
  tree.nodes.resize(nbKept);
  logLine("fuse " + std::to_string(static_cast<std::uint32_t>(nbNodes)) + " into " + std::to_string(nbKept));
  std::vector<qzGNode> exactly;
  exactly.reserve(nbKept);
  exactly.assign(tree.nodes.begin(), tree.nodes.end());
  tree.nodes.swap(exactly);
  return true;
}

}  // namespace

std::string formatByteSize(std::int64_t value) {
  double x = std::fabs(static_cast<double>(static_cast<std::uint64_t>(value)));
  std::string prefix;
  const char* const kPrefixes = "YZEPTGMk";
  for (int i = 0; i < 8; ++i) {
    const int power = 80 - 10 * i;
    if (x >= std::ldexp(1.0, power)) {
      x *= std::ldexp(1.0, -power);
      prefix = kPrefixes[i];
      break;
    }
  }

  int decimals = x > 1.0 ? 2 - static_cast<int>(std::floor(std::log10(x))) : 2;
  decimals = std::clamp(decimals, 0, 1);
  if (decimals == 0) {
    x = std::fabs(std::ceil(x - 0.5));
  } else {
    x = std::fabs(std::ceil(10.0 * x - 0.5)) / 10.0;
  }

  std::ostringstream stream;
  stream.imbue(qz::qzStringUtils::msCplusLocale);
  if (decimals == 0) {
    stream << static_cast<std::int64_t>(x);
    return stream.str() + prefix;
  }
  stream.setf(std::ios_base::fixed, std::ios_base::floatfield);
  stream.precision(1);
  stream << x;
  std::string text = stream.str();
  while (!text.empty() && text.back() == '0') text.pop_back();
  if (!text.empty() && (text.back() == '.' || text.back() == ',')) text.pop_back();
  return text + prefix;
}

std::uint64_t mortonCode(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  std::uint64_t code = 0;
  for (unsigned int k = 0; k < 21; ++k) {
    code |= std::uint64_t(x >> k & 1) << 3 * k;
    code |= std::uint64_t(y >> k & 1) << (3 * k + 1);
    code |= std::uint64_t(z >> k & 1) << (3 * k + 2);
  }
  return code;
}

std::uint32_t cellOf(float coordinate, float origin, float scale, unsigned int bits) {
  const float cell = (coordinate - origin) * scale;
  // From 2^63 on a float has no bits in the lower half, read as signed or as unsigned.
  const bool fits = cell >= -0x1p63f && cell < 0x1p63f;
  const std::uint32_t low = fits ? static_cast<std::uint32_t>(static_cast<std::int64_t>(cell)) : 0;
  return std::min((1u << bits) - 1, low);
}

std::vector<std::uint64_t> LinearBuilder::mortonCodes(const Container& container, unsigned int bits) const {
  const Wm4::Vector3<float> middle = center(bbox);
  const float edge = larger(extent(bbox, 0), larger(extent(bbox, 1), extent(bbox, 2)));
  const float scale = static_cast<float>(1u << bits) / edge;
  std::vector<std::uint64_t> codes;
  for (unsigned int i = 0; i < nbPrimitives; ++i) {
    const Wm4::Vector3<float> point = center(*container.getBBox(i));
    std::uint32_t cell[3];
    for (int c = 0; c < 3; ++c) cell[c] = cellOf(point[c], middle[c] - edge * 0.5f, scale, bits);
    codes.push_back(mortonCode(cell[0], cell[1], cell[2]));
  }
  return codes;
}

bool LinearBuilder::build(const Container& container, Tree& tree, const Cancel* cancel, unsigned int bitsPerAxis) {
  const unsigned int bits = std::min(bitsPerAxis, 21u);
  const unsigned int nbCodeBits = 3 * bits;
  nbLinkedNodes = 0;

  nbPrimitives = container.getQuantity();
  bbox = qzBBox();
  indices.resize(nbPrimitives);
  logLine(allocateLine(4 * std::uint64_t(nbPrimitives), "for " + std::to_string(nbPrimitives) + " primitives indexes"));
  for (unsigned int i = 0; i < nbPrimitives; ++i) {
    bbox = bboxUnion(bbox, *container.getBBox(i));
    indices[i] = i;
  }
  std::vector<std::uint64_t> codes = mortonCodes(container, bits);

  // A build cancelled before its levels are listed still reports the working buffer and polls once more.
  const auto logWorkingBuffer = [](std::uint64_t nbEntries) {
    logLine(allocateLine(8 * nbEntries, "of working buffer"));
  };
  const auto abandon = [&](std::uint64_t nbEntries) {
    logWorkingBuffer(nbEntries);
    poll(cancel);
    return false;
  };
  if (poll(cancel)) return abandon(0);

  // Sort by code; equal codes keep ascending primitive numbers.
  std::stable_sort(indices.begin(), indices.end(), [&](unsigned int a, unsigned int b) { return codes[a] < codes[b]; });
  std::sort(codes.begin(), codes.end());
  if (poll(cancel)) return abandon(0);

  // A level per code bit and one for none: position i - 1 ends a group of level l when codes i - 1 and i differ in
  // their top l bits. The last position ends a group of every level.
  std::vector<std::vector<std::uint64_t>> groupEnds(nbCodeBits + 1);
  std::uint64_t nbEntries = nbCodeBits + 1;
  for (unsigned int i = 1; i < nbPrimitives; ++i) {
    if (codes[i] != codes[i - 1]) nbEntries += highestBit(codes[i - 1] ^ codes[i]) + 1;
  }
  if (poll(cancel)) return abandon(nbEntries);
  for (unsigned int i = 1; i < nbPrimitives; ++i) {
    if (codes[i] == codes[i - 1]) continue;
    const unsigned int bit = highestBit(codes[i - 1] ^ codes[i]);
    for (unsigned int k = 0; k <= bit; ++k) groupEnds[nbCodeBits - k].push_back(i - 1);
  }
  for (std::vector<std::uint64_t>& ends : groupEnds) ends.push_back(nbPrimitives - 1);
  logWorkingBuffer(nbEntries);
  if (poll(cancel)) return false;

  const std::size_t nbLeaves = groupEnds[nbCodeBits].size();
  tree.nodes.resize(2 * nbLeaves);
  logLine(allocateLine(64 * std::uint64_t(nbLeaves), "for " + std::to_string(2 * nbLeaves) + " result nodes"));

  // Nodes level by level: a group that its bit splits has two leaves for children, until they split in turn.
  const qzBBox::tAxis kAxisOfLevel[3] = {qzBBox::eAxisX, qzBBox::eAxisZ, qzBBox::eAxisY};
  std::vector<std::uint64_t> nodeIds(nbLeaves);  // of the groups of a level, the last one in the last entry
  nodeIds[nbLeaves - 1] = 0;
  tree.nodes[0].setLeaf(0, nbPrimitives);
  unsigned int next = 1;
  nbLinkedNodes = next;
  for (unsigned int level = 1; level <= nbCodeBits; ++level) {
    const std::vector<std::uint64_t>& above = groupEnds[level - 1];
    const std::vector<std::uint64_t>& ends = groupEnds[level];
    std::size_t read = nbLeaves - above.size(), write = nbLeaves - ends.size(), group = 0;
    unsigned int start = 0;
    for (const std::uint64_t endAbove : above) {
      const unsigned int end = static_cast<unsigned int>(endAbove);
      const unsigned int split = static_cast<unsigned int>(ends[group]);
      const std::uint64_t parent = nodeIds[read++];
      if (split < end) {
        tree.nodes[next].setLeaf(start, split - start + 1);
        tree.nodes[next + 1].setLeaf(split + 1, end - split);
        tree.nodes[parent].setNode(kAxisOfLevel[level % 3], next, next + 1, 0.0f);
        nodeIds[write++] = next;
        nodeIds[write++] = next + 1;
        group += 2;
        next += 2;
      } else {
        nodeIds[write++] = parent;
        group += 1;
      }
      start = end + 1;
    }
    nbLinkedNodes = next;
    if (poll(cancel)) return false;
  }
  tree.nbNodes = next;

  refitBBoxes(container, indices, tree, 0, cancel);
  if (poll(cancel)) return false;

  std::swap(indices, tree.primitives);
  tree.nbPrimitives = nbPrimitives;
  if (!fuseLeaves(tree, maxPrimitivesPerLeaf, cancel)) return false;
  return cancel == nullptr || !cancel->isCanceled();
}

}  // namespace qzPlain
