// What is nearest to a point: down the tree, nearest child first. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_NEAR_WALK) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_NEAR_WALK
#undef QZ_MESHQUERIES_NEAR_WALK
#else
#define QZ_MESHQUERIES_NEAR_WALK
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/ChildOrder-inl.h>
#include <qzMeshQueries/walk/NearBlock-inl.h>
#include <qzMeshQueries/walk/NearWalks.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Along one axis, how far the boxes of some children begin from the point, scaled; 0 if they reach to it.
template <class D>
HWY_INLINE hn::Vec<D> gapTo(D d, const NearBounds& bounds, const WideNode& node, int first, int axis) {
  const auto point = hn::Set(d, bounds.point[axis]);
  const auto before = hn::Sub(hn::Load(d, node.bounds[2 * axis] + first), point);
  const auto behind = hn::Sub(point, hn::Load(d, node.bounds[2 * axis + 1] + first));
  return hn::Mul(hn::Max(hn::Max(before, behind), hn::Zero(d)), hn::Set(d, bounds.scale));
}

/// The squared distances of the boxes of some children, scaled.
template <class D>
HWY_INLINE hn::Vec<D> squaredTo(D d, const NearBounds& bounds, const WideNode& node, int first) {
  const auto x = gapTo(d, bounds, node, first, 0), y = gapTo(d, bounds, node, first, 1),
             z = gapTo(d, bounds, node, first, 2);
  return hn::MulAdd(z, z, hn::MulAdd(y, y, hn::Mul(x, x)));
}

/// A point where storeChildren takes a ray: the boxes within its bounds, in the order of their squared distances.
struct NearBoxes {
  const NearBounds& bounds;
};
template <class D>
HWY_INLINE hn::Mask<D> meet(D d, const NearBoxes& boxes, const WideNode& node, int first, hn::Vec<D>& squared) {
  squared = squaredTo(d, boxes.bounds, node, first);
  return hn::Le(squared, hn::Set(d, boxes.bounds.limit));
}

/// Offers the kernel's answer for one triangle.
HWY_INLINE void offer(const Block& block, int triangle, NearBounds& bounds, NearState& state) {
  float corner[3][3];
  for (int which = 0; which < 3; ++which) block.corner(triangle, which, corner[which]);
  const float distance = distanceTo(bounds.point, corner[0], corner[1], corner[2]);
  const std::uint32_t number = block.numbers()[triangle];
  if (!(distance < state.distance || (distance == state.distance && number < state.number))) return;
  if (distance < state.distance) bounds.setDistance(distance);
  state.distance = distance;
  state.number = number;
  state.block = block;
  state.triangle = triangle;
}

HWY_INLINE void offerBlock(const Block& block, NearBounds& bounds, NearState& state) {
  NearBlock seen;
  seeNearBlock(bounds, block, seen);
  const int count = block.triangleCount();
  std::uint32_t rest = nearCandidates(bounds, count, seen);
  while (rest != 0) {
    // The most promising first: it often rules out the others.
    int best = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(rest));
    for (std::uint32_t others = rest & (rest - 1); others != 0; others &= others - 1) {
      const int i = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(others));
      if (seen.squared[i] < seen.squared[best]) best = i;
    }
    const float before = bounds.reach;
    offer(block, best, bounds, state);
    rest &= ~(1u << best);
    if (rest != 0 && bounds.reach < before) rest &= nearCandidates(bounds, count, seen);
  }
}

/// Follows the children whose middle is nearest down to a block, and offers what is in it: a first bound, without which
/// a walk would visit much in vain.
HWY_INLINE void guessNearest(const WideTree& tree, NearBounds& bounds, NearState& state) {
  const hn::CappedTag<float, kNodeWidth> d;
  std::uint32_t current = 0;
  while ((current & kIsBlock) == 0) {
    const WideNode& node = tree.nodes[current];
    float least = std::numeric_limits<float>::infinity();
    for (int first = 0; first < kNodeWidth; first += int(hn::Lanes(d))) {
      auto squared = hn::Zero(d);
      for (int axis = 0; axis < 3; ++axis) {
        const auto point = hn::Set(d, bounds.point[axis]);
        const auto twice = hn::Add(hn::Sub(hn::Load(d, node.bounds[2 * axis] + first), point),
                                   hn::Sub(hn::Load(d, node.bounds[2 * axis + 1] + first), point));
        const auto gap = hn::Mul(twice, hn::Set(d, bounds.scale));
        squared = hn::MulAdd(gap, gap, squared);
      }
      // Lanes without child are NaN.
      squared = hn::IfThenElse(hn::Ge(squared, hn::Zero(d)), squared, hn::Set(d, std::numeric_limits<float>::max()));
      const auto smallest = hn::MinOfLanes(d, squared);
      if (hn::GetLane(smallest) < least) {
        least = hn::GetLane(smallest);
        const std::uint32_t lanes = bitsOf(d, hn::Eq(squared, smallest));
        current = node.child[std::uint32_t(first) + hwy::Num0BitsBelowLS1Bit_Nonzero32(lanes)];
      }
    }
    prefetchWhole(tree.nodes.data(), tree.blocks.data(), current);
  }
  offerBlock(tree.block(current), bounds, state);
}

/// Finds the triangle nearest to a valid point within state.distance, if there is one that comes before state's own.
HWY_INLINE void walkNear(const WideTree& tree, NearBounds& bounds, NearState& state) {
  ChildStack stack;
  int size = 0;
  std::uint32_t current = 0;
  for (;;) {
    if ((current & kIsBlock) == 0) {
      size += storeChildren(NearBoxes{bounds}, tree.nodes[current], stack.near + size, stack.child + size);
      for (int ahead = 1; ahead <= 2; ++ahead)
        if (size > ahead) prefetchWhole(tree.nodes.data(), tree.blocks.data(), stack.child[size - ahead]);
    } else {
      const Block block = tree.block(current);
      if (!isBlockBeyond(bounds, block)) offerBlock(block, bounds, state);
    }
    do {
      if (size == 0) return;
      --size;
    } while (stack.near[size] > bounds.limit);
    current = stack.child[size];
  }
}

/// Whether nothing can be near, whatever the mesh.
inline bool isNothingNear(const WideTree& tree, const float point[3], float maxDistance) {
  return tree.nodes.size() == 0 || !isValidPoint(point) || !(maxDistance >= 0);
}

inline NearState findNearest(const WideTree& tree, const float point[3], float maxDistance) {
  NearState state;
  if (isNothingNear(tree, point, maxDistance)) return state;
  state.distance = maxDistance;
  NearBounds bounds(point, tree.min, tree.max);
  bounds.setDistance(maxDistance);
  guessNearest(tree, bounds, state);
  walkNear(tree, bounds, state);
  return state;
}

inline void findNearests(const WideTree& tree, const float (*points)[3], const std::uint32_t* order, std::size_t count,
                         float maxDistance, Nearest* answers) {
  NearState last;
  for (std::size_t i = 0; i < count; ++i) {
    const float* const point = points[order[i]];
    if (isNothingNear(tree, point, maxDistance)) {
      answers[order[i]] = nothingNear();
      continue;
    }
    NearState state;
    state.distance = maxDistance;
    NearBounds bounds(point, tree.min, tree.max);
    bounds.setDistance(maxDistance);
    // What was nearest to the point before gives a better first bound than a guess.
    if (last.number != kNone) {
      offer(last.block, last.triangle, bounds, state);
    } else {
      guessNearest(tree, bounds, state);
    }
    walkNear(tree, bounds, state);
    answers[order[i]] = state.answer(point);
    if (state.number != kNone) last = state;
  }
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
