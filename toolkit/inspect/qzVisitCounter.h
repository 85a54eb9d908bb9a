#pragma once
// qzVisitCounter: a four-wide hierarchy that also tells what a ray costs. It has the library's own walk, compiled once
// more with a counter in it, so it finds the same hits to the bit.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/base/qzRay.h>

#include <cstddef>

namespace qzToolkit {

class qzVisitCounter : public qzQBVH {
 public:
  qzVisitCounter() = default;
  qzVisitCounter(const qzVisitCounter&) = delete;  // a copy would share the arrays
  qzVisitCounter& operator=(const qzVisitCounter&) = delete;

  /// The hit that castRay finds. The hierarchy must have been built with eTrianglesEquations, or be empty.
  /// nbVisits  out: nodes whose four boxes were tested
  qzHit castRayCounting(const qzRay& ray, tIntersectionPolicy policy, unsigned& nbVisits) const;

  /// Bytes of the arrays.
  std::size_t getBytes() const;
};

}  // namespace qzToolkit
