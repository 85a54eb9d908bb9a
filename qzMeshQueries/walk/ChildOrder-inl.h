// The children of a node that a ray meets, put on a stack with the next one on top. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_CHILD_ORDER) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_CHILD_ORDER
#undef QZ_MESHQUERIES_CHILD_ORDER
#else
#define QZ_MESHQUERIES_CHILD_ORDER
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/RayWalk-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Subtrees to visit, the next one last. There is room for one node more, as vectors are stored whole.
struct ChildStack {
  float near[kStackSize + kNodeWidth];  ///< the depth at which the ray enters the box
  std::uint32_t child[kStackSize + kNodeWidth];
};

/// Prefetches a child without a branch on what it is, which no processor could predict.
HWY_INLINE void prefetchWhole(const WideNode* nodes, const std::uint8_t* blocks, std::uint32_t child) {
  const std::uintptr_t block = reinterpret_cast<std::uintptr_t>(blocks) + std::size_t(child & ~kIsBlock) * kBlockUnit;
  const std::uintptr_t node = reinterpret_cast<std::uintptr_t>(nodes) + std::size_t(child) * sizeof(WideNode);
  const std::uintptr_t isBlock = std::uintptr_t(0) - (child >> 31);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a choice between pointers would become a branch
  const char* const first = reinterpret_cast<const char*>(node ^ ((node ^ block) & isBlock));
  const char* const rest = first + (192 & ~isBlock);  // a block has three lines, a node has seven
  for (int line = 0; line < 3; ++line) hwy::Prefetch(first + 64 * line);
  for (int line = 0; line < 4; ++line) hwy::Prefetch(rest + 64 * line);
}

/// The depths at which a ray passes one plane of the boxes of some children.
template <class D>
HWY_INLINE hn::Vec<D> passNear(D d, const RaySlabs& slabs, const WideNode& node, int first, int axis) {
  return hn::MulAdd(hn::Load(d, node.bounds[slabs.nearRow[axis]] + first), hn::Set(d, slabs.inverse[axis]),
                    hn::Set(d, slabs.nearShift[axis]));
}
template <class D>
HWY_INLINE hn::Vec<D> passFar(D d, const RaySlabs& slabs, const WideNode& node, int first, int axis) {
  return hn::MulAdd(hn::Load(d, node.bounds[slabs.nearRow[axis] ^ 1] + first), hn::Set(d, slabs.inverse[axis]),
                    hn::Set(d, slabs.farShift[axis]));
}

/// Whether a ray, or one of several, meets the boxes of some children, and at which depth.
template <class D, class Slabs>
HWY_INLINE hn::Mask<D> meet(D d, const Slabs& slabs, const WideNode& node, int first, hn::Vec<D>& enter) {
  enter = hn::Max(hn::Max(passNear(d, slabs, node, first, 0), passNear(d, slabs, node, first, 1)),
                  hn::Max(passNear(d, slabs, node, first, 2), hn::Set(d, slabs.from)));
  const auto leave = hn::Min(hn::Min(passFar(d, slabs, node, first, 0), passFar(d, slabs, node, first, 1)),
                             hn::Min(passFar(d, slabs, node, first, 2), hn::Set(d, slabs.to)));
  return hn::Le(enter, leave);
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET <= HWY_AVX3

/// Eight lanes after one step of a sorting network: of each two, the first keeps the greater.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V orderOnes(D, V swapped, V own) {
  return hn::OddEven(hn::Min(swapped, own), hn::Max(swapped, own));
}
template <class D, class V = hn::Vec<D>>
HWY_INLINE V orderPairs(D d, V swapped, V own) {
  const hn::Repartition<double, D> wide;
  return hn::BitCast(d,
                     hn::OddEven(hn::BitCast(wide, hn::Min(swapped, own)), hn::BitCast(wide, hn::Max(swapped, own))));
}

/// Sorts eight lanes, greatest first, by a bitonic network.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V sortEight(D d, V v) {
  v = orderOnes(d, hn::Shuffle2301(v), v);
  v = orderPairs(d, hn::Shuffle0123(v), v);
  v = orderOnes(d, hn::Shuffle2301(v), v);
  const V reversed = hn::Reverse(d, v);
  v = hn::ConcatUpperLower(d, hn::Min(reversed, v), hn::Max(reversed, v));
  v = orderPairs(d, hn::Shuffle1032(v), v);
  return orderOnes(d, hn::Shuffle2301(v), v);
}

/// The same for the first four lanes; the others come out in any order.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V sortFour(D d, V v) {
  v = orderOnes(d, hn::Shuffle2301(v), v);
  v = orderPairs(d, hn::Shuffle0123(v), v);
  return orderOnes(d, hn::Shuffle2301(v), v);
}

