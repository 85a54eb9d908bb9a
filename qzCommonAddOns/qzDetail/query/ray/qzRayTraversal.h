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

/// How a ray is traversed.
enum tRayKind {
  eNeverHits,  ///< no triangle can accept the ray
  ePlain,      ///< the reciprocals of the direction are finite, 0 <= tMin <= t, and the boxes are nested
  eGeneral,    ///< any other ray
  eSymmetric   ///< both directions along the line; the query says which faces count
};

/// The kind of a ray. inverse has the reciprocals of its direction, t is its largest accepted distance.
///
/// A ray never hits if tMin <= t is false, also because one of them is NaN, if its origin or direction has a NaN or an
/// infinity, or if its direction is zero. testLeaf accepts no triangle then, whatever the triangle's equations are:
///   NaN            The distance h to the plane is NaN and fails h <= t.
///   origin inf     The plane's value at the origin is infinite or NaN, and so is h.
///   direction 0    The denominator is 0 or NaN, so h is infinite or NaN.
///   direction inf  The denominator is infinite or NaN, so h is 0 or NaN. If 0, 0 * inf makes the weights NaN.
///   h = +inf       fails h < best, as best is +inf or less. So does |h| of a symmetric ray.
///   h = -inf       Every coordinate of h * direction + origin is infinite or NaN, and so are the weights u and v. They
///                  pass only if both are +inf, but then the third weight is -inf.
/// A symmetric ray accepts |h|, so its tMin is 0.
QZ_ALWAYS_INLINE tRayKind kindOf(const tRayHierarchy& hierarchy, const tRayQuery& query, tFloat4 inverse, float t) {
  const tFloat4 largest = float4(kLargest);
  const float tMin = query.mIsSymmetric ? 0.0f : query.mTMin;
  const tMask4 isFinite = (magnitude(query.mOrigin) <= largest) & (magnitude(query.mDirection) <= largest);
  if (!(tMin <= t) || bitsOf(isFinite) != kAllLanes) return eNeverHits;
  const bool hasReciprocals = (bitsOf(magnitude(inverse) <= largest) & kXyz) == kXyz;
  if (!query.mIsSymmetric && hierarchy.mIsNested && 0.0f <= tMin && hasReciprocals) return ePlain;
  if ((bitsOf(magnitude(query.mDirection) > float4(0.0f)) & kXyz) == 0) return eNeverHits;
  return query.mIsSymmetric ? eSymmetric : eGeneral;
}

/// A ray of one kind on its way through a hierarchy. Slabs of a plain ray need no minimum and maximum per axis, and a
/// box that begins beyond the nearest hit can be skipped: so does every box in it.
template <tRayKind kKind, class Observer>
class tRayTraversal {
  static constexpr bool kIsSymmetric = kKind == eSymmetric, kIsPlain = kKind == ePlain;

 public:
  /// A node or a leaf.
  struct tChild {
    float mKey;
    unsigned int mIndex, mQuadruplets;
  };
  /// Whether the visits of other rays come between two visits of this one. The visits are the same.
  enum tPacing { eAlone, eInTurns };

  tRayTraversal() : mHit{0.0f} {}

  /// inverse  reciprocals of the direction
  /// t        largest accepted distance
  QZ_ALWAYS_INLINE void start(const tRayHierarchy& hierarchy, const tRayQuery& query, tFloat4 inverse, float t,
                              Observer observer) {
    mHierarchy = hierarchy;
    mRows[0] = hierarchy.mNodes;
    mRows[1] = hierarchy.mEquations;
    spreadXyz(query.mOrigin, mOrigin);
    spreadXyz(query.mDirection, mDirection);
    spreadXyz(inverse, mInverse);
    mTMin = float4(query.mTMin);
    mFront = mask4(query.mFront);
    mBack = mask4(query.mBack);
    // Without branches: the signs of directions are unpredictable.
    const std::ptrdiff_t negative = signBitsOf(inverse);
    for (int axis = 0; axis < 3; ++axis) {
      const std::ptrdiff_t isNegative = negative >> axis & 1;
      mNear[axis] = kRow * axis + kMaxRows * isNegative;
      mFar[axis] = kRow * axis + kMaxRows - kMaxRows * isNegative;
    }
    mHit = {t};
    mObserver = observer;
  }

  /// The root, where the traversal begins.
  tChild getRoot() const { return {0.0f, 0, mHierarchy.mNoNodes != 0 ? kInner : mHierarchy.mNoQuadruplets}; }

  /// Visits everything below a node or a leaf, nearest first, in the order of a recursion.
  void traverse(unsigned int index, unsigned int quadruplets) {
    tChild child = {0.0f, index, quadruplets};
    tChild stack[kStackSize];
    int size = 0;
    while (step<eAlone>(child, stack, size)) {
    }
  }

