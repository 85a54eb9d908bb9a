#include <toolkit/inspect/qzTraversalCost.h>

#include <qzCommonAddOns/bvh/qzGenericBVH.h>

#include <vector>

namespace qzToolkit {

double expectedTraversalCost(const qzGenericBVH& bvh, double nodeCost, double primitiveCost, const tCancel* cancel) {
  if (bvh.getNodes().empty()) return 0.0;
  const double rootArea = static_cast<double>(bvh.getNode(0).getBBox().halfArea());
  double cost = 0.0;
  std::vector<unsigned int> open = {0};
  while (!open.empty()) {
    throwIfCanceled(cancel);
    const qzGNode& node = bvh.getNode(open.back());
    open.pop_back();
    if (node.isLeaf() && node.getNoPrimitives() == 0) continue;  // its empty box has an infinite area
    const double share = rootArea > 0.0 ? static_cast<double>(node.getBBox().halfArea()) / rootArea : 1.0;
    if (node.isLeaf()) {
      cost += share * node.getNoPrimitives() * primitiveCost;
    } else {
      cost += share * nodeCost;
      open.push_back(node.getLeftChildIdx());
      open.push_back(node.getRightChildIdx());
    }
  }
  return cost;
}

}  // namespace qzToolkit
