#pragma once
// qzSAHFunctionoid: the cost of a node, for builders that compare splits. qzDefaultSAH: the surface-area heuristic.

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzCommonAddOns/qzApi.h>

class QZ_COMMONADDONS_API qzSAHFunctionoid {
 public:
  /// Nothing to set up or to copy: the class has no data.
  qzSAHFunctionoid() = default;
  qzSAHFunctionoid(const qzSAHFunctionoid&) = default;
  qzSAHFunctionoid& operator=(const qzSAHFunctionoid&) = default;

  /// Cost of a node with this box around count items. A builder asks for both halves of every candidate, in a fixed
  /// order, and then for the undivided node; only comparisons of sums count, so any unit will do.
  ///
  /// box    in scene units; empty for a half without items
  /// count  number of items, 0 and up
  ///
  /// NaN: a candidate with a NaN half is never chosen, a node with a NaN cost is a leaf.
  /// Failure: exceptions pass through the builder, whose tree is then unfinished.
  /// Threads: called on the thread of the build, 763 times for a node, in the default floating-point mode (round to
  /// nearest, denormals kept, no traps), whatever the caller's is.
  virtual float f(const qzBBox& box, unsigned int count) const = 0;
  virtual ~qzSAHFunctionoid() = 0;  ///< Has a body, which is empty.
};

/// Half the surface area of the box times the number of items, to which 4 is added for visiting the node itself.
class QZ_COMMONADDONS_API qzDefaultSAH : public qzSAHFunctionoid {
 public:
  /// Nothing to set up or to copy: the class has no data.
  qzDefaultSAH() = default;
  qzDefaultSAH(const qzDefaultSAH&) = default;
  qzDefaultSAH& operator=(const qzDefaultSAH&) = default;
  qzDefaultSAH(qzDefaultSAH&&) = default;
  qzDefaultSAH& operator=(qzDefaultSAH&&) = default;

  /// (dx * (dz + dy) + dz * dy) * (count + 4) in that order, in square units; count + 4 wraps at 32 bits. An empty box
  /// costs +inf, a box with a NaN costs NaN.
  /// Source: MacDonald and Booth 1990.
  float f(const qzBBox& box, unsigned int count) const override;
  ~qzDefaultSAH() override;
};
