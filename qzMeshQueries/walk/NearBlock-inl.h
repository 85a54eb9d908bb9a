// The triangles of a block that may be near a point. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_NEAR_BLOCK) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_NEAR_BLOCK
#undef QZ_MESHQUERIES_NEAR_BLOCK
#else
#define QZ_MESHQUERIES_NEAR_BLOCK
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/NearBounds.h>
#include <qzMeshQueries/walk/RaySetup-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// A block as a point sees it: for each triangle a place of it close to the point, and how far it reaches towards the
/// point at least.
struct NearBlock {
  /// Of the place: its squared distance.
  alignas(64) float squared[kMaxBlockTriangles];
  /// The smallest product of the place with a corner. Over the place's distance, that is a lower bound of the triangle's.
  alignas(64) float product[kMaxBlockTriangles];
  /// The largest sum of |coordinates| of a corner.
  alignas(64) float size[kMaxBlockTriangles];
};

template <class V>
struct Three {
  V x, y, z;
};
template <class V>
HWY_INLINE Three<V> minus(const Three<V>& p, const Three<V>& q) {
  return {hn::Sub(p.x, q.x), hn::Sub(p.y, q.y), hn::Sub(p.z, q.z)};
}
template <class V>
HWY_INLINE V product(const Three<V>& p, const Three<V>& q) {
  return hn::MulAdd(p.z, q.z, hn::MulAdd(p.y, q.y, hn::Mul(p.x, q.x)));
}
template <class V>
HWY_INLINE V sumOfSizes(const Three<V>& p) {
  return hn::Add(hn::Add(hn::Abs(p.x), hn::Abs(p.y)), hn::Abs(p.z));
}

/// Whether something is beyond the bounds: a place of that squared length, and the smallest product of it with corners
/// whose |coordinates| add up to at most size.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Mask<D> isBeyond(D d, const NearBounds& bounds, V least, V squared, V size) {
  const V reach = hn::MulAdd(size, hn::Set(d, 0x1p-20f), hn::Set(d, bounds.reach));
  const V limit = hn::MulAdd(hn::Mul(reach, reach), squared, hn::Set(d, 0x1p-60f));
  return hn::And(hn::Gt(least, hn::Zero(d)), hn::Gt(hn::Mul(least, least), limit));
}

