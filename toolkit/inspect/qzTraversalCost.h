#pragma once
// The expected cost of a ray in a binary hierarchy.

#include <toolkit/run/qzCancelToken.h>

class qzGenericBVH;

namespace qzToolkit {

/// Expected cost of a ray that meets the root's box, by the surface-area metric: a random line that meets a box meets a
/// box within it with a probability of the ratio of their areas, so the cost is
///
///     sum over inner nodes   area(node) / area(root) * nodeCost
///   + sum over leaves        area(node) / area(root) * primitives of the leaf * primitiveCost
///
/// bvh            as a builder leaves it; without nodes the cost is 0
/// nodeCost       of testing the two children of a node
/// primitiveCost  of testing one primitive, in the same unit
/// cancel         polled for every node
///
/// Leaves without primitives cost nothing. If the root has no area, every node counts as hit.
/// Source: Goldsmith and Salmon 1987, MacDonald and Booth 1990.
double expectedTraversalCost(const qzGenericBVH& bvh, double nodeCost, double primitiveCost,
                             const tCancel* cancel = nullptr);

}  // namespace qzToolkit
