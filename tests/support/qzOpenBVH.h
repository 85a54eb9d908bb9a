#pragma once
// The parts of qzGNode and qzGenericBVH that only builders reach.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <utility>
#include <vector>

#include "support/qzPrivateAccess.h"

namespace qzTest {

struct NbPrimitives {
  using Type = unsigned int qzGenericBVH::*;
  friend Type privateMember(NbPrimitives);
};
struct NbNodes {
  using Type = unsigned int qzGenericBVH::*;
  friend Type privateMember(NbNodes);
};
struct SetNode {
  using Type = void (qzGenericBVH::*)(unsigned int, const qzGNode&);
  friend Type privateMember(SetNode);
};
struct GetOrCreateNode {
  using Type = qzGNode& (qzGenericBVH::*)(unsigned int);
  friend Type privateMember(GetOrCreateNode);
};
template struct PrivateAccess<NbPrimitives, &qzGenericBVH::mNbPrimitives>;
template struct PrivateAccess<NbNodes, &qzGenericBVH::mNbNodes>;
template struct PrivateAccess<SetNode, &qzGenericBVH::setNode>;
template struct PrivateAccess<GetOrCreateNode, &qzGenericBVH::getOrCreateNode>;

inline unsigned int& nbPrimitives(qzGenericBVH& bvh) {
  return bvh.*privateMember(NbPrimitives());
}
inline unsigned int& nbNodes(qzGenericBVH& bvh) {
  return bvh.*privateMember(NbNodes());
}
inline void setNode(qzGenericBVH& bvh, unsigned int i, const qzGNode& node) {
  (bvh.*privateMember(SetNode()))(i, node);
}
inline qzGNode& getOrCreateNode(qzGenericBVH& bvh, unsigned int i) {
  return (bvh.*privateMember(GetOrCreateNode()))(i);
}

/// A hierarchy of two leaves as a builder leaves it: three nodes in use of 1024, three primitives.
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
  nbPrimitives(bvh) = 3;
  nbNodes(bvh) = 3;
  return bvh;
}

}  // namespace qzTest
