// Statistics and text dump of a hierarchy. The streams' formatting is used as it is: each text and each number is one
// insertion, so a field width applies to it alone.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzBVHStatistics.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>

#include <iostream>

namespace {

void indent(std::ostream& stream, unsigned int depth) {
  for (unsigned int i = 0; i < depth; ++i) stream << '|';
}

void printPoint(std::ostream& stream, const Wm4::Vector3<float>& p) {
  stream << p[0] << ',' << p[1] << ',' << p[2];
}

void printHead(std::ostream& stream, const char* kind, unsigned int number, const qzBBox& bbox) {
  stream << kind << number << " (";
  printPoint(stream, bbox.getMinPoint());
  stream << ")(";
  printPoint(stream, bbox.getMaxPoint());
  stream << ')' << std::endl;
}

}  // namespace

void qzGenericBVH::getBVHInfo(int& nbNodes, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                              float& avgPrimitives) const {
  nbNodes = static_cast<int>(mNbNodes);
  nbLeaves = 0;
  minPrimitives = static_cast<int>(mNbNodes);  // no upper bound: if all leaves are larger, the node count is reported
  maxPrimitives = 0;
  int sumPrimitives = 0, maxLocation = 0;
  getBVHInfoIter(0, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation, 0);
  std::cout << "max at lvl:" << static_cast<unsigned int>(maxLocation >> 24) << std::endl;

  const qzDetail::tFloatMode mode;
  avgPrimitives = qzDetail::averagePrimitives(sumPrimitives, nbLeaves);
}

void qzGenericBVH::getBVHInfoIter(int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                                  int& sumPrimitives, int& maxLocation, int level) const {
  qzDetail::tLeafStatistics statistics{nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation};
  qzDetail::addLeaves(mNodes.data(), static_cast<unsigned int>(nodeIndex), static_cast<unsigned int>(level),
                      statistics);
}

std::ostream& operator<<(std::ostream& os, const qzGenericBVH& bvh) {
  int nbNodes, nbLeaves, minPrimitives, maxPrimitives;
  float avgPrimitives;
  bvh.getBVHInfo(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
  return os << nbNodes << " nodes. " << nbLeaves << "(" << maxPrimitives << "," << minPrimitives << "," << avgPrimitives
            << ") leaves (max, min, avg):";
}

void qzGenericBVH::print() const {
  const qzDetail::tFloatMode mode;
  printNode(0, 0);
}

void qzGenericBVH::printNode(unsigned int nodeIndex, unsigned int depth) const {
  std::ostream& stream = std::cout;
  for (;; nodeIndex = mNodes[nodeIndex].getRightChildIdx()) {
    const qzGNode& node = mNodes[nodeIndex];
    indent(stream, depth);
    if (node.isLeaf()) break;
    printHead(stream, "N ID ", nodeIndex, node.getBBox());
    ++depth;
    printNode(node.getLeftChildIdx(), depth);
  }

  const qzGNode& leaf = mNodes[nodeIndex];
  printHead(stream, "L ID ", nodeIndex, leaf.getBBox());
  indent(stream, depth);
  for (unsigned int i = 0; i < leaf.getNoPrimitives(); ++i) {
    stream << mPrimitives[leaf.getPrimStartIdx() + i] << ' ';
  }
  stream << std::endl;
}