/// The places of the triangles with these corners, relative to the point and scaled. A place need not be the closest for
/// the bounds to hold; the closer it is, the better they are.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void seeTriangles(D d, const Three<V>& a, const Three<V>& b, const Three<V>& c, NearBlock& seen, int first) {
  const V zero = hn::Zero(d), one = hn::Set(d, 1.0f);
  const Three<V> ab = minus(b, a), ac = minus(c, a);
  const V alongB = hn::Neg(product(ab, a)), alongC = hn::Neg(product(ac, a));
  const V bb = product(ab, ab), cc = product(ac, ac), bc = product(ab, ac);
  const auto clamp = [&](V t) HWY_ATTR { return hn::Min(hn::Max(t, zero), one); };
  // A triangle without area divides by this instead of 0.
  const V tiny = hn::Set(d, 0x1p-100f);

  // The edges ab, ac, bc: the place's weights, and its squared distance less that of a.
  V u = clamp(hn::Div(alongB, hn::Max(bb, tiny))), v = zero;
  V closest = hn::Mul(u, hn::Sub(hn::Mul(u, bb), hn::Add(alongB, alongB)));
  const V t = clamp(hn::Div(alongC, hn::Max(cc, tiny)));
  const V atAc = hn::Mul(t, hn::Sub(hn::Mul(t, cc), hn::Add(alongC, alongC)));
  const auto isAc = hn::Lt(atAc, closest);
  u = hn::IfThenElse(isAc, zero, u);
  v = hn::IfThenElse(isAc, t, v);
  closest = hn::Min(atAc, closest);
  const V across = hn::Sub(bb, bc), length = hn::Add(across, hn::Sub(cc, bc));
  const V w = clamp(hn::Div(hn::Add(hn::Sub(alongC, alongB), across), hn::Max(length, tiny))), rest = hn::Sub(one, w);
  const V atBc = hn::MulAdd(w, hn::Sub(hn::Mul(w, cc), hn::Add(alongC, alongC)),
                            hn::Mul(rest, hn::MulAdd(rest, bb, hn::Mul(hn::Add(w, w), bc)) - hn::Add(alongB, alongB)));
  const auto isBc = hn::Lt(atBc, closest);
  u = hn::IfThenElse(isBc, rest, u);
  v = hn::IfThenElse(isBc, w, v);

  // The inside.
  const V square = hn::Sub(hn::Mul(bb, cc), hn::Mul(bc, bc));
  const V weightB = hn::Sub(hn::Mul(cc, alongB), hn::Mul(bc, alongC));
  const V weightC = hn::Sub(hn::Mul(bb, alongC), hn::Mul(bc, alongB));
  const auto isInside =
      hn::And(hn::And(hn::Gt(weightB, zero), hn::Gt(weightC, zero)), hn::Lt(hn::Add(weightB, weightC), square));
  const V inverse = hn::Div(one, hn::Max(square, tiny));
  u = hn::IfThenElse(isInside, hn::Mul(weightB, inverse), u);
  v = hn::IfThenElse(isInside, hn::Mul(weightC, inverse), v);

  const Three<V> place = {hn::MulAdd(v, ac.x, hn::MulAdd(u, ab.x, a.x)), hn::MulAdd(v, ac.y, hn::MulAdd(u, ab.y, a.y)),
                          hn::MulAdd(v, ac.z, hn::MulAdd(u, ab.z, a.z))};
  hn::Store(product(place, place), d, seen.squared + first);
  hn::Store(hn::Min(product(place, a), hn::Min(product(place, b), product(place, c))), d, seen.product + first);
  hn::Store(hn::Max(sumOfSizes(a), hn::Max(sumOfSizes(b), sumOfSizes(c))), d, seen.size + first);
}

/// Whether all vertices of a block are beyond the bounds along the direction of the first one, and so all triangles.
/// That rules out most blocks far from the point, whose box is much larger than what is in it.
HWY_INLINE bool isBlockBeyond(const NearBounds& bounds, const Block& block) {
  const int nbVertices = block.vertexCount();
  const hn::CappedTag<float, kMaxBlockVertices> d;
  using V = hn::Vec<decltype(d)>;
  const V scale = hn::Set(d, bounds.scale);
  float place[3], squared = 0;
  for (int axis = 0; axis < 3; ++axis) {
    place[axis] = (block.row(axis)[0] - bounds.point[axis]) * bounds.scale;
    squared += place[axis] * place[axis];
  }
  const Three<V> first = {hn::Set(d, place[0]), hn::Set(d, place[1]), hn::Set(d, place[2])};
  const auto relative = [&](int axis, int from) HWY_ATTR {
    return hn::Mul(hn::Sub(hn::LoadU(d, block.row(axis) + from), hn::Set(d, bounds.point[axis])), scale);
  };
  for (int from = 0; from < nbVertices; from += int(hn::Lanes(d))) {
    const Three<V> vertices = {relative(0, from), relative(1, from), relative(2, from)};
    const auto isFar = isBeyond(d, bounds, product(first, vertices), hn::Set(d, squared), sumOfSizes(vertices));
    const auto isVertex = hn::FirstN(d, std::size_t(nbVertices - from));
    if (!hn::AllTrue(d, hn::Or(isFar, hn::Not(isVertex)))) return false;
  }
  return true;
}

