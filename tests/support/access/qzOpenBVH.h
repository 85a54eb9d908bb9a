#pragma once
// Access to the private members of qzGenericBVH.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <utility>
#include <vector>

#include "support/access/qzPrivateAccess.h"

namespace qzTest {

struct BVHNbPrimitives {
  using Type = unsigned int qzGenericBVH::*;
  friend Type privateMember(BVHNbPrimitives);
};
struct BVHNbNodes {
  using Type = unsigned int qzGenericBVH::*;
  friend Type privateMember(BVHNbNodes);
};
struct BVHSetNode {
  using Type = void (qzGenericBVH::*)(unsigned int, const qzGNode&);
  friend Type privateMember(BVHSetNode);
};
struct BVHGetOrCreateNode {
  using Type = qzGNode& (qzGenericBVH::*)(unsigned int);
  friend Type privateMember(BVHGetOrCreateNode);
};
struct BVHGetInfoIter {
  using Type = void (qzGenericBVH::*)(int, int&, int&, int&, int&, int&, int) const;
  friend Type privateMember(BVHGetInfoIter);
};
struct BVHPrintNode {
  using Type = void (qzGenericBVH::*)(unsigned int, unsigned int) const;
  friend Type privateMember(BVHPrintNode);
};
template struct PrivateAccess<BVHNbPrimitives, &qzGenericBVH::mNbPrimitives>;
template struct PrivateAccess<BVHNbNodes, &qzGenericBVH::mNbNodes>;
template struct PrivateAccess<BVHSetNode, &qzGenericBVH::setNode>;
template struct PrivateAccess<BVHGetOrCreateNode, &qzGenericBVH::getOrCreateNode>;
template struct PrivateAccess<BVHGetInfoIter, &qzGenericBVH::getBVHInfoIter>;
template struct PrivateAccess<BVHPrintNode, &qzGenericBVH::printNode>;

inline unsigned int& nbPrimitivesOf(qzGenericBVH& tree) {
  return tree.*privateMember(BVHNbPrimitives());
}
inline unsigned int nbPrimitivesOf(const qzGenericBVH& tree) {
  return tree.*privateMember(BVHNbPrimitives());
}
inline unsigned int& nbNodesOf(qzGenericBVH& tree) {
  return tree.*privateMember(BVHNbNodes());
}
inline void setNode(qzGenericBVH& tree, unsigned int i, const qzGNode& node) {
  (tree.*privateMember(BVHSetNode()))(i, node);
}
inline qzGNode& getOrCreateNode(qzGenericBVH& tree, unsigned int i) {
  return (tree.*privateMember(BVHGetOrCreateNode()))(i);
}
inline void getBVHInfoIter(const qzGenericBVH& tree, int node, int& nbLeaves, int& minPrimitives, int& maxPrimitives,
                           int& sumPrimitives, int& maxLocation, int level) {
  (tree.*privateMember(BVHGetInfoIter()))(node, nbLeaves, minPrimitives, maxPrimitives, sumPrimitives, maxLocation,
                                          level);
}
inline void printNode(const qzGenericBVH& tree, unsigned int node, unsigned int depth) {
  (tree.*privateMember(BVHPrintNode()))(node, depth);
}

/// Two leaves below a root, as a builder leaves them: three nodes in use of 1024, three primitives.
inline qzGenericBVH smallBVH() {
  qzGenericBVH bvh;
  bvh.editPrimitives() = {2, 0, 1};
  qzGNode root, left, right;
  root.setBBox(qzBBox::Make(0.0f, 0.0f, 0.0f, 3.0f, 3.0f, 3.0f));
  root.setNode(qzBBox::eAxisY, 1, 2, 0.0f);
  left.setBBox(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f));
  left.setLeaf(0, 1);
  right.setBBox(qzBBox::Make(2.0f, 2.0f, 2.0f, 3.0f, 3.0f, 3.0f));
  right.setLeaf(1, 2);
  setNode(bvh, 0, root);
  setNode(bvh, 1, left);
  setNode(bvh, 2, right);
  nbPrimitivesOf(bvh) = 3;
  nbNodesOf(bvh) = 3;
  return bvh;
}

}  // namespace qzTest
