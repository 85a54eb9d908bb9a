#pragma once
// qzHierarchy: a four-wide hierarchy that also tells its memory, casts rays in batches and counts the nodes they visit.
// Both use the library's own traversal, compiled again, so that they find the same hits to the bit.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/base/qzRay.h>

#include <cstddef>

namespace qzToolkit {

class qzHierarchy : public qzQBVH {
 public:
  qzHierarchy() = default;
  qzHierarchy(const qzHierarchy&) = delete;  // a copy would share the arrays
  qzHierarchy& operator=(const qzHierarchy&) = delete;

  /// Casts count rays in turns: several are in flight at once, each visits one node or leaf and prefetches its next one.
  /// hits[i] is that of castRay for rays[i], to the bit. The hierarchy must have been built with eTrianglesEquations, or
  /// be empty.
  /// Cost: no allocation. The more of a large hierarchy the rays visit, the greater the gain over casting them one by
  /// one; a batch should have 100 rays or more. Any number of calls may run at once.
  void castRays(const qzRay* rays, std::size_t count, tIntersectionPolicy policy, qzHit* hits) const;

  /// The same hit as castRay. The hierarchy must have been built with eTrianglesEquations, or be empty.
  /// nbVisits  out: nodes whose four boxes were tested
  qzHit castRayCounting(const qzRay& ray, tIntersectionPolicy policy, unsigned& nbVisits) const;

  /// Memory of the node and triangle arrays, in bytes.
  std::size_t getBytes() const;
};

}  // namespace qzToolkit