/// Sees all triangles of a block.
HWY_INLINE void seeNearBlock(const NearBounds& bounds, const Block& block, NearBlock& seen) {
  const int nbTriangles = block.triangleCount();
  const hn::CappedTag<float, kMaxBlockVertices> d;
  using V = hn::Vec<decltype(d)>;
  const V scale = hn::Set(d, bounds.scale);
  const Three<V> point = {hn::Set(d, bounds.point[0]), hn::Set(d, bounds.point[1]), hn::Set(d, bounds.point[2])};
  // The vertices relative to the point. What is read behind them is not used.
  const auto seeVertices = [&](int first) HWY_ATTR {
    const Three<V> vertices = {hn::LoadU(d, block.row(0) + first), hn::LoadU(d, block.row(1) + first),
                               hn::LoadU(d, block.row(2) + first)};
    const Three<V> gaps = minus(vertices, point);
    return Three<V>{hn::Mul(gaps.x, scale), hn::Mul(gaps.y, scale), hn::Mul(gaps.z, scale)};
  };
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET <= HWY_AVX3
  // Corners by permutations of one register, or of two.
  const hn::RebindToUnsigned<decltype(d)> du;
  const hn::Rebind<std::uint8_t, decltype(d)> db;
  const Three<V> front = seeVertices(0);
#if HWY_TARGET == HWY_AVX2
  const Three<V> back = seeVertices(8);
#endif
  for (int first = 0; first < nbTriangles; first += int(hn::Lanes(d))) {
    const auto corner = [&](int which) HWY_ATTR {
      // What is read behind the last triangle has to be a vertex.
      const auto numbers = hn::PromoteTo(
          du, hn::And(hn::LoadU(db, block.corners(which) + first), hn::Set(db, std::uint8_t(kMaxBlockVertices - 1))));
#if HWY_TARGET == HWY_AVX2
      const auto indices = hn::IndicesFromVec(d, hn::And(numbers, hn::Set(du, 7)));
      const auto isBack = hn::MaskFromVec(hn::BitCast(d, hn::ShiftLeft<28>(numbers)));  // bit 3
      const auto pick = [&](V low, V high) HWY_ATTR {
        return hn::IfThenElse(isBack, hn::TableLookupLanes(high, indices), hn::TableLookupLanes(low, indices));
      };
      return Three<V>{pick(front.x, back.x), pick(front.y, back.y), pick(front.z, back.z)};
#else
      const auto indices = hn::IndicesFromVec(d, numbers);
      return Three<V>{hn::TableLookupLanes(front.x, indices), hn::TableLookupLanes(front.y, indices),
                      hn::TableLookupLanes(front.z, indices)};
#endif
    };
    seeTriangles(d, corner(0), corner(1), corner(2), seen, first);
  }
#else
  // Corners through memory.
  alignas(64) float vertices[3][kMaxBlockVertices], corners[3][3][kMaxBlockTriangles] = {};
  for (int first = 0; first < block.vertexCount(); first += int(hn::Lanes(d))) {
    const Three<V> some = seeVertices(first);
    hn::Store(some.x, d, vertices[0] + first);
    hn::Store(some.y, d, vertices[1] + first);
    hn::Store(some.z, d, vertices[2] + first);
  }
  for (int which = 0; which < 3; ++which) {
    const std::uint8_t* const numbers = block.corners(which);
    for (int i = 0; i < nbTriangles; ++i)
      for (int axis = 0; axis < 3; ++axis) corners[which][axis][i] = vertices[axis][numbers[i]];
  }
  const auto corner = [&](int which, int first) HWY_ATTR {
    return Three<V>{hn::Load(d, corners[which][0] + first), hn::Load(d, corners[which][1] + first),
                    hn::Load(d, corners[which][2] + first)};
  };
  for (int first = 0; first < nbTriangles; first += int(hn::Lanes(d)))
    seeTriangles(d, corner(0, first), corner(1, first), corner(2, first), seen, first);
#endif
}

/// Bit i: triangle i may be within the bounds. The others are beyond, by a proved margin.
HWY_INLINE std::uint32_t nearCandidates(const NearBounds& bounds, int count, const NearBlock& seen) {
  const hn::CappedTag<float, kMaxBlockTriangles> d;
  std::uint32_t beyond = 0;
  for (int first = 0; first < count; first += int(hn::Lanes(d))) {
    const auto isFar = isBeyond(d, bounds, hn::Load(d, seen.product + first), hn::Load(d, seen.squared + first),
                                hn::Load(d, seen.size + first));
    beyond |= bitsOf(d, isFar) << first;
  }
  return ~beyond & ((1u << count) - 1);
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
