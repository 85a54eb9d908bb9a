#include "support/qzOpenBVH2D.h"

#include "support/qzPrivateAccess.h"

// The tags stand beside PrivateAccess, whose friends their privateMember are.
namespace qzTest {

struct Primitives {
  using Type = std::vector<unsigned int> qzGenericBVH2D::*;
  friend Type privateMember(Primitives);
};
struct Nodes {
  using Type = std::vector<qzGNode2D> qzGenericBVH2D::*;
  friend Type privateMember(Nodes);
};
struct NbPrimitives {
  using Type = unsigned int qzGenericBVH2D::*;
  friend Type privateMember(NbPrimitives);
};
struct NbNodes {
  using Type = unsigned int qzGenericBVH2D::*;
  friend Type privateMember(NbNodes);
};
struct SetNode {
  using Type = void (qzGenericBVH2D::*)(unsigned int, const qzGNode2D&);
  friend Type privateMember(SetNode);
};
struct GetBVHInfoIter {
  using Type = void (qzGenericBVH2D::*)(int, int&, int&, int&, int&, int&, int) const;
  friend Type privateMember(GetBVHInfoIter);
};

template struct PrivateAccess<Primitives, &qzGenericBVH2D::mPrimitives>;
template struct PrivateAccess<Nodes, &qzGenericBVH2D::mNodes>;
template struct PrivateAccess<NbPrimitives, &qzGenericBVH2D::mNbPrimitives>;
template struct PrivateAccess<NbNodes, &qzGenericBVH2D::mNbNodes>;
template struct PrivateAccess<SetNode, &qzGenericBVH2D::setNode>;
template struct PrivateAccess<GetBVHInfoIter, &qzGenericBVH2D::getBVHInfoIter>;

std::vector<unsigned int>& primitivesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(Primitives());
}
std::vector<qzGNode2D>& nodesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(Nodes());
}
unsigned int& nbPrimitivesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(NbPrimitives());
}
unsigned int& nbNodesOf(qzGenericBVH2D& tree) {
  return tree.*privateMember(NbNodes());
}

void setNode(qzGenericBVH2D& tree, unsigned int i, const qzGNode2D& node) {
  (tree.*privateMember(SetNode()))(i, node);
}

void getBVHInfoIter(const qzGenericBVH2D& tree, int nodeIndex, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                    int& sumPrimitives, int& maxLocation, int level) {
  (tree.*privateMember(GetBVHInfoIter()))(nodeIndex, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation,
                                          level);
}

}  // namespace qzTest
