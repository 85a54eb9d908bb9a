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

/// The places of the triangles with these corners, relative to the point and scaled. A place need not be the closest for
/// the bounds to hold; the closer it is, the better they are.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void seeTriangles(D d, const Three<V>& a, const Three<V>& b, const Three<V>& c, V& squared, V& least,
                             V& size) {
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
  squared = product(place, place);
  least = hn::Min(product(place, a), hn::Min(product(place, b), product(place, c)));
  size = hn::Max(sumOfSizes(a), hn::Max(sumOfSizes(b), sumOfSizes(c)));
}

/// Sees all triangles of a block.
HWY_INLINE void seeNearBlock(const NearBounds& bounds, const Block& block, NearBlock& seen) {
  const int count = block.head->triangleCount;
  alignas(64) float corners[3][3][kMaxBlockTriangles];
  for (int i = 0; i < count; ++i)
    for (int which = 0; which < 3; ++which) {
      float corner[3];
      block.corner(i, which, corner);
      for (int axis = 0; axis < 3; ++axis) corners[which][axis][i] = corner[axis];
    }
  const hn::CappedTag<float, kMaxBlockTriangles> d;
  using V = hn::Vec<decltype(d)>;
  const V scale = hn::Set(d, bounds.scale);
  for (int first = 0; first < count; first += int(hn::Lanes(d))) {
    const auto load = [&](int which, int axis) HWY_ATTR {
      return hn::Mul(hn::Sub(hn::Load(d, corners[which][axis] + first), hn::Set(d, bounds.point[axis])), scale);
    };
    const auto corner = [&](int which) HWY_ATTR { return Three<V>{load(which, 0), load(which, 1), load(which, 2)}; };
    V squared, least, size;
    seeTriangles(d, corner(0), corner(1), corner(2), squared, least, size);
    hn::Store(squared, d, seen.squared + first);
    hn::Store(least, d, seen.product + first);
    hn::Store(size, d, seen.size + first);
  }
}

/// Bit i: triangle i may be within the bounds. The others are beyond, by a proved margin.
HWY_INLINE std::uint32_t nearCandidates(const NearBounds& bounds, int count, const NearBlock& seen) {
  const hn::CappedTag<float, kMaxBlockTriangles> d;
  using V = hn::Vec<decltype(d)>;
  std::uint32_t isBeyond = 0;
  for (int first = 0; first < count; first += int(hn::Lanes(d))) {
    const V least = hn::Load(d, seen.product + first);
    const V reach = hn::MulAdd(hn::Load(d, seen.size + first), hn::Set(d, 0x1p-20f), hn::Set(d, bounds.reach));
    const V limit = hn::MulAdd(hn::Mul(reach, reach), hn::Load(d, seen.squared + first), hn::Set(d, 0x1p-60f));
    const auto isFar = hn::And(hn::Gt(least, hn::Zero(d)), hn::Gt(hn::Mul(least, least), limit));
    isBeyond |= bitsOf(d, isFar) << first;
  }
  return ~isBeyond & ((1u << count) - 1);
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
