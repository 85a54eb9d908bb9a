#pragma once
// The walk of a ray through a four-wide hierarchy, four boxes or four triangles a step.
// A template over the arrays' types, so that classes derived from qzQBVH can run it with an observer of their own.
//
// Everything here follows one scalar form lane by lane: the order of the operations, of the operands of minimum and
// maximum and of the comparisons decides bits. min(x, y) is (x < y ? x : y), _mm_min_ps as it stands; max likewise.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <emmintrin.h>

#include <limits>

namespace qzDetail {

/// The arrays of a four-wide hierarchy.
template <class Node, class Equations, class Indices>
struct tRayHierarchy {
  const Node* mNodes;
  const Equations* mEquations;
  const Indices* mIndices;
  unsigned int mNoNodes, mNoQuadruplets;
};
template <class Node, class Equations, class Indices>
tRayHierarchy(const Node*, const Equations*, const Indices*, unsigned int, unsigned int)
    -> tRayHierarchy<Node, Equations, Indices>;

/// The nearest hit so far.
struct tRayHit {
  float mT;                              // in: farthest distance looked at
  float mW = 0.0f, mU = 0.0f;            // weights of the first and the second vertex
  unsigned int mTriangle = 0xFFFFFFFFu;  // none
};

/// An observer that is told nothing.
struct tNoRayObserver {
  void nodeVisited() {}
};

/// kIsSymmetric: looks both ways along the line, at front faces only.
template <bool kIsSymmetric, class Hierarchy, class Observer = tNoRayObserver>
class tRayTraversal {
 public:
  /// tMin    smallest accepted distance; not read by the symmetric walk
  /// front   whether triangles with normal . direction <= 0 count; back: those with >= 0
  tRayTraversal(const Hierarchy& hierarchy, const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction,
                float tMin, bool front, bool back, tRayHit& hit, Observer observer = Observer())
      : mHierarchy(hierarchy),
        mTMin(_mm_set1_ps(tMin)),
        mFront(_mm_castsi128_ps(_mm_set1_epi32(front ? -1 : 0))),
        mBack(_mm_castsi128_ps(_mm_set1_epi32(back ? -1 : 0))),
        mHit(hit),
        mObserver(observer) {
    for (int axis = 0; axis < 3; ++axis) {
      mOrigin[axis] = _mm_set1_ps(origin[axis]);
      mDirection[axis] = _mm_set1_ps(direction[axis]);
      mInverse[axis] = _mm_div_ps(_mm_set1_ps(1.0f), mDirection[axis]);
    }
  }

  /// Walks the whole hierarchy; the nearest hit is in the record given.
  void run() {
    if (mHierarchy.mNoNodes != 0) {
      walk({0, kInner});
    } else if (mHierarchy.mNoQuadruplets != 0) {
      testLeaf(0, mHierarchy.mNoQuadruplets);
    }
  }

 private:
  static constexpr unsigned int kInner = 0xFFFFFFFFu;  // number of quadruplets of an inner child
  static constexpr unsigned int kNoTriangle = 0xFFFFFFFFu;
  static constexpr int kStackSize = 256;  // a tree of our own builders needs 3 entries a level, up to 32 levels

  struct tChild {
    unsigned int mIndex, mQuadruplets;
  };

  // Visits what is below one child, nearest first, in the order of a recursion.
  void walk(tChild start) {
    tChild stack[kStackSize];
    int size = 0;
    stack[size++] = start;
    while (size > 0) {
      const tChild child = stack[--size];
      if (child.mQuadruplets != kInner) {
        testLeaf(child.mIndex, child.mQuadruplets);
        continue;
      }
      tChild children[4];
      const int nbHit = testNode(child.mIndex, children);
      if (size + 4 <= kStackSize) {
        for (int i = nbHit - 1; i >= 0; --i) stack[size++] = children[i];
      } else {
        for (int i = 0; i < nbHit; ++i) walk(children[i]);
      }
    }
  }

