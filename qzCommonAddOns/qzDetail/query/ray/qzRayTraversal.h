#pragma once
// The walk of a ray through a four-wide hierarchy, four boxes or four triangles a step.
//
// Everything here follows one scalar form lane by lane: the order of the operations, of the operands of minimum and
// maximum and of the comparisons decides bits. min(x, y) is (x < y ? x : y), _mm_min_ps as it stands; max likewise.
// The file is compiled once for every kind of processor, each time in a namespace of its own.

#include <emmintrin.h>
#if defined(__SSE4_1__)
#include <smmintrin.h>
#endif
#include <qzCommonAddOns/qzDetail/base/qzPrefetch.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>

#include <cstddef>
#include <cstdint>
#include <limits>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

#if !defined(QZ_RAY_VARIANT)
#define QZ_RAY_VARIANT qzRayBaseline
#endif

namespace qzDetail {
inline namespace QZ_RAY_VARIANT {

// Visiting order of four children with keys.
//
// The order is what the comparators (0,1) (2,3) (0,2) (1,3) (1,2) make of the keys, each exchanging two when the first
// key is strictly greater. That is not a stable sort, and equal keys are common (an origin inside several boxes). Each
// comparison is between two lanes, so the 12 answers to "is the key of lane i greater than that of lane j" decide.
struct tOrders {
  std::uint8_t mOrder[4096];  // four lane numbers of two bits, the first one lowest

  /// Number of the answer to key[i] > key[j] in an index: j is i + 1, i + 2 or i + 3 around the lanes.
  static constexpr int bitOf(int i, int j) { return 4 * ((j - i + 4) % 4 - 1) + i; }

  constexpr tOrders() : mOrder() {
    constexpr int kComparators[5][2] = {{0, 1}, {2, 3}, {0, 2}, {1, 3}, {1, 2}};
    for (int index = 0; index < 4096; ++index) {
      int lanes[4] = {0, 1, 2, 3};
      for (int c = 0; c < 5; ++c) {
        const int first = kComparators[c][0], second = kComparators[c][1];
        if (index >> bitOf(lanes[first], lanes[second]) & 1) {
          const int lane = lanes[first];
          lanes[first] = lanes[second];
          lanes[second] = lane;
        }
      }
      mOrder[index] = static_cast<std::uint8_t>(lanes[0] | lanes[1] << 2 | lanes[2] << 4 | lanes[3] << 6);
    }
  }
};
inline constexpr tOrders kOrders;

// Constants, not calls: at -O0 a call would leave a weak copy of numeric_limits' function, compiled for this variant.
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kLargest = std::numeric_limits<float>::max();

/// An observer that is told nothing.
struct tNoRayObserver {
  void nodeVisited() {}
};

/// kIsSymmetric: looks both ways along the line; the query says which faces count.
/// kIsPlain: the reciprocals of the direction are finite, 0 <= tMin <= t, and the boxes are nested. Then slab bounds
///           need no minimum and maximum per axis, and a box that begins beyond the nearest hit need not be opened: no
///           box in it begins before it.
template <bool kIsSymmetric, bool kIsPlain, class Observer>
class tRayTraversal {
  static_assert(!(kIsSymmetric && kIsPlain));

 public:
  tRayTraversal(const tRayHierarchy& hierarchy, const tRayQuery& query, __m128 origin, __m128 direction, __m128 inverse,
                tRayHit& hit, Observer observer)
      : mHierarchy(hierarchy),
        mRows{hierarchy.mNodes, hierarchy.mEquations},
        mOrigin{lane<0>(origin), lane<1>(origin), lane<2>(origin)},
        mDirection{lane<0>(direction), lane<1>(direction), lane<2>(direction)},
        mInverse{lane<0>(inverse), lane<1>(inverse), lane<2>(inverse)},
        mTMin(_mm_set1_ps(query.mTMin)),
        mFront(_mm_castsi128_ps(_mm_set1_epi32(query.mFront ? -1 : 0))),
        mBack(_mm_castsi128_ps(_mm_set1_epi32(query.mBack ? -1 : 0))),
        mHit(hit),
        mObserver(observer) {
    // Without a jump: the signs of a ray say nothing about those of the next one.
    const std::ptrdiff_t negative = _mm_movemask_ps(inverse);
    for (int axis = 0; axis < 3; ++axis) {
      const std::ptrdiff_t isNegative = negative >> axis & 1;
      mNear[axis] = 4 * axis + 12 * isNegative;
      mFar[axis] = 4 * axis + 12 - 12 * isNegative;
    }
  }

  /// Walks the whole hierarchy; the nearest hit is in the record given.
  void run() {
    if (mHierarchy.mNoNodes != 0) {
      walk(0);
    } else if (mHierarchy.mNoQuadruplets != 0) {
      testLeaf(0, mHierarchy.mNoQuadruplets);
    }
  }

 private:
  static constexpr unsigned int kInner = 0xFFFFFFFFu;  // number of quadruplets of an inner child
  static constexpr unsigned int kNoTriangle = 0xFFFFFFFFu;
  static constexpr int kStackSize = 128;  // a tree of our own builders needs 3 entries a level, up to 32 levels

  struct tChild {
    float mKey;
    unsigned int mIndex, mQuadruplets;
  };

  // Visits what is below one node, nearest first, in the order of a recursion.
  void walk(unsigned int node) {
    tChild child = {0.0f, node, kInner};
    tChild stack[kStackSize];
    int size = 0;
    for (;;) {
      if (child.mQuadruplets != kInner) {
        testLeaf(child.mIndex, child.mQuadruplets);
      } else if (size + 4 > kStackSize) {
        walk(child.mIndex);  // a tree deeper than any of our own: on with a stack of its own
      } else if (enter(child, stack, size)) {
        continue;
      }
      do {
        if (size == 0) return;
        child = stack[--size];
      } while (kIsPlain && child.mKey > mHit.mT && child.mQuadruplets == kInner);
    }
  }

  // Finds the children whose boxes the ray meets within the current interval. The nearest one takes the place of the
  // node, the others go onto the stack, farthest first. Returns whether there is any.
  QZ_ALWAYS_INLINE bool enter(tChild& child, tChild* stack, int& size) {
    mObserver.nodeVisited();
    const float* node = mHierarchy.mNodes + std::size_t(child.mIndex) * 32;
    __m128 key;
    const int hits = kIsPlain ? meetPlain(node, key) : meet(node, key);
    alignas(16) float keys[4];
    _mm_store_ps(keys, key);
    const auto childAt = [&](int lane) {
      const tChild found = {keys[lane], reinterpret_cast<const unsigned int*>(node + 24)[lane],
                            reinterpret_cast<const unsigned int*>(node + 28)[lane]};
      return found;
    };
    const auto push = [&](int lane) {
      stack[size] = childAt(lane);
      prefetch(stack[size++]);
    };

    // A case for each set of lanes: a predicted jump knows the child before the boxes are tested.
    int first, second;
    switch (hits) {
      case 0:
        return false;
      case 1:
        child = childAt(0);
        return true;
      case 2:
        child = childAt(1);
        return true;
      case 4:
        child = childAt(2);
        return true;
      case 8:
        child = childAt(3);
        return true;
      case 3:
        first = 0, second = 1;
        break;
      case 5:
        first = 0, second = 2;
        break;
      case 6:
        first = 1, second = 2;
        break;
      case 9:
        first = 0, second = 3;
        break;
      case 10:
        first = 1, second = 3;
        break;
      case 12:
        first = 2, second = 3;
        break;
      default:
        first = second = 0;
        break;
    }
    if (keys[first] < keys[second]) {
      push(second);
      child = childAt(first);
    } else if (keys[first] > keys[second]) {
      push(first);
      child = childAt(second);
    } else {
      if (kIsPlain) key = orderKeys(node, hits, key);
      const int order = kOrders.mOrder[greaterBits(key)];
      for (int shift = 6; shift >= 0; shift -= 2) {
        const int lane = order >> shift & 3;
        if (hits >> lane & 1) push(lane);
      }
      child = stack[--size];
    }
    return true;
  }

  // Sends for the cache lines of a child: it comes from far away more often than not. Without a jump: a child is a leaf
  // or not, at random.
  QZ_ALWAYS_INLINE void prefetch(const tChild& child) const {
    const std::size_t isLeaf = child.mQuadruplets != kInner;
    const float* rows = mRows[isLeaf] + std::size_t(child.mIndex) * (32 + 16 * isLeaf);
    prefetchLine(rows);
    prefetchLine(rows + 16);
    prefetchLine(rows + 32);
  }

  QZ_ALWAYS_INLINE void prefetchQuadruplet(unsigned int quadruplet) const {
    const float* equations = mHierarchy.mEquations + std::size_t(quadruplet) * 48;
    prefetchLine(equations);
    prefetchLine(equations + 16);
    prefetchLine(equations + 32);
    prefetchLine(mHierarchy.mTriangles + std::size_t(quadruplet) * 4);
  }

  // Slabs and keys in their general form. A key is the point of [entry, exit] nearest to 0, +inf for a miss. Returns
  // the lanes that are met, empty ones left out: their test does nothing, but their keys take part in the order.
  int meet(const float* node, __m128& key) {
    const __m128 t = _mm_set1_ps(mHit.mT);
    const __m128 hi = kIsSymmetric ? absolute(t) : t;
    const __m128 lo = kIsSymmetric ? negate(hi) : mTMin;
    __m128 t1[3], t2[3];
    for (int axis = 0; axis < 3; ++axis) {
      t1[axis] = slab(node + 4 * axis, axis);
      t2[axis] = slab(node + 4 * (axis + 3), axis);
    }
    const __m128 entry = _mm_max_ps(_mm_max_ps(_mm_max_ps(_mm_min_ps(t1[0], t2[0]), lo), _mm_min_ps(t1[1], t2[1])),
                                    _mm_min_ps(t1[2], t2[2]));
    const __m128 exit = _mm_min_ps(_mm_min_ps(_mm_min_ps(_mm_max_ps(t1[0], t2[0]), hi), _mm_max_ps(t1[1], t2[1])),
                                   _mm_max_ps(t1[2], t2[2]));
    const __m128 zero = _mm_setzero_ps(), infinity = _mm_set1_ps(kInfinity);
    const __m128 nearest = _mm_or_ps(_mm_min_ps(exit, zero), _mm_max_ps(entry, zero));
    key = select(_mm_cmple_ps(entry, exit), nearest, infinity);
    return _mm_movemask_ps(_mm_andnot_ps(emptyLanes(node), _mm_cmplt_ps(key, infinity)));
  }

  // The same for a plain ray: the direction's signs say which row is the near one, and keys are entry distances. Those
  // of the lanes that are not met mean nothing here.
  int meetPlain(const float* node, __m128& key) {
    const __m128 entry = _mm_max_ps(_mm_max_ps(slab(node + mNear[0], 0), slab(node + mNear[1], 1)),
                                    _mm_max_ps(slab(node + mNear[2], 2), mTMin));
    const __m128 farthest = _mm_min_ps(_mm_set1_ps(mHit.mT), _mm_set1_ps(kLargest));
    const __m128 exit = _mm_min_ps(_mm_min_ps(slab(node + mFar[0], 0), slab(node + mFar[1], 1)),
                                   _mm_min_ps(slab(node + mFar[2], 2), farthest));
    key = entry;
    return _mm_movemask_ps(_mm_cmple_ps(entry, exit));
  }

  // The keys of a plain ray as the order wants them: +inf where a box is missed. An empty lane, which is unbounded in
  // the general form, misses here; it has the key tMin.
  __m128 orderKeys(const float* node, int hits, __m128 entry) const {
    const __m128i lanes = _mm_setr_epi32(1, 2, 4, 8);
    const __m128 isMet = _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(hits), lanes), lanes));
    return select(isMet, entry, select(emptyLanes(node), mTMin, _mm_set1_ps(kInfinity)));
  }

  // Distance to four planes across one axis.
  __m128 slab(const float* planes, int axis) const {
    return _mm_mul_ps(_mm_sub_ps(_mm_load_ps(planes), mOrigin[axis]), mInverse[axis]);
  }

  static __m128 emptyLanes(const float* node) {
    const __m128i quadruplets = _mm_load_si128(reinterpret_cast<const __m128i*>(node + 28));
    return _mm_castsi128_ps(_mm_cmpeq_epi32(quadruplets, _mm_setzero_si128()));
  }

  // The answers that tOrders wants, at the bits that tOrders::bitOf names.
  static int greaterBits(__m128 key) {
    const __m128 next1 = _mm_shuffle_ps(key, key, _MM_SHUFFLE(0, 3, 2, 1));
    const __m128 next2 = _mm_shuffle_ps(key, key, _MM_SHUFFLE(1, 0, 3, 2));
    const __m128 next3 = _mm_shuffle_ps(key, key, _MM_SHUFFLE(2, 1, 0, 3));
    return _mm_movemask_ps(_mm_cmpgt_ps(key, next1)) | _mm_movemask_ps(_mm_cmpgt_ps(key, next2)) << 4 |
           _mm_movemask_ps(_mm_cmpgt_ps(key, next3)) << 8;
  }

  void testLeaf(unsigned int first, unsigned int count) {
    const __m128 entryT = kIsSymmetric ? absolute(_mm_set1_ps(mHit.mT)) : _mm_set1_ps(mHit.mT);
    __m128 best = _mm_set1_ps(kInfinity);
    __m128 bestW = _mm_setzero_ps(), bestU = _mm_setzero_ps();
    __m128 bestTriangle = _mm_castsi128_ps(_mm_set1_epi32(-1));
    int accepted = 0;
    for (unsigned int i = 0; i < count && first + i < mHierarchy.mNoQuadruplets; ++i) {
      const float* plane = mHierarchy.mEquations + std::size_t(first + i) * 48;
      prefetchQuadruplet(first + i);

      // Distance to the planes.
      const __m128 denominator =
          _mm_add_ps(_mm_add_ps(_mm_mul_ps(row(plane, 2), mDirection[2]), _mm_mul_ps(row(plane, 1), mDirection[1])),
                     _mm_mul_ps(row(plane, 0), mDirection[0]));
      const __m128 h = negate(_mm_div_ps(value(plane, mOrigin), denominator));
      const __m128 distance = kIsSymmetric ? absolute(h) : h;
      __m128 isAccepted = _mm_and_ps(_mm_cmple_ps(distance, entryT), _mm_cmplt_ps(distance, best));
      if (!kIsSymmetric) isAccepted = _mm_and_ps(isAccepted, _mm_cmple_ps(mTMin, h));
      if (_mm_movemask_ps(isAccepted) == 0) continue;

      const __m128 isFacing = _mm_or_ps(_mm_and_ps(mFront, _mm_cmple_ps(denominator, _mm_setzero_ps())),
                                        _mm_and_ps(mBack, _mm_cmpge_ps(denominator, _mm_setzero_ps())));
      isAccepted = _mm_and_ps(isAccepted, isFacing);

      // Weights of the three vertices where the ray meets the planes.
      __m128 p[3];
      for (int axis = 0; axis < 3; ++axis) p[axis] = _mm_add_ps(_mm_mul_ps(h, mDirection[axis]), mOrigin[axis]);
      const __m128 u = value(plane + 16, p), v = value(plane + 32, p);
      const __m128 w = _mm_sub_ps(_mm_set1_ps(1.0f), _mm_add_ps(v, u));
      const __m128 tolerance = _mm_set1_ps(-0.0001f);
      isAccepted = _mm_and_ps(_mm_and_ps(isAccepted, _mm_cmplt_ps(tolerance, w)),
                              _mm_and_ps(_mm_cmplt_ps(tolerance, v), _mm_cmplt_ps(tolerance, u)));
      const int lanes = _mm_movemask_ps(isAccepted);
      if (lanes == 0) continue;

      accepted |= lanes;
      const auto* triangles = reinterpret_cast<const float*>(mHierarchy.mTriangles + std::size_t(first + i) * 4);
      best = select(isAccepted, distance, best);
      bestW = select(isAccepted, w, bestW);
      bestU = select(isAccepted, u, bestU);
      bestTriangle = select(isAccepted, _mm_load_ps(triangles), bestTriangle);
    }
    if (accepted != 0) takeNearestLane(accepted, best, bestW, bestU, bestTriangle);
  }

  // Lanes in order: one that is nearer replaces the hit, and so does the first one at the very distance of entry.
  void takeNearestLane(int accepted, __m128 best, __m128 bestW, __m128 bestU, __m128 bestTriangle) {
    alignas(16) float t[4], w[4], u[4];
    alignas(16) unsigned int triangle[4];
    _mm_store_ps(t, best);
    _mm_store_ps(w, bestW);
    _mm_store_ps(u, bestU);
    _mm_store_ps(reinterpret_cast<float*>(triangle), bestTriangle);
    for (; accepted != 0; accepted &= accepted - 1) {
      const int lane = lowestLane(accepted);
      const bool isFirst = triangle[lane] != kNoTriangle && mHit.mTriangle == kNoTriangle;
      if (mHit.mT > t[lane] || (mHit.mT == t[lane] && isFirst)) {
        mHit = {t[lane], w[lane], u[lane], triangle[lane]};
      }
    }
  }

  // Value of four equations at a point: z and the constant first, then y, then x.
  static __m128 value(const float* equation, const __m128* p) {
    const __m128 z = _mm_add_ps(_mm_mul_ps(row(equation, 2), p[2]), row(equation, 3));
    const __m128 yz = _mm_add_ps(z, _mm_mul_ps(row(equation, 1), p[1]));
    return _mm_add_ps(yz, _mm_mul_ps(row(equation, 0), p[0]));
  }

  // The lowest lane of a set that is not empty.
  static int lowestLane(int lanes) {
#if defined(_MSC_VER)
    unsigned long lane;
    _BitScanForward(&lane, static_cast<unsigned long>(lanes));
    return static_cast<int>(lane);
#else
    return __builtin_ctz(static_cast<unsigned int>(lanes));
#endif
  }
  template <int kLane>
  static __m128 lane(__m128 a) {
    return _mm_shuffle_ps(a, a, _MM_SHUFFLE(kLane, kLane, kLane, kLane));
  }
  static __m128 row(const float* rows, int number) {
    return _mm_load_ps(rows + 4 * number);
  }
  static __m128 negate(__m128 a) {
    return _mm_xor_ps(a, _mm_set1_ps(-0.0f));
  }
  static __m128 absolute(__m128 a) {
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), a);
  }
  static __m128 select(__m128 mask, __m128 a, __m128 b) {
#if defined(__SSE4_1__)
    return _mm_blendv_ps(b, a, mask);
#else
    return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
#endif
  }

  const tRayHierarchy mHierarchy;
  const float* const mRows[2];  // of nodes, of equations
  __m128 mOrigin[3], mDirection[3], mInverse[3];
  __m128 mTMin, mFront, mBack;
  std::ptrdiff_t mNear[3], mFar[3];  // where in a node the near and the far planes of every axis stand
  tRayHit& mHit;
  Observer mObserver;
};

