// The triangles in a region. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_REGION_WALK) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_REGION_WALK
#undef QZ_MESHQUERIES_REGION_WALK
#else
#define QZ_MESHQUERIES_REGION_WALK
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/NearBlock-inl.h>
#include <qzMeshQueries/walk/NearWalk-inl.h>
#include <qzMeshQueries/walk/NearWalks.h>
#include <qzMeshQueries/walk/RegionPlanes.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Some children of a node, or some triangles of a block: those that may lie in the region, and those that do.
template <class M>
struct Verdict {
  M isNear, isInside;
};

HWY_INLINE void addBlock(const Block& block, std::vector<std::uint32_t>& numbers) {
  numbers.insert(numbers.end(), block.numbers(), block.numbers() + block.triangleCount());
}

/// Adds the numbers of all triangles under a child.
inline void addAll(const WideTree& tree, std::uint32_t child, std::vector<std::uint32_t>& numbers) {
  std::uint32_t stack[kStackSize];
  int size = 0;
  for (;;) {
    if ((child & kIsBlock) != 0) {
      addBlock(tree.block(child), numbers);
    } else {
      const WideNode& node = tree.nodes[child];
      for (int lane = 0; lane < kNodeWidth && node.bounds[0][lane] <= node.bounds[1][lane]; ++lane)
        stack[size++] = node.child[lane];
    }
    if (size == 0) return;
    child = stack[--size];
  }
}

/// Region: judge(d, node, first) gives a Verdict on children; block(block, numbers) adds what lies in it.
template <class Region>
HWY_INLINE void walkRegion(const WideTree& tree, const Region& region, std::vector<std::uint32_t>& numbers) {
  const hn::CappedTag<float, kNodeWidth> d;
  std::uint32_t stack[kStackSize];
  int size = 0;
  std::uint32_t current = 0;
  for (;;) {
    if ((current & kIsBlock) == 0) {
      const WideNode& node = tree.nodes[current];
      for (int first = 0; first < kNodeWidth; first += int(hn::Lanes(d))) {
        const auto verdict = region.judge(d, node, first);
        const std::uint32_t near = bitsOf(d, verdict.isNear), inside = near & bitsOf(d, verdict.isInside);
        for (std::uint32_t rest = near; rest != 0; rest &= rest - 1) {
          const std::uint32_t lane = hwy::Num0BitsBelowLS1Bit_Nonzero32(rest),
                              child = node.child[lane + std::uint32_t(first)];
          if ((inside >> lane & 1) != 0) {
            addAll(tree, child, numbers);
          } else {
            prefetchChild(tree, child);
            stack[size++] = child;
          }
        }
      }
    } else {
      region.take(tree.block(current), numbers);
    }
    if (size == 0) return;
    current = stack[--size];
  }
}

/// A closed box.
struct BoxQuery {
  const RegionBox& box;

  /// Comparisons of floats, as the kernel makes them: what is apart from the box is not in it, and what is inside is.
  template <class D>
  HWY_INLINE Verdict<hn::Mask<D>> judge(D d, const WideNode& node, int first) const {
    Verdict<hn::Mask<D>> verdict = {judgeAxis(d, node, first, 0).isNear, judgeAxis(d, node, first, 0).isInside};
    for (int axis = 1; axis < 3; ++axis) {
      const auto one = judgeAxis(d, node, first, axis);
      verdict.isNear = hn::And(verdict.isNear, one.isNear);
      verdict.isInside = hn::And(verdict.isInside, one.isInside);
    }
    return verdict;
  }
  template <class D>
  HWY_INLINE Verdict<hn::Mask<D>> judgeAxis(D d, const WideNode& node, int first, int axis) const {
    const auto low = hn::Load(d, node.bounds[2 * axis] + first), high = hn::Load(d, node.bounds[2 * axis + 1] + first);
    const auto min = hn::Set(d, box.min[axis]), max = hn::Set(d, box.max[axis]);
    return {hn::And(hn::Le(low, max), hn::Ge(high, min)), hn::And(hn::Ge(low, min), hn::Le(high, max))};
  }

