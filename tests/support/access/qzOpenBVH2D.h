#pragma once
// Access to the private members of qzGenericBVH2D, and to the protected ones of its builder.

#include <qzCommonAddOns/builders/qzLinearGenericBVH2DBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH2D.h>

#include <vector>

namespace qzTest {

std::vector<unsigned int>& primitivesOf(qzGenericBVH2D& tree);
std::vector<qzGNode2D>& nodesOf(qzGenericBVH2D& tree);
unsigned int& nbPrimitivesOf(qzGenericBVH2D& tree);
unsigned int& nbNodesOf(qzGenericBVH2D& tree);

void setNode(qzGenericBVH2D& tree, unsigned int i, const qzGNode2D& node);
void getBVHInfoIter(const qzGenericBVH2D& tree, int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                    int& sumPrimitives, int& maxLocation, int level);

class OpenBuilder2D : public qzLinearGenericBVH2DBuilder {
 public:
  using qzLinearGenericBVH2DBuilder::mBBoxes;
  using qzLinearGenericBVH2DBuilder::mBounds;
  using qzLinearGenericBVH2DBuilder::mIndices;
  using qzLinearGenericBVH2DBuilder::mMaxPrimitivesPerLeaf;
  using qzLinearGenericBVH2DBuilder::mNbPrimitives;
  using qzLinearGenericBVH2DBuilder::mPoints;
};

}  // namespace qzTest
