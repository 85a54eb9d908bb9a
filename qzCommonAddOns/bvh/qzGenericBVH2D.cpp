#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>

#include <qzCommonAddOns/qzDetail/base/qzBVHStatistics.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>

void qzGenericBVH2D::getBVHInfo(int& nbNodes, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                                float& avgPrimitives) const {
  nbNodes = static_cast<int>(mNbNodes);
  nbLeaves = 0;
  // The initial value is no upper bound: if all leaves are larger, the node count is reported.
  minPrimitives = static_cast<int>(mNbNodes);
  maxPrimitives = 0;
  int sumPrimitives = 0, maxLocation = 0;  // maxLocation is an output of getBVHInfoIter that is not used here
  getBVHInfoIter(0, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation, 0);

  const qzDetail::tFloatMode mode;
  avgPrimitives = qzDetail::averagePrimitives(sumPrimitives, nbLeaves);
}

void qzGenericBVH2D::getBVHInfoIter(int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                                    int& sumPrimitives, int& maxLocation, int level) const {
  qzDetail::tLeafStatistics statistics{nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation};
  qzDetail::addLeaves(mNodes.data(), static_cast<unsigned int>(nodeIndex), static_cast<unsigned int>(level),
                      statistics);
}

void qzGenericBVH2D::setNode(unsigned int i, const qzGNode2D& node) {
  mNodes[i] = node;
}