  /// Most triangles are ruled in or out by their corners, as the kernel would.
  HWY_INLINE void take(const Block& block, std::vector<std::uint32_t>& numbers) const {
    const hn::CappedTag<float, kMaxBlockVertices> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    // Bit k: beyond face k of the box.
    alignas(64) std::uint32_t beyond[kMaxBlockVertices];
    for (int first = 0; first < block.vertexCount(); first += int(hn::Lanes(d))) {
      auto bits = hn::Zero(du);
      for (int axis = 0; axis < 3; ++axis) {
        const auto place = hn::LoadU(d, block.row(axis) + first);
        const auto isBefore = hn::RebindMask(du, hn::Lt(place, hn::Set(d, box.min[axis])));
        const auto isBehind = hn::RebindMask(du, hn::Gt(place, hn::Set(d, box.max[axis])));
        bits = hn::Or(bits, hn::IfThenElseZero(isBefore, hn::Set(du, 1u << (2 * axis))));
        bits = hn::Or(bits, hn::IfThenElseZero(isBehind, hn::Set(du, 2u << (2 * axis))));
      }
      hn::Store(bits, du, beyond + first);
    }
    for (int i = 0; i < block.triangleCount(); ++i) {
      const std::uint32_t a = beyond[block.corners(0)[i]], b = beyond[block.corners(1)[i]],
                          c = beyond[block.corners(2)[i]];
      if ((a & b & c) != 0) continue;
      if (a != 0 && b != 0 && c != 0) {
        float corner[3][3];
        for (int which = 0; which < 3; ++which) block.corner(i, which, corner[which]);
        if (!liesInBox(box, corner[0], corner[1], corner[2])) continue;
      }
      numbers.push_back(block.numbers()[i]);
    }
  }
};

/// All points within a distance of a valid point.
struct SphereQuery {
  NearBounds bounds;
  float radius;
  float inside;  ///< a box is inside if the squared scaled distance of its farthest corner is not greater

  SphereQuery(const WideTree& tree, const float center[3], float distance)
      : bounds(center, tree.min, tree.max), radius(distance) {
    bounds.setDistance(radius);
    const double scaled = double(radius) * double(bounds.scale);
    inside = static_cast<float>(
        std::min(scaled * scaled * (1 - 0x1p-18) - 0x1p-100, double(std::numeric_limits<float>::max())));
  }

  template <class D>
  HWY_INLINE Verdict<hn::Mask<D>> judge(D d, const WideNode& node, int first) const {
    auto farthest = hn::Zero(d);
    for (int axis = 0; axis < 3; ++axis) {
      const auto point = hn::Set(d, bounds.point[axis]);
      const auto gap = hn::Mul(hn::Max(hn::Sub(hn::Load(d, node.bounds[2 * axis + 1] + first), point),
                                       hn::Sub(point, hn::Load(d, node.bounds[2 * axis] + first))),
                               hn::Set(d, bounds.scale));
      farthest = hn::MulAdd(gap, gap, farthest);
    }
    const auto isNear = hn::Le(squaredTo(d, bounds, node, first), hn::Set(d, bounds.limit));
    return {isNear, hn::Le(farthest, hn::Set(d, inside))};
  }

  HWY_INLINE void take(const Block& block, std::vector<std::uint32_t>& numbers) const {
    NearBlock seen;
    seeNearBlock(bounds, block, seen);
    for (std::uint32_t rest = nearCandidates(bounds, block.triangleCount(), seen); rest != 0; rest &= rest - 1) {
      const int i = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(rest));
      float corner[3][3];
      for (int which = 0; which < 3; ++which) block.corner(i, which, corner[which]);
      if (distanceTo(bounds.point, corner[0], corner[1], corner[2]) <= radius) numbers.push_back(block.numbers()[i]);
    }
  }
};

/// The strict inside of planes.
struct PlanesQuery {
  const float (*planes)[4];
  std::size_t count;
  const RegionPlane* bounds;  ///< of each plane