/// Finds the nearest hit; see qzQBVH::intersectRay and intersectRaySymmetric.
template <class Observer = tNoRayObserver>
void castRay(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit, Observer observer = Observer()) {
  const __m128 origin = query.mOrigin, direction = query.mDirection;
  const __m128 inverse = _mm_div_ps(_mm_set1_ps(1.0f), direction);

  // Only the direction matters: nothing accepts a ray whose origin is infinite or NaN, nor one whose direction is, as
  // the point where it meets a plane is not finite. NaN fails the comparison.
  const __m128 size = _mm_andnot_ps(_mm_set1_ps(-0.0f), inverse);
  const __m128 isFinite = _mm_cmple_ps(size, _mm_set1_ps(kLargest));
  const bool isPlain =
      hierarchy.mIsNested && 0.0f <= query.mTMin && query.mTMin <= hit.mT && (_mm_movemask_ps(isFinite) & 7) == 7;
  if (query.mIsSymmetric) {
    tRayTraversal<true, false, Observer>(hierarchy, query, origin, direction, inverse, hit, observer).run();
  } else if (isPlain) {
    tRayTraversal<false, true, Observer>(hierarchy, query, origin, direction, inverse, hit, observer).run();
  } else {
    tRayTraversal<false, false, Observer>(hierarchy, query, origin, direction, inverse, hit, observer).run();
  }
}

}  // namespace QZ_RAY_VARIANT
}  // namespace qzDetail
