#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <utility>

void qzGenericBVH::clearBVH() {
  mNbPrimitives = 0;
  mNbNodes = 0;
  std::vector<unsigned int>().swap(mPrimitives);
  std::vector<qzGNode>().swap(mNodes);
}

void qzGenericBVH::swapBVH(qzGenericBVH& other) {
  std::swap(mNbPrimitives, other.mNbPrimitives);
  std::swap(mNbNodes, other.mNbNodes);
  mPrimitives.swap(other.mPrimitives);
  mNodes.swap(other.mNodes);
}

std::uint64_t qzGenericBVH::getMemoryUsed() const {
  return 4 * std::uint64_t(mPrimitives.capacity()) + 32 * std::uint64_t(mNodes.capacity()) + 8;
}

void qzGenericBVH::setNode(unsigned int i, const qzGNode& node) {
  getOrCreateNode(i) = node;
}

qzGNode& qzGenericBVH::getOrCreateNode(unsigned int i) {
  if (i >= mNodes.size()) mNodes.resize((i + kNodeGrowthStep) & ~(kNodeGrowthStep - 1));
  return mNodes[i];
}
