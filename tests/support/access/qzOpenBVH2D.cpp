#include "support/access/qzOpenBVH2D.h"

#include "support/access/qzPrivateAccess.h"

namespace qzTest {

struct BVH2DPrimitives {
  using Type = std::vector<unsigned int> qzGenericBVH2D::*;
  friend Type privateMember(BVH2DPrimitives);
};
struct BVH2DNodes {
  using Type = std::vector<qzGNode2D> qzGenericBVH2D::*;
  friend Type privateMember(BVH2DNodes);
};
struct BVH2DNbPrimitives {
  using Type = unsigned int qzGenericBVH2D::*;
  friend Type privateMember(BVH2DNbPrimitives);
};
struct BVH2DNbNodes {
  using Type = unsigned int qzGenericBVH2D::*;
  friend Type privateMember(BVH2DNbNodes);
};
struct BVH2DSetNode {
  using Type = void (qzGenericBVH2D::*)(unsigned int, const qzGNode2D&);
  friend Type privateMember(BVH2DSetNode);
};
struct BVH2DGetInfoIter {
  using Type = void (qzGenericBVH2D::*)(int, int&, int&, int&, int&, int&, int) const;
  friend Type privateMember(BVH2DGetInfoIter);
};

template struct PrivateAccess<BVH2DPrimitives, &qzGenericBVH2D::mPrimitives>;
template struct PrivateAccess<BVH2DNodes, &qzGenericBVH2D::mNodes>;
template struct PrivateAccess<BVH2DNbPrimitives, &qzGenericBVH2D::mNbPrimitives>;
template struct PrivateAccess<BVH2DNbNodes, &qzGenericBVH2D::mNbNodes>;
template struct PrivateAccess<BVH2DSetNode, &qzGenericBVH2D::setNode>;
template struct PrivateAccess<BVH2DGetInfoIter, &qzGenericBVH2D::getBVHInfoIter>;

std::vector<unsigned int>& primitivesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(BVH2DPrimitives());
}
std::vector<qzGNode2D>& nodesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(BVH2DNodes());
}
unsigned int& nbPrimitivesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(BVH2DNbPrimitives());
}
unsigned int& nbNodesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(BVH2DNbNodes());
}

void setNode(qzGenericBVH2D& tree, unsigned int i, const qzGNode2D& node) {
  (tree.*privateMember(BVH2DSetNode()))(i, node);
}

void getBVHInfoIter(const qzGenericBVH2D& tree, int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                    int& sumPrimitives, int& maxLocation, int level) {
  (tree.*privateMember(BVH2DGetInfoIter()))(nodeIndex, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives,
                                            maxLocation, level);
}

}  // namespace qzTest