  template <class D>
  HWY_INLINE Verdict<hn::Mask<D>> judge(D d, const WideNode& node, int first) const {
    const auto zero = hn::Zero(d);
    // A lane without child is NaN to a plane along an axis.
    auto isNear = hn::Le(hn::Load(d, node.bounds[0] + first), hn::Load(d, node.bounds[1] + first)), isInside = isNear;
    for (std::size_t i = 0; i < count; ++i) {
      const RegionPlane& plane = bounds[i];
      auto greatest = hn::Set(d, plane.outside), least = hn::Set(d, plane.inside);
      for (int axis = 0; axis < 3; ++axis) {
        const auto factor = hn::Set(d, plane.normal[axis]);
        greatest = hn::MulAdd(factor, hn::Load(d, node.bounds[plane.farRow[axis]] + first), greatest);
        least = hn::MulAdd(factor, hn::Load(d, node.bounds[plane.farRow[axis] ^ 1] + first), least);
      }
      isNear = hn::And(isNear, hn::Not(hn::Lt(greatest, zero)));
      isInside = hn::And(isInside, hn::Gt(least, zero));
    }
    return {isNear, isInside};
  }

  /// Most triangles are ruled in or out by their corners, with the margins for boxes.
  HWY_INLINE void take(const Block& block, std::vector<std::uint32_t>& numbers) const {
    const hn::CappedTag<float, kMaxBlockVertices> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    // Bit k: beyond plane k; not surely inside plane k. Only so many planes have bits.
    const std::size_t nbWithBits = std::min<std::size_t>(count, 32);
    alignas(64) std::uint32_t beyond[kMaxBlockVertices], uncertain[kMaxBlockVertices];
    for (int first = 0; first < block.vertexCount(); first += int(hn::Lanes(d))) {
      auto isBeyond = hn::Zero(du), isUncertain = hn::Zero(du);
      for (std::size_t k = 0; k < nbWithBits; ++k) {
        const RegionPlane& plane = bounds[k];
        auto greatest = hn::Set(d, plane.outside), least = hn::Set(d, plane.inside);
        for (int axis = 0; axis < 3; ++axis) {
          const auto place = hn::LoadU(d, block.row(axis) + first);
          greatest = hn::MulAdd(hn::Set(d, plane.normal[axis]), place, greatest);
          least = hn::MulAdd(hn::Set(d, plane.normal[axis]), place, least);
        }
        const auto bit = hn::Set(du, 1u << k);
        isBeyond = hn::Or(isBeyond, hn::IfThenElseZero(hn::RebindMask(du, hn::Lt(greatest, hn::Zero(d))), bit));
        isUncertain =
            hn::Or(isUncertain, hn::IfThenElseZero(hn::RebindMask(du, hn::Not(hn::Gt(least, hn::Zero(d)))), bit));
      }
      hn::Store(isBeyond, du, beyond + first);
      hn::Store(isUncertain, du, uncertain + first);
    }
    for (int i = 0; i < block.triangleCount(); ++i) {
      const int a = block.corners(0)[i], b = block.corners(1)[i], c = block.corners(2)[i];
      if ((beyond[a] & beyond[b] & beyond[c]) != 0) continue;
      if (nbWithBits < count || (uncertain[a] | uncertain[b] | uncertain[c]) != 0) {
        float corner[3][3];
        for (int which = 0; which < 3; ++which) block.corner(i, which, corner[which]);
        if (!liesInRegion(planes, count, corner[0], corner[1], corner[2])) continue;
      }
      numbers.push_back(block.numbers()[i]);
    }
  }
};

inline void findInBox(const WideTree& tree, const RegionBox& box, std::vector<std::uint32_t>& numbers) {
  if (tree.nodes.size() != 0) walkRegion(tree, BoxQuery{box}, numbers);
}

inline void findInSphere(const WideTree& tree, const float center[3], float radius,
                         std::vector<std::uint32_t>& numbers) {
  if (tree.nodes.size() == 0 || !isValidPoint(center) || !(radius >= 0)) return;
  walkRegion(tree, SphereQuery(tree, center, radius), numbers);
}

inline void findInRegion(const WideTree& tree, const float (*planes)[4], std::size_t count,
                         std::vector<std::uint32_t>& numbers) {
  if (tree.nodes.size() == 0) return;
  const std::vector<RegionPlane> bounds = boundsOf(planes, count, tree.min, tree.max);
  walkRegion(tree, PlanesQuery{planes, count, bounds.data()}, numbers);
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