using Eight = hn::FixedTag<std::uint32_t, 8>;
using EightFloats = hn::FixedTag<float, 8>;

#if HWY_TARGET <= HWY_AVX3
struct MetChildren {
  hn::Vec<hn::FixedTag<float, 16>> enter, child;

  HWY_INLINE void store(hn::Vec<Eight> sorted, float* HWY_RESTRICT nears, std::uint32_t* HWY_RESTRICT children,
                        std::uint32_t* HWY_RESTRICT lanes) const {
    if (lanes != nullptr) hn::StoreU(hn::And(sorted, hn::Set(Eight(), kNodeWidth - 1)), Eight(), lanes);
    const hn::FixedTag<float, 16> f16;
    const hn::FixedTag<std::uint32_t, 16> d16;
    const EightFloats f8;
    const auto order =
        hn::IndicesFromVec(f16, hn::ZeroExtendVector(d16, hn::And(sorted, hn::Set(Eight(), kNodeWidth - 1))));
    hn::StoreU(hn::LowerHalf(f8, hn::TableLookupLanes(enter, order)), f8, nears);
    hn::StoreU(hn::LowerHalf(f8, hn::TableLookupLanes(child, order)), f8, reinterpret_cast<float*>(children));
  }
};
#else
/// For each set of lanes a permutation that moves them to the front: a lane in each nibble, the first lowest.
struct LaneOrders {
  std::uint32_t lanes[256] = {};
  constexpr LaneOrders() {
    for (std::uint32_t bits = 0; bits < 256; ++bits) {
      std::uint32_t at = 0;
      for (std::uint32_t lane = 0; lane < 8; ++lane)
        if ((bits >> lane & 1) != 0) lanes[bits] |= lane << (4 * at++);
      for (std::uint32_t lane = 0; lane < 8; ++lane)
        if ((bits >> lane & 1) == 0) lanes[bits] |= lane << (4 * at++);
    }
  }
};
inline constexpr LaneOrders kLaneOrders;

/// The lanes whose bit is set first. (GCC copies the table of hn::Compress at each call.)
HWY_INLINE hn::Vec<Eight> compressEight(hn::Vec<Eight> v, std::uint32_t bits) {
  const Eight d;
  const auto nibbles = hn::Shr(hn::Set(d, kLaneOrders.lanes[bits]), hn::ShiftLeft<2>(hn::Iota(d, 0)));
  return hn::TableLookupLanes(v, hn::IndicesFromVec(d, hn::And(nibbles, hn::Set(d, 7))));
}

struct MetChildren {
  hn::Vec<EightFloats> enter[2], child[2];

  HWY_INLINE void store(hn::Vec<Eight> sorted, float* HWY_RESTRICT nears, std::uint32_t* HWY_RESTRICT children,
                        std::uint32_t* HWY_RESTRICT lanes) const {
    if (lanes != nullptr) hn::StoreU(hn::And(sorted, hn::Set(Eight(), kNodeWidth - 1)), Eight(), lanes);
    const EightFloats f8;
    const auto order = hn::IndicesFromVec(f8, hn::And(sorted, hn::Set(Eight(), 7)));
    const auto isSecond = hn::MaskFromVec(hn::BitCast(f8, hn::ShiftLeft<28>(sorted)));  // bit 3
    hn::StoreU(hn::IfThenElse(isSecond, hn::TableLookupLanes(enter[1], order), hn::TableLookupLanes(enter[0], order)),
               f8, nears);
    hn::StoreU(hn::IfThenElse(isSecond, hn::TableLookupLanes(child[1], order), hn::TableLookupLanes(child[0], order)),
               f8, reinterpret_cast<float*>(children));
  }
};
#endif

/// Keys of children: the bits of entry depths without the last four, or 0 for blocks that come first.
template <Order kOrder, class D, class DF>
HWY_INLINE hn::Vec<D> keysOf(D d, hn::Vec<DF> enter, hn::Vec<DF> child, DF) {
  const hn::RebindToSigned<D> di;
  const auto depths = hn::AndNot(hn::Set(d, std::uint32_t(kNodeWidth - 1)), hn::BitCast(d, enter));
  if (kOrder == Order::nearest) return depths;
  return hn::AndNot(hn::BitCast(d, hn::ShiftRight<31>(hn::BitCast(di, child))), depths);
}