  // The children whose boxes the ray meets within the current interval, nearest first.
  int testNode(unsigned int number, tChild* children) {
    mObserver.nodeVisited();
    const auto& node = mHierarchy.mNodes[number];

    // Slabs.
    const __m128 t = _mm_set1_ps(mHit.mT);
    const __m128 hi = kIsSymmetric ? absolute(t) : t;
    const __m128 lo = kIsSymmetric ? negate(hi) : mTMin;
    __m128 t1[3], t2[3];
    for (int axis = 0; axis < 3; ++axis) {
      t1[axis] = _mm_mul_ps(_mm_sub_ps(_mm_load_ps(node.mMin[axis]), mOrigin[axis]), mInverse[axis]);
      t2[axis] = _mm_mul_ps(_mm_sub_ps(_mm_load_ps(node.mMax[axis]), mOrigin[axis]), mInverse[axis]);
    }
    const __m128 entry = _mm_max_ps(_mm_max_ps(_mm_max_ps(_mm_min_ps(t1[0], t2[0]), lo), _mm_min_ps(t1[1], t2[1])),
                                    _mm_min_ps(t1[2], t2[2]));
    const __m128 exit = _mm_min_ps(_mm_min_ps(_mm_min_ps(_mm_max_ps(t1[0], t2[0]), hi), _mm_max_ps(t1[1], t2[1])),
                                   _mm_max_ps(t1[2], t2[2]));

    // Key: the point of [entry, exit] nearest to 0, +inf for a miss.
    const __m128 zero = _mm_setzero_ps(), infinity = _mm_set1_ps(std::numeric_limits<float>::infinity());
    const __m128 nearest = _mm_or_ps(_mm_min_ps(exit, zero), _mm_max_ps(entry, zero));
    const __m128 key = select(_mm_cmple_ps(entry, exit), nearest, infinity);
    const int hits = _mm_movemask_ps(_mm_cmplt_ps(key, infinity));
    if (hits == 0) return 0;

    int order[4] = {0, 1, 2, 3};
    alignas(16) float keys[4];
    _mm_store_ps(keys, key);
    sortLanes(keys, order);
    int nbHit = 0;
    for (int i = 0; i < 4 && keys[i] != std::numeric_limits<float>::infinity(); ++i) {
      const tChild child = {node.mChildIndex[order[i]], node.mChildQuadruplets[order[i]]};
      if (child.mQuadruplets != 0) children[nbHit++] = child;
    }
    return nbHit;
  }

  // Ascending by key. This network is not a stable sort, and equal keys are common (an origin inside several boxes), so
  // it is the order of these five comparisons that counts.
  static void sortLanes(float* keys, int* order) {
    constexpr int kNetwork[5][2] = {{0, 1}, {2, 3}, {0, 2}, {1, 3}, {1, 2}};
    for (const auto& [i, j] : kNetwork) {
      if (!(keys[i] > keys[j])) continue;
      const float key = keys[i];
      keys[i] = keys[j];
      keys[j] = key;
      const int lane = order[i];
      order[i] = order[j];
      order[j] = lane;
    }
  }

  void testLeaf(unsigned int first, unsigned int count) {
    const __m128 entryT = kIsSymmetric ? absolute(_mm_set1_ps(mHit.mT)) : _mm_set1_ps(mHit.mT);
    __m128 best = _mm_set1_ps(std::numeric_limits<float>::infinity());
    __m128 bestW = _mm_setzero_ps(), bestU = _mm_setzero_ps();
    __m128 bestTriangle = _mm_castsi128_ps(_mm_set1_epi32(-1));
    bool isAnyAccepted = false;
    for (unsigned int i = 0; i < count && first + i < mHierarchy.mNoQuadruplets; ++i) {
      const auto& equations = mHierarchy.mEquations[first + i];

      // Distance to the planes.
      const __m128 denominator = _mm_add_ps(_mm_add_ps(_mm_mul_ps(row(equations.mPlane[2]), mDirection[2]),
                                                       _mm_mul_ps(row(equations.mPlane[1]), mDirection[1])),
                                            _mm_mul_ps(row(equations.mPlane[0]), mDirection[0]));
      const __m128 numerator = value(equations.mPlane, mOrigin);
      const __m128 h = negate(_mm_div_ps(numerator, denominator));
      const __m128 distance = kIsSymmetric ? absolute(h) : h;
      const __m128 isFacing = _mm_or_ps(_mm_and_ps(mFront, _mm_cmple_ps(denominator, _mm_setzero_ps())),
                                        _mm_and_ps(mBack, _mm_cmpge_ps(denominator, _mm_setzero_ps())));
      __m128 isAccepted =
          _mm_and_ps(_mm_and_ps(isFacing, _mm_cmple_ps(distance, entryT)), _mm_cmplt_ps(distance, best));
      if (!kIsSymmetric) isAccepted = _mm_and_ps(isAccepted, _mm_cmple_ps(mTMin, h));
      if (_mm_movemask_ps(isAccepted) == 0) continue;

      // Weights of the three vertices where the ray meets the planes.
      __m128 p[3];
      for (int axis = 0; axis < 3; ++axis) p[axis] = _mm_add_ps(_mm_mul_ps(h, mDirection[axis]), mOrigin[axis]);
      const __m128 u = value(equations.mU, p), v = value(equations.mW, p);
      const __m128 w = _mm_sub_ps(_mm_set1_ps(1.0f), _mm_add_ps(v, u));
      const __m128 tolerance = _mm_set1_ps(-0.0001f);
      isAccepted = _mm_and_ps(_mm_and_ps(isAccepted, _mm_cmplt_ps(tolerance, w)),
                              _mm_and_ps(_mm_cmplt_ps(tolerance, v), _mm_cmplt_ps(tolerance, u)));
      if (_mm_movemask_ps(isAccepted) == 0) continue;

      isAnyAccepted = true;
      best = select(isAccepted, distance, best);
      bestW = select(isAccepted, w, bestW);
      bestU = select(isAccepted, u, bestU);
      const float* triangles = reinterpret_cast<const float*>(mHierarchy.mIndices[first + i].mTriangle);
      bestTriangle = select(isAccepted, _mm_load_ps(triangles), bestTriangle);
    }
    if (isAnyAccepted) takeNearestLane(best, bestW, bestU, bestTriangle);
  }

