#pragma once
// Traversal of a four-wide hierarchy by a ray, four boxes or four triangles at a time.
//
// Each lane computes what the scalar form does. The order of operations and of the operands of minimum and maximum
// fixes the bits. smallerOf(x, y) is (x < y ? x : y), largerOf likewise.
// The file is compiled once for each kind of processor, in a namespace of its own.

#include <qzCommonAddOns/qzDetail/base/qzBits.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>

#include <cstddef>
#include <cstdint>
#include <limits>

#if !defined(QZ_RAY_VARIANT)
#define QZ_RAY_VARIANT qzRayBaseline
#endif

namespace qzDetail {
inline namespace QZ_RAY_VARIANT {

// The order in which four children with keys are visited.
//
// It is the result of the sorting network (0,1) (2,3) (0,2) (1,3) (1,2), which swaps a pair if the first key is
// strictly greater. That is not a stable sort, and equal keys are common (an origin inside several boxes), so the
// network fixes the bits. The 12 comparisons "is the key of lane i greater than that of lane j" determine the order; a
// table maps them to it.
struct tOrders {
  std::uint8_t mOrder[4096];  // four lane numbers of two bits, the first one lowest

  /// Bit of the index that holds key[i] > key[j]; j is i + 1, i + 2 or i + 3 modulo 4.
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

/// An observer that does nothing.
struct tNoRayObserver {
  void nodeVisited() {}
};

/// kIsSymmetric: searches both directions along the line; the query says which faces count.
/// kIsPlain: the reciprocals of the direction are finite, 0 <= tMin <= t, and the boxes are nested. Then slabs need no
/// minimum and maximum per axis, and a box that begins beyond the nearest hit can be skipped: so does every box in it.
template <bool kIsSymmetric, bool kIsPlain, class Observer>
class tRayTraversal {
  static_assert(!(kIsSymmetric && kIsPlain));

 public:
  tRayTraversal(const tRayHierarchy& hierarchy, const tRayQuery& query, tFloat4 origin, tFloat4 direction,
                tFloat4 inverse, tRayHit& hit, Observer observer)
      : mHierarchy(hierarchy),
        mRows{hierarchy.mNodes, hierarchy.mEquations},
        mOrigin{spread<0>(origin), spread<1>(origin), spread<2>(origin)},
        mDirection{spread<0>(direction), spread<1>(direction), spread<2>(direction)},
        mInverse{spread<0>(inverse), spread<1>(inverse), spread<2>(inverse)},
        mTMin(float4(query.mTMin)),
        mFront(mask4(query.mFront)),
        mBack(mask4(query.mBack)),
        mHit(hit),
        mObserver(observer) {
    // Without branches: the signs of directions are unpredictable.
    const std::ptrdiff_t negative = signBitsOf(inverse);
    for (int axis = 0; axis < 3; ++axis) {
      const std::ptrdiff_t isNegative = negative >> axis & 1;
      mNear[axis] = kRow * axis + kMaxRows * isNegative;
      mFar[axis] = kRow * axis + kMaxRows - kMaxRows * isNegative;
    }
  }

  /// Traverses the whole hierarchy and leaves the nearest hit in the tRayHit.
  void run() {
    if (mHierarchy.mNoNodes != 0) {
      traverse(0);
    } else if (mHierarchy.mNoQuadruplets != 0) {
      testLeaf(0, mHierarchy.mNoQuadruplets);
    }
  }

 private:
  struct tChild {
    float mKey;
    unsigned int mIndex, mQuadruplets;
  };

  // Visits everything below one node, nearest first, in the order of a recursion.
  void traverse(unsigned int node) {
    tChild child = {0.0f, node, kInner};
    tChild stack[kStackSize];
    int size = 0;
    for (;;) {
      if (child.mQuadruplets != kInner) {
        testLeaf(child.mIndex, child.mQuadruplets);
      } else if (size + 4 > kStackSize) {
        traverse(child.mIndex);  // only in trees deeper than those of the library's builders
      } else if (enter(child, stack, size)) {
        continue;
      }
      do {
        if (size == 0) return;
        child = stack[--size];
      } while (kIsPlain && child.mKey > mHit.mT && child.mQuadruplets == kInner);
    }
  }

  // Finds the children whose boxes the ray meets within the current interval. The nearest replaces child, the others
  // are pushed on the stack, farthest first. Returns whether there is any.
  QZ_ALWAYS_INLINE bool enter(tChild& child, tChild* stack, int& size) {
    mObserver.nodeVisited();
    const float* node = mHierarchy.mNodes + std::size_t(child.mIndex) * kNodeFloats;
    tFloat4 key;
    const int hits = kIsPlain ? meetPlain(node, key) : meet(node, key);
    alignas(16) float keys[4];
    store(keys, key);
    const auto childAt = [&](int lane) {
      const tChild found = {keys[lane], reinterpret_cast<const unsigned int*>(node + kChildIndexRow)[lane],
                            reinterpret_cast<const unsigned int*>(node + kChildQuadrupletsRow)[lane]};
      return found;
    };
    const auto push = [&](int lane) {
      stack[size] = childAt(lane);
      prefetch(stack[size++]);
    };

    // One case for each set of lanes: a predicted branch knows the child before the boxes are tested.
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

  // Prefetches a child, which is seldom in the cache. Without branches: whether it is a leaf is unpredictable.
  QZ_ALWAYS_INLINE void prefetch(const tChild& child) const {
    const std::size_t isLeaf = child.mQuadruplets != kInner;
    const float* rows =
        mRows[isLeaf] + std::size_t(child.mIndex) * (kNodeFloats + (kEquationFloats - kNodeFloats) * isLeaf);
    prefetchLine(rows);
    prefetchLine(rows + 16);
    prefetchLine(rows + 32);
  }

  QZ_ALWAYS_INLINE void prefetchQuadruplet(unsigned int quadruplet) const {
    const float* equations = mHierarchy.mEquations + std::size_t(quadruplet) * kEquationFloats;
    prefetchLine(equations);
    prefetchLine(equations + 16);
    prefetchLine(equations + 32);
    prefetchLine(mHierarchy.mTriangles + std::size_t(quadruplet) * 4);
  }

  // Slab test and keys, general form. A key is the value in [entry, exit] nearest to 0, +inf for a miss. Returns the
  // lanes that are hit and not empty. Keys of empty lanes still affect the order.
  int meet(const float* node, tFloat4& key) {
    const tFloat4 t = float4(mHit.mT);
    const tFloat4 hi = kIsSymmetric ? magnitude(t) : t;
    const tFloat4 lo = kIsSymmetric ? -hi : mTMin;
    tFloat4 t1[3], t2[3];
    for (int axis = 0; axis < 3; ++axis) {
      t1[axis] = slab(node + kMinRows + kRow * axis, axis);
      t2[axis] = slab(node + kMaxRows + kRow * axis, axis);
    }
    const tFloat4 entry =
        largerOf(largerOf(largerOf(smallerOf(t1[0], t2[0]), lo), smallerOf(t1[1], t2[1])), smallerOf(t1[2], t2[2]));
    const tFloat4 exit =
        smallerOf(smallerOf(smallerOf(largerOf(t1[0], t2[0]), hi), largerOf(t1[1], t2[1])), largerOf(t1[2], t2[2]));
    const tFloat4 zero = float4(0.0f), infinity = float4(kInfinity);
    const tFloat4 nearest = uniteBits(smallerOf(exit, zero), largerOf(entry, zero));
    key = select(entry <= exit, nearest, infinity);
    return bitsOf(except(key < infinity, emptyLanes(node)));
  }

  // The same for a plain ray: the signs of the direction select the near rows, and keys are entry distances. Keys of
  // missed lanes are unspecified.
  int meetPlain(const float* node, tFloat4& key) {
    const tFloat4 entry = largerOf(largerOf(slab(node + mNear[0], 0), slab(node + mNear[1], 1)),
                                   largerOf(slab(node + mNear[2], 2), mTMin));
    const tFloat4 farthest = smallerOf(float4(mHit.mT), float4(kLargest));
    const tFloat4 exit = smallerOf(smallerOf(slab(node + mFar[0], 0), slab(node + mFar[1], 1)),
                                   smallerOf(slab(node + mFar[2], 2), farthest));
    key = entry;
    return bitsOf(entry <= exit);
  }

  // Changes the keys of a plain ray to those of the general form: +inf for a missed box, and tMin for an empty lane,
  // which the general form hits but meetPlain misses.
  tFloat4 orderKeys(const float* node, int hits, tFloat4 entry) const {
    const tInt4 bits = int4(1, 2, 4, 8);
    const tMask4 isMet = maskOf((int4(hits) & bits) == bits);
    return select(isMet, entry, select(emptyLanes(node), mTMin, float4(kInfinity)));
  }

  // Distances to four planes perpendicular to one axis.
  tFloat4 slab(const float* planes, int axis) const { return (load(planes) - mOrigin[axis]) * mInverse[axis]; }

  static tMask4 emptyLanes(const float* node) {
    return maskOf(load(reinterpret_cast<const unsigned int*>(node + kChildQuadrupletsRow)) == int4(0));
  }

  // The index into tOrders: comparison results at the bits of tOrders::bitOf.
  static int greaterBits(tFloat4 key) {
    const tFloat4 next1 = shuffle<1, 2, 3, 0>(key);
    const tFloat4 next2 = shuffle<2, 3, 0, 1>(key);
    const tFloat4 next3 = shuffle<3, 0, 1, 2>(key);
    return bitsOf(key > next1) | bitsOf(key > next2) << 4 | bitsOf(key > next3) << 8;
  }

  void testLeaf(unsigned int first, unsigned int count) {
    const tFloat4 entryT = kIsSymmetric ? magnitude(float4(mHit.mT)) : float4(mHit.mT);
    tFloat4 best = float4(kInfinity);
    tFloat4 bestW = float4(0.0f), bestU = float4(0.0f);
    tFloat4 bestTriangle = asFloats(int4(-1));
    int accepted = 0;
    for (unsigned int i = 0; i < count && first + i < mHierarchy.mNoQuadruplets; ++i) {
      const float* plane = mHierarchy.mEquations + std::size_t(first + i) * kEquationFloats;
      prefetchQuadruplet(first + i);

      // Distance to the planes.
      const tFloat4 denominator =
          row(plane, 2) * mDirection[2] + row(plane, 1) * mDirection[1] + row(plane, 0) * mDirection[0];
      const tFloat4 h = -(value(plane, mOrigin) / denominator);
      const tFloat4 distance = kIsSymmetric ? magnitude(h) : h;
      tMask4 isAccepted = (distance <= entryT) & (distance < best);
      if (!kIsSymmetric) isAccepted &= mTMin <= h;
      if (bitsOf(isAccepted) == 0) continue;

      const tMask4 isFacing = (mFront & (denominator <= float4(0.0f))) | (mBack & (denominator >= float4(0.0f)));
      isAccepted &= isFacing;

      // Weights of the three vertices where the ray meets the planes.
      tFloat4 p[3];
      for (int axis = 0; axis < 3; ++axis) p[axis] = h * mDirection[axis] + mOrigin[axis];
      const tFloat4 u = value(plane + kURow, p), v = value(plane + kWRow, p);
      const tFloat4 w = float4(1.0f) - (v + u);
      const tFloat4 tolerance = float4(-0.0001f);
      isAccepted = isAccepted & (tolerance < w) & ((tolerance < v) & (tolerance < u));
      const int lanes = bitsOf(isAccepted);
      if (lanes == 0) continue;

      accepted |= lanes;
      const auto* triangles = reinterpret_cast<const float*>(mHierarchy.mTriangles + std::size_t(first + i) * 4);
      best = select(isAccepted, distance, best);
      bestW = select(isAccepted, w, bestW);
      bestU = select(isAccepted, u, bestU);
      bestTriangle = select(isAccepted, load(triangles), bestTriangle);
    }
    if (accepted != 0) takeNearestLane(accepted, best, bestW, bestU, bestTriangle);
  }

  // Goes through the lanes in order: a nearer one replaces the hit. If there is no hit yet, one at exactly the largest
  // accepted distance counts too.
  void takeNearestLane(int accepted, tFloat4 best, tFloat4 bestW, tFloat4 bestU, tFloat4 bestTriangle) {
    alignas(16) float t[4], w[4], u[4];
    alignas(16) unsigned int triangle[4];
    store(t, best);
    store(w, bestW);
    store(u, bestU);
    store(reinterpret_cast<float*>(triangle), bestTriangle);
    for (; accepted != 0; accepted &= accepted - 1) {
      const int lane = lowestBit(accepted);
      const bool isFirst = triangle[lane] != kNoTriangleHit && mHit.mTriangle == kNoTriangleHit;
      if (mHit.mT > t[lane] || (mHit.mT == t[lane] && isFirst)) {
        mHit = {t[lane], w[lane], u[lane], triangle[lane]};
      }
    }
  }

  // Value of four equations at a point: z and the constant first, then y, then x.
  static tFloat4 value(const float* equation, const tFloat4* p) {
    const tFloat4 z = row(equation, 2) * p[2] + row(equation, 3);
    const tFloat4 yz = z + row(equation, 1) * p[1];
    return yz + row(equation, 0) * p[0];
  }

  static tFloat4 row(const float* rows, int number) { return load(rows + kRow * number); }

  const tRayHierarchy mHierarchy;
  const float* const mRows[2];  // of nodes, of equations
  tFloat4 mOrigin[3], mDirection[3], mInverse[3];
  tFloat4 mTMin;
  tMask4 mFront, mBack;
  std::ptrdiff_t mNear[3], mFar[3];  // offsets of the near and far planes in a node
  tRayHit& mHit;
  Observer mObserver;
};

/// Finds the nearest hit; see qzQBVH::intersectRay and intersectRaySymmetric.
template <class Observer = tNoRayObserver>
void castRay(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit, Observer observer = Observer()) {
  const tFloat4 origin = query.mOrigin, direction = query.mDirection;
  const tFloat4 inverse = float4(1.0f) / direction;

  // Only the direction is checked. A ray whose origin or direction is infinite or NaN never hits anything, because the
  // point where it meets a plane is not finite. NaN fails the comparison.
  const tFloat4 size = magnitude(inverse);
  const tMask4 isFinite = size <= float4(kLargest);
  const bool isPlain =
      hierarchy.mIsNested && 0.0f <= query.mTMin && query.mTMin <= hit.mT && (bitsOf(isFinite) & kXyz) == kXyz;
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