/// Stores the met children at nears and children, the first one last; returns how many there are. Beyond eight, the
/// order is that of each eight. lanes, if not null, gets their places in the node.
template <Order kOrder = Order::nearest, class Slabs>
HWY_INLINE int storeChildren(const Slabs& slabs, const WideNode& node, float* HWY_RESTRICT nears,
                             std::uint32_t* HWY_RESTRICT children, std::uint32_t* HWY_RESTRICT lanes = nullptr) {
  // Keys are the bits of entry depths, with the lane in the last four and a one before; a miss is 0, the last in order.
  // Negative depths come in the wrong order, which costs time only.
  constexpr std::uint32_t kIsMet = kNodeWidth;
  const Eight d;
  MetChildren met;
#if HWY_TARGET <= HWY_AVX3
  const hn::FixedTag<float, 16> f16;
  const hn::FixedTag<std::uint32_t, 16> d16;
  const auto isMet = meet(f16, slabs, node, 0, met.enter);
  met.child = hn::Load(f16, reinterpret_cast<const float*>(node.child));
  const int count = int(hn::CountTrue(f16, isMet));
  const auto tags = hn::Or(hn::Iota(d16, 0), hn::Set(d16, kIsMet));
  const auto keys = hn::Or(keysOf<kOrder>(d16, met.enter, met.child, f16), tags);
  const auto packed = hn::Compress(keys, hn::RebindMask(d16, isMet));  // zeros behind
  const auto first = hn::LowerHalf(d, packed);
  if (HWY_UNLIKELY(count > 8)) {
    met.store(sortEight(d, hn::UpperHalf(d, packed)), nears, children, lanes);
    met.store(sortEight(d, first), nears + (count - 8), children + (count - 8),
              lanes == nullptr ? nullptr : lanes + (count - 8));
    return count;
  }
#else
  const EightFloats f8;
  const auto met0 = meet(f8, slabs, node, 0, met.enter[0]), met1 = meet(f8, slabs, node, 8, met.enter[1]);
  for (int half = 0; half < 2; ++half)
    met.child[half] = hn::Load(f8, reinterpret_cast<const float*>(node.child + 8 * half));
  const std::uint32_t bits0 = bitsOf(f8, met0), bits1 = bitsOf(f8, met1);
  const int count0 = int(hwy::PopCount(bits0)), count1 = int(hwy::PopCount(bits1)), count = count0 + count1;
  const auto tags = hn::Or(hn::Iota(d, 0), hn::Set(d, kIsMet));
  const auto keys0 = hn::Or(keysOf<kOrder>(d, met.enter[0], met.child[0], f8), tags);
  const auto keys1 = hn::Or(keysOf<kOrder>(d, met.enter[1], met.child[1], f8), hn::Or(tags, hn::Set(d, 8)));
  const auto packed0 = compressEight(hn::IfThenElseZero(hn::RebindMask(d, met0), keys0), bits0);
  const auto packed1 = compressEight(hn::IfThenElseZero(hn::RebindMask(d, met1), keys1), bits1);
  if (HWY_UNLIKELY(count > 8)) {
    met.store(sortEight(d, packed1), nears, children, lanes);
    met.store(sortEight(d, packed0), nears + count1, children + count1, lanes == nullptr ? nullptr : lanes + count1);
    return count;
  }
  const auto turned = hn::And(hn::Sub(hn::Iota(d, 8), hn::Set(d, std::uint32_t(count0))), hn::Set(d, 7));
  const auto first = hn::Or(packed0, hn::TableLookupLanes(packed1, hn::IndicesFromVec(d, turned)));
#endif
  met.store(HWY_UNLIKELY(count > 4) ? sortEight(d, first) : sortFour(d, first), nears, children, lanes);
  return count;
}

#else

template <Order kOrder = Order::nearest, class Slabs>
HWY_INLINE int storeChildren(const Slabs& slabs, const WideNode& node, float* HWY_RESTRICT nears,
                             std::uint32_t* HWY_RESTRICT children, std::uint32_t* HWY_RESTRICT lanes = nullptr) {
  const hn::CappedTag<float, kNodeWidth> d;
  const int kLanes = int(hn::Lanes(d));
  alignas(64) float near[kNodeWidth];
  int count = 0;
  for (int first = 0; first < kNodeWidth; first += kLanes) {
    auto enter = hn::Zero(d);
    std::uint32_t met = bitsOf(d, meet(d, slabs, node, first, enter));
    hn::Store(enter, d, near);
    for (; met != 0; met &= met - 1) {
      const int lane = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(met));
      if (kOrder == Order::blocks && (node.child[first + lane] & kIsBlock) != 0)
        near[lane] = -std::numeric_limits<float>::infinity();
      int at = count++;
      for (; at > 0 && nears[at - 1] < near[lane]; --at) {
        nears[at] = nears[at - 1];
        children[at] = children[at - 1];
        if (lanes != nullptr) lanes[at] = lanes[at - 1];
      }
      nears[at] = near[lane];
      children[at] = node.child[first + lane];
      if (lanes != nullptr) lanes[at] = std::uint32_t(first + lane);
    }
  }
  return count;
}

#endif

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