  /// Visits a node or a leaf and replaces it with the one to visit next; false at the end.
  ///
  /// stack  kStackSize entries, of which size are in use: what to visit after that, the nearest last. A ray alone
  ///        prefetches what it pushes; in turns, the caller prefetches what comes next
  template <tPacing kPacing>
  QZ_ALWAYS_INLINE bool step(tChild& child, tChild* stack, int& size) {
    if (child.mQuadruplets != kInner) {
      testLeaf(child.mIndex, child.mQuadruplets);
    } else if (size + 4 > kStackSize) {
      traverse(child.mIndex, kInner);  // only in trees deeper than those of the library's builders
    } else if (enter<kPacing>(child, stack, size)) {
      return true;
    }
    do {
      if (size == 0) return false;
      child = stack[--size];
    } while (kIsPlain && child.mKey > mHit.mT && child.mQuadruplets == kInner);
    return true;
  }

  /// Prefetches a node or a leaf, which is seldom in the cache. Without branches: which one it is, is unpredictable.
  QZ_ALWAYS_INLINE void prefetch(const tChild& child) const {
    const std::size_t isLeaf = child.mQuadruplets != kInner;
    const float* rows =
        mRows[isLeaf] + std::size_t(child.mIndex) * (kNodeFloats + (kEquationFloats - kNodeFloats) * isLeaf);
    prefetchLine(rows);
    prefetchLine(rows + 16);
    prefetchLine(rows + 32);
  }

  /// The nearest hit so far.
  const tRayHit& getHit() const { return mHit; }

 private:
  // Finds the children whose boxes the ray meets within the current interval. The nearest replaces child, the others
  // are pushed on the stack, farthest first. Returns whether there is any.
  template <tPacing kPacing>
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
    // Writes a child to the stack, and keeps it there if isKept is 1, not 0.
    const auto push = [&](int lane, int isKept) {
      stack[size] = childAt(lane);
      if (kPacing == eAlone) prefetch(stack[size]);
      size += isKept;
    };

    int first, second;
    if (kPacing == eAlone) {
      // One case for each set of lanes: a predicted branch knows the child before the boxes are tested.
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
        push(second, 1);
        child = childAt(first);
        return true;
      }
      if (keys[first] > keys[second]) {
        push(first, 1);
        child = childAt(second);
        return true;
      }
    } else {
      // Rays in turn are unpredictable: no branches between one and two children, nor on the lanes.
      if (hits == 0) return false;
      const int others = hits & (hits - 1), isOne = others == 0, isUpToTwo = (others & (others - 1)) == 0;
      first = lowestBit(hits);
      second = static_cast<int>(highestBit(static_cast<unsigned int>(hits)));
      const int isSecondFar = keys[first]<keys[second], isFirstFar = keys[first]> keys[second];
      if ((isUpToTwo & (isOne | isSecondFar | isFirstFar)) != 0) {
        const int far = first ^ ((first ^ second) & -isSecondFar);
        push(far, 1 - isOne);
        child = childAt(first ^ second ^ far);
        return true;
      }
    }
    if (kIsPlain) key = orderKeys(node, hits, key);
    const int order = kOrders.mOrder[greaterBits(key)];
    for (int shift = 6; shift >= 0; shift -= 2) {
      const int lane = order >> shift & 3, isHit = hits >> lane & 1;
      if (kPacing == eInTurns || isHit != 0) push(lane, isHit);
    }
    child = stack[--size];
    return true;
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

  static QZ_ALWAYS_INLINE void spreadXyz(tFloat4 from, tFloat4* to) {
    to[0] = spread<0>(from);
    to[1] = spread<1>(from);
    to[2] = spread<2>(from);
  }

  tRayHierarchy mHierarchy;
  const float* mRows[2];  // of nodes, of equations
  tFloat4 mOrigin[3], mDirection[3], mInverse[3];
  tFloat4 mTMin;
  tMask4 mFront, mBack;
  std::ptrdiff_t mNear[3], mFar[3];  // offsets of the near and far planes in a node
  tRayHit mHit;
  Observer mObserver;
};

/// Traverses the whole hierarchy by a ray of one kind.
template <tRayKind kKind, class Observer>
QZ_ALWAYS_INLINE void castRayOf(const tRayHierarchy& hierarchy, const tRayQuery& query, tFloat4 inverse, tRayHit& hit,
                                Observer observer) {
  tRayTraversal<kKind, Observer> traversal;
  traversal.start(hierarchy, query, inverse, hit.mT, observer);
  const auto root = traversal.getRoot();
  traversal.traverse(root.mIndex, root.mQuadruplets);
  hit = traversal.getHit();
}

/// Finds the nearest hit; see qzQBVH::intersectRay and intersectRaySymmetric.
template <class Observer = tNoRayObserver>
void castRay(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit, Observer observer = Observer()) {
  const tFloat4 inverse = float4(1.0f) / query.mDirection;
  switch (kindOf(hierarchy, query, inverse, hit.mT)) {
    case eNeverHits:
      return;
    case ePlain:
      return castRayOf<ePlain>(hierarchy, query, inverse, hit, observer);
    case eGeneral:
      return castRayOf<eGeneral>(hierarchy, query, inverse, hit, observer);
    case eSymmetric:
      return castRayOf<eSymmetric>(hierarchy, query, inverse, hit, observer);
  }
}

}  // namespace QZ_RAY_VARIANT
}  // namespace qzDetail
