#pragma once
// Where to split the triangles of a node: the surface area heuristic over bins of their centres. Sources: MacDonald and
// Booth 1990, Wald 2007.

#include <qzMeshQueries/tree/BinaryTree.h>

#include <cstdint>
#include <limits>

namespace qzMeshQueries::detail {

/// The box around the centres of some triangles' boxes. Twice the centre takes its place: min + max.
struct CentreBox {
  qzDetail::tFloat4 min = qzDetail::float4(std::numeric_limits<float>::infinity());
  qzDetail::tFloat4 max = qzDetail::float4(-std::numeric_limits<float>::infinity());

  static qzDetail::tFloat4 centreOf(const qzDetail::tBoxLanes& box) { return box.mMin + box.maxInFront(); }
  void add(qzDetail::tFloat4 centre) {
    min = qzDetail::smallerOf(centre, min);
    max = qzDetail::largerOf(centre, max);
  }
  void add(const CentreBox& other) {
    min = qzDetail::smallerOf(other.min, min);
    max = qzDetail::largerOf(other.max, max);
  }
};

/// The bins of a node's triangles along all three axes.
class BinGrid {
 public:
  static constexpr int kMaxBins = 16;

  BinGrid(const CentreBox& centres, std::uint32_t nbItems);

  int nbBins() const { return mNbBins; }

  /// The bins along x, y, z of a box of that centre.
  QZ_ALWAYS_INLINE qzDetail::tInt4 binsOf(qzDetail::tFloat4 centre) const {
    using namespace qzDetail;
    return truncate(smallerOf((centre - mOrigin) * mScale, mLast));
  }

 private:
  int mNbBins;
  qzDetail::tFloat4 mOrigin, mScale, mLast;
};

/// Triangles whose bin on axis is not larger than last go to the left.
struct BinSplit {
  int axis = -1;  ///< -1: there is no split that has triangles on both sides
  int last = 0;
};

/// Number and box of the triangles in each bin.
class Bins {
 public:
  explicit Bins(int nbBins);

  void add(const BinGrid& grid, const BinaryNode* items, std::size_t count);
  void add(const Bins& other);  ///< of as many bins

  /// The cheapest split; of equal ones the first, by axis, then by bin.
  BinSplit best() const;
  std::uint32_t countUpTo(const BinSplit& split) const;

 private:
  struct Box {
    qzDetail::tFloat4 min, max;  // as in tBoxLanes
  };
  // A box for each axis. Loops over the axes are written out: the compiler does not, and keeps boxes in memory then.
  struct Boxes {
    Box x, y, z;
  };
  struct Bin {
    Boxes boxes;
    alignas(16) std::uint32_t counts[4];
  };
  static void unite(Box& box, const Box& other);
  static void unite(Boxes& boxes, const Boxes& others);
  static qzDetail::tFloat4 areasOf(const Boxes& boxes, qzDetail::tFloat4 scale);
  void addItem(const BinGrid& grid, const BinaryNode& item);

  int mNbBins;
  Bin mBins[BinGrid::kMaxBins];  // the first mNbBins of them
};

/// What is on either side of a split.
struct Sides {
  std::uint32_t nbLeft = 0;
  CentreBox left, right;
};

/// Copies the items on the left to toLeft upwards, the others to toRight downwards: toRight - 1 gets the first of them.
Sides partition(const BinGrid& grid, const BinSplit& split, const BinaryNode* items, std::size_t count,
                BinaryNode* toLeft, BinaryNode* toRight);

}  // namespace qzMeshQueries::detail