  // Lanes in order: one that is nearer replaces the hit, and so does the first one at the very distance of entry.
  void takeNearestLane(__m128 best, __m128 bestW, __m128 bestU, __m128 bestTriangle) {
    alignas(16) float t[4], w[4], u[4];
    alignas(16) unsigned int triangle[4];
    _mm_store_ps(t, best);
    _mm_store_ps(w, bestW);
    _mm_store_ps(u, bestU);
    _mm_store_si128(reinterpret_cast<__m128i*>(triangle), _mm_castps_si128(bestTriangle));
    for (int lane = 0; lane < 4; ++lane) {
      const bool isFirst = triangle[lane] != kNoTriangle && mHit.mTriangle == kNoTriangle;
      if (mHit.mT > t[lane] || (mHit.mT == t[lane] && isFirst)) {
        mHit = {t[lane], w[lane], u[lane], triangle[lane]};
      }
    }
  }

  // Value of four equations at a point: z and the constant first, then y, then x.
  static __m128 value(const float (*equation)[4], const __m128* p) {
    const __m128 z = _mm_add_ps(_mm_mul_ps(row(equation[2]), p[2]), row(equation[3]));
    const __m128 yz = _mm_add_ps(z, _mm_mul_ps(row(equation[1]), p[1]));
    return _mm_add_ps(yz, _mm_mul_ps(row(equation[0]), p[0]));
  }

  static __m128 row(const float* lanes) { return _mm_load_ps(lanes); }
  static __m128 negate(__m128 a) { return _mm_xor_ps(a, _mm_set1_ps(-0.0f)); }
  static __m128 absolute(__m128 a) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), a); }
  static __m128 select(__m128 mask, __m128 a, __m128 b) {
    return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
  }

  const Hierarchy mHierarchy;
  __m128 mOrigin[3], mDirection[3], mInverse[3];
  __m128 mTMin, mFront, mBack;
  tRayHit& mHit;
  Observer mObserver;
};

/// Finds the nearest hit; see qzQBVH::intersectRay and intersectRaySymmetric. Policy values are those of
/// qzQBVH::tIntersectionPolicy.
template <class Hierarchy, class Observer = tNoRayObserver>
void castRay(const Hierarchy& hierarchy, const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction,
             float tMin, unsigned int policy, tRayHit& hit, Observer observer = Observer()) {
  const bool front = policy != 2, back = policy != 1;
  tRayTraversal<false, Hierarchy, Observer>(hierarchy, origin, direction, tMin, front, back, hit, observer).run();
}
template <class Hierarchy>
void castRaySymmetric(const Hierarchy& hierarchy, const Wm4::Vector3<float>& origin,
                      const Wm4::Vector3<float>& direction, tRayHit& hit) {
  tRayTraversal<true, Hierarchy>(hierarchy, origin, direction, 0.0f, true, false, hit).run();
}

}  // namespace qzDetail
