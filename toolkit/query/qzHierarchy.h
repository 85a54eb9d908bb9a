#pragma once
// qzHierarchy: a four-wide hierarchy that also tells its memory and casts rays that count the nodes they visit.
// Counting uses the library's own traversal, compiled again with a counter, so that it finds the same hits to the bit.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/base/qzRay.h>

#include <cstddef>

namespace qzToolkit {

class qzHierarchy : public qzQBVH {
 public:
  qzHierarchy() = default;
  qzHierarchy(const qzHierarchy&) = delete;  // a copy would share the arrays
  qzHierarchy& operator=(const qzHierarchy&) = delete;

  /// The same hit as castRay. The hierarchy must have been built with eTrianglesEquations, or be empty.
  /// nbVisits  out: nodes whose four boxes were tested
  qzHit castRayCounting(const qzRay& ray, tIntersectionPolicy policy, unsigned& nbVisits) const;

  /// Memory of the node and triangle arrays, in bytes.
  std::size_t getBytes() const;
};

}  // namespace qzToolkit
