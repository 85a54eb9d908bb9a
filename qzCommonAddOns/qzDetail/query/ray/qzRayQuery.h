#pragma once
// A ray query and the arrays that it reads, as plain data, and the compiled variants of the traversal.

#include <Wm4/Vector3.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/query/qzNodeRows.h>

#include <cstddef>

namespace qzDetail {

constexpr unsigned int kInner = 0xFFFFFFFFu;          // number of quadruplets of an inner child
constexpr unsigned int kNoTriangleHit = 0xFFFFFFFFu;  // triangle of a padding lane, and of no hit
constexpr int kEquationFloats = 12 * kRow;            // equations of a quadruplet: plane, U and W, four rows each
constexpr int kURow = 4 * kRow, kWRow = 8 * kRow;

/// The arrays of a four-wide hierarchy as rows of four lanes: 8 rows per node, 12 rows and 4 triangle numbers per
/// quadruplet.
struct tRayHierarchy {
  const float* mNodes;
  const float* mEquations;
  const unsigned int* mTriangles;
  unsigned int mNoNodes, mNoQuadruplets;
  /// Every lane is empty or has a box that is not inverted, has no NaN and lies within the box of its node.
  bool mIsNested;
};

/// Views the arrays of a qzQBVH.
template <class Node, class Equations, class Indices>
tRayHierarchy viewRows(const Node* nodes, const Equations* equations, const Indices* indices, unsigned int noNodes,
                       unsigned int noQuadruplets, bool isNested) {
  static_assert(hasNodeRows<Node>() && sizeof(Indices) == 4 * sizeof(unsigned int));
  static_assert(sizeof(Equations) == kEquationFloats * sizeof(float));
  static_assert(offsetof(Equations, mU) == kURow * sizeof(float) && offsetof(Equations, mW) == kWRow * sizeof(float));
  return {reinterpret_cast<const float*>(nodes),
          reinterpret_cast<const float*>(equations),
          reinterpret_cast<const unsigned int*>(indices),
          noNodes,
          noQuadruplets,
          isNested};
}

struct tRayQuery {
  tFloat4 mOrigin, mDirection;  // x, y, z; the fourth lanes are 0 and 1
  float mTMin;                  // not read when symmetric
  bool mFront;                  // triangles with normal . direction <= 0 count
  bool mBack;                   // those with normal . direction >= 0 count
  bool mIsSymmetric;
};

constexpr unsigned int kFrontFacesOnly = 1, kBackFacesOnly = 2;  // qzQBVH::tIntersectionPolicy

/// A query of qzQBVH::intersectRay; policy is a qzQBVH::tIntersectionPolicy.
QZ_ALWAYS_INLINE tRayQuery makeRayQuery(const float* origin, const float* direction, float tMin, unsigned int policy) {
  return {float4(origin[0], origin[1], origin[2], 0.0f),
          float4(direction[0], direction[1], direction[2], 1.0f),
          tMin,
          policy != kBackFacesOnly,
          policy != kFrontFacesOnly,
          false};
}
inline tRayQuery makeRayQuery(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float tMin,
                              unsigned int policy) {
  const float from[] = {origin[0], origin[1], origin[2]}, along[] = {direction[0], direction[1], direction[2]};
  return makeRayQuery(from, along, tMin, policy);
}

/// A query of qzQBVH::intersectRaySymmetric: both directions, front faces only.
inline tRayQuery makeSymmetricRayQuery(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction) {
  tRayQuery query = makeRayQuery(origin, direction, 0.0f, kFrontFacesOnly);
  query.mIsSymmetric = true;
  return query;
}

/// The nearest hit so far.
struct tRayHit {
  float mT;                    // in: largest accepted distance
  float mW = 0.0f, mU = 0.0f;  // weights of the first and the second vertex
  unsigned int mTriangle = kNoTriangleHit;
};

/// The traversal compiled for the baseline and for processors with AVX: same source, same bits.
void castRayBaseline(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit);
#if defined(QZ_HAS_AVX_VARIANT)
void castRayAvx(const tRayHierarchy& hierarchy, const tRayQuery& query, tRayHit& hit);
#endif

}  // namespace qzDetail
