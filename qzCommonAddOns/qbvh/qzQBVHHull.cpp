#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzAlignedMemory.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/base/qzLogRecord.h>
#include <qzCommonAddOns/qzDetail/query/hull/qzClippedPolygon.h>
#include <qzCommonAddOns/qzDetail/query/hull/qzRegionBox.h>
#include <qzCommonAddOns/qzDetail/query/qzNodeRows.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

using namespace qzDetail;

namespace {

using tPlane = qzQBVH::tSOASinglePlaneEqn;

// Prefetches a block.
template <class Block>
QZ_ALWAYS_INLINE void prefetch(const Block& block) {
  const char* bytes = reinterpret_cast<const char*>(&block);
  for (std::size_t i = 0; i < sizeof(Block); i += 64) qzDetail::prefetchLine(bytes + i);
  qzDetail::prefetchLine(bytes + sizeof(Block) - 1);
}

}  // namespace

// One query. The answer is true if it is true for any child, and no child depends on another. So children are visited
// in the order that is likely to find one soonest, and triangles of a quadruplet are clipped one by one.
struct qzQBVH::tHullQuery {
  struct tChild {
    unsigned int mIndex, mQuadruplets;
  };

  // How the four children of a node relate to the planes.
  struct tClassification {
    int mInside;                  // lanes strictly inside every plane
    int mOpen;                    // lanes to descend into: not empty, and not wholly outside of any plane
    alignas(16) float mDepth[4];  // an estimate of how deep inside, for the order of visits only
  };

  // For one plane, by axis: the offset of the row with the coordinate of the box corner farthest outside of the plane,
  // and of that farthest inside. Lane 3 is padding.
  struct tCorners {
    alignas(16) int mOuter[4];
    alignas(16) int mInner[4];
  };

  static constexpr unsigned int kMaxCornerPlanes = 32;  // room in mCorners
  static constexpr float kModerate = 1e18f;             // products of two such numbers do not overflow

  const qzQBVH& mQBVH;
  const tPlane* mPlanes;
  const unsigned int mNbPlanes;
  bool mHasModeratePlanes, mIsOriginInside;
  bool mHasCorners;    // whether classifyByCorners is exact
  bool mHasRegionBox;  // whether classifyByRegionBox is exact
  tRegionBox mRegionBox;
  tCorners mCorners[kMaxCornerPlanes];
  tClippedPolygon mPolygon;

  tHullQuery(const qzQBVH& qbvh, const tPlane* planes, unsigned int nbPlanes)
      : mQBVH(qbvh), mPlanes(planes), mNbPlanes(nbPlanes) {
    readPlanes();
    mHasCorners = mHasModeratePlanes && nbPlanes <= kMaxCornerPlanes && qbvh.mIsNested && qbvh.mNoNodes != 0;
    mHasRegionBox = false;
    if (!mHasCorners) return;
    const float reach = reachOf(qbvh.mNodes[0]);
    mHasCorners = reach <= kModerate;
    // Padding triangles are at the origin, which may be outside of their leaf's box.
    mHasRegionBox = mHasCorners && qbvh.mIsSnug && !mIsOriginInside && nbPlanes == tRegionBox::kNbPlanes &&
                    isSmall(0.125f * extentOf(qbvh.mRootBBox));
    if (mHasRegionBox) mRegionBox.setAround(planes, reach);
  }

  // The largest absolute coordinate of the four root boxes, which contain all others. Empty lanes do not count.
  static float reachOf(const tSOANode& root) {
    tFloat4 largest = float4(0.0f);
    for (int axis = 0; axis < 3; ++axis) {
      const tFloat4 min = load(root.mMin[axis]), max = load(root.mMax[axis]);
      largest = largerOf(largest, largerOf(-min, max));
    }
    const tFloat4 pairs = largerOf(largest, upperPair(largest));  // [ 0 or 2  1 or 3  .  . ]
    return firstOf(largerOf(pairs, spread<1>(pairs)));
  }

  // The largest extent. It only decides whether a region box saves time; answers do not depend on it.
  static float extentOf(const qzBBox& box) {
    const Wm4::Vector3<float> min = box.getMinPoint(), max = box.getMaxPoint();
    return std::max(std::max(max[0] - min[0], max[1] - min[1]), max[2] - min[2]);
  }

  void readPlanes() {
    tMask4 isModerate = mask4(true), isPositive = isModerate;
    for (unsigned int i = 0; i < mNbPlanes; ++i) {
      const float(*p)[4] = mPlanes[i].mCoefficient;
      const tFloat4 plane =
          lowerPairs(interleaveLower(load(p[0]), load(p[1])), interleaveLower(load(p[2]), load(p[3])));  // a b c d
      isModerate &= magnitude(plane) <= float4(kModerate);
      isPositive &= plane > float4(0.0f);
      if (i >= kMaxCornerPlanes) continue;
      const tInt4 toOther = signs(plane) & int4(kMaxRows);
      const tInt4 min = int4(0, kRow, 2 * kRow, 0), max = min + int4(kMaxRows);
      store(mCorners[i].mOuter, min + toOther);
      store(mCorners[i].mInner, max - toOther);
    }
    mHasModeratePlanes = bitsOf(isModerate) == kAllLanes;
    mIsOriginInside = (bitsOf(isPositive) & 8) != 0;
  }

  // Whether the planes of each pair are at most that far apart, assuming that they are opposite and parallel.
  bool isSmall(float distance) const {
    bool result = true;
    for (unsigned int i = 0; i < tRegionBox::kNbPlanes; i += 2) {
      const float(*p)[4] = mPlanes[i].mCoefficient;
      const float size = std::max(std::max(std::fabs(p[0][0]), std::fabs(p[1][0])), std::fabs(p[2][0]));
      result &= p[3][0] + mPlanes[i + 1].mCoefficient[3][0] <= distance * size;
    }
    return result;
  }

  bool run() { return mQBVH.mNoNodes != 0 ? traverse({0, kInnerChild}) : testLeaf({0, mQBVH.mNoQuadruplets}); }

  // Whether anything below one child is inside.
  bool traverse(tChild start) {
    tChild stack[kStackSize];
    stack[0] = start;
    int size = 1;
    while (size > 0) {
      const tChild child = stack[--size];
      if (child.mQuadruplets != kInnerChild) {
        if (testLeaf(child)) return true;
        continue;
      }
      const tSOANode& node = mQBVH.mNodes[child.mIndex];
      const tClassification result = mHasRegionBox ? classifyByRegionBox(node)
                                     : mHasCorners ? classifyByCorners(node)
                                                   : classify(node);
      if (result.mInside != 0) return true;
      if (size + 4 <= kStackSize) {
        size += listChildren(node, result, stack + size);
      } else {
        tChild children[4];
        for (int i = listChildren(node, result, children) - 1; i >= 0; --i) {
          if (traverse(children[i])) return true;
        }
      }
    }
    return false;
  }

  // Classifies four boxes against all planes. The order of operations and operands fixes the bits. A NaN never makes a
  // box lie outside, and the smallest distance drops it for the next plane's.
  tClassification classify(const tSOANode& node) const {
    const tFloat4 minX = load(node.mMin[0]), minY = load(node.mMin[1]), minZ = load(node.mMin[2]);
    const tFloat4 maxX = load(node.mMax[0]), maxY = load(node.mMax[1]), maxZ = load(node.mMax[2]);
    tFloat4 smallest = float4(std::numeric_limits<float>::infinity()), depth = smallest;
    tMask4 outside = mask4(false);
    for (unsigned int i = 0; i < mNbPlanes; ++i) {
      const float(*plane)[4] = mPlanes[i].mCoefficient;
      const tFloat4 a = load(plane[0]), b = load(plane[1]);
      const tFloat4 c = load(plane[2]), d = load(plane[3]);
      const tFloat4 x1 = a * minX, x2 = a * maxX;
      const tFloat4 y1 = b * minY, y2 = b * maxY;
      const tFloat4 z1 = c * minZ, z2 = c * maxZ;
      const tFloat4 lo = smallerOf(y1, y2) + smallerOf(x1, x2) + (smallerOf(z1, z2) + d);
      const tFloat4 hi = largerOf(y1, y2) + largerOf(x1, x2) + (largerOf(z1, z2) + d);
      smallest = smallerOf(smallest, lo);
      outside |= hi < float4(0.0f);
      depth = smallerOf(depth, lo + hi);
    }
    tClassification result;
    result.mInside = bitsOf(smallest > float4(0.0f));
    result.mOpen = filledLanes(node) & ~bitsOf(outside);
    store(result.mDepth, depth);
    return result;
  }

  // Fast path: the same classification if no box is inverted, except in empty lanes, and no product or sum overflows.
  // Then there is no NaN, the sign of a coefficient tells which of its two products is smaller, and the least distance
  // of all planes can be compared with zero once. Zeros may differ in sign, which no comparison sees.
  tClassification classifyByCorners(const tSOANode& node) const {
    const float* rows = reinterpret_cast<const float*>(&node);
    tFloat4 leastOuter = float4(std::numeric_limits<float>::infinity()), leastInner = leastOuter;
    for (unsigned int i = 0; i < mNbPlanes; ++i) {
      leastOuter = smallerOf(leastOuter, cornerDistance(rows, mCorners[i].mOuter, mPlanes[i]));
      leastInner = smallerOf(leastInner, cornerDistance(rows, mCorners[i].mInner, mPlanes[i]));
    }
    const int filled = filledLanes(node);
    tClassification result;
    result.mInside = filled & bitsOf(leastOuter > float4(0.0f));
    result.mOpen = filled & ~bitsOf(leastInner < float4(0.0f));
    store(result.mDepth, leastOuter + leastInner);
    return result;
  }

  // Fast path: the same classification by the region box.
  tClassification classifyByRegionBox(const tSOANode& node) const {
    const float* rows = reinterpret_cast<const float*>(&node);
    tClassification result;
    result.mInside = 0;
    result.mOpen = filledLanes(node) & ~bitsOf(mRegionBox.isApart(rows));
    if (result.mOpen == 0) return result;
    tFloat4 leastInner = float4(std::numeric_limits<float>::infinity());
    for (unsigned int i = 0; i < tRegionBox::kNbPlanes; ++i) {
      leastInner = smallerOf(leastInner, cornerDistance(rows, mCorners[i].mInner, mPlanes[i]));
    }
    result.mOpen &= ~bitsOf(leastInner < float4(0.0f));
    if ((result.mOpen & ~bitsOf(mRegionBox.reachesOut(rows))) != 0) {
      tFloat4 leastOuter = float4(std::numeric_limits<float>::infinity());
      for (unsigned int i = 0; i < tRegionBox::kNbPlanes; ++i) {
        leastOuter = smallerOf(leastOuter, cornerDistance(rows, mCorners[i].mOuter, mPlanes[i]));
      }
      result.mInside = result.mOpen & bitsOf(leastOuter > float4(0.0f));
    }
    store(result.mDepth, leastInner);
    return result;
  }

  // The order of operations is that of classify.
  static tFloat4 cornerDistance(const float* rows, const int* corner, const tPlane& plane) {
    const float(*p)[4] = plane.mCoefficient;
    const tFloat4 x = load(p[0]) * load(rows + corner[0]);
    const tFloat4 y = load(p[1]) * load(rows + corner[1]);
    const tFloat4 z = load(p[2]) * load(rows + corner[2]);
    return y + x + (z + load(p[3]));
  }

  static int filledLanes(const tSOANode& node) {
    return kAllLanes & ~bitsOf(maskOf(load(node.mChildQuadruplets) == int4(0)));
  }

  // Lists the children to visit, the deepest inside last, among equals the lowest lane last. Returns how many.
  int listChildren(const tSOANode& node, const tClassification& result, tChild* children) const {
    // One case for each set of one or two lanes: a predicted branch knows the child before the test is done.
    switch (result.mOpen) {
      case 0:
        return 0;
      case 1:
        return listOne(node, 0, children);
      case 2:
        return listOne(node, 1, children);
      case 3:
        return listTwo(node, 0, 1, result, children);
      case 4:
        return listOne(node, 2, children);
      case 5:
        return listTwo(node, 0, 2, result, children);
      case 6:
        return listTwo(node, 1, 2, result, children);
      case 8:
        return listOne(node, 3, children);
      case 9:
        return listTwo(node, 0, 3, result, children);
      case 10:
        return listTwo(node, 1, 3, result, children);
      case 12:
        return listTwo(node, 2, 3, result, children);
      default:
        return listMany(node, result, children);
    }
  }

  static tChild childAt(const tSOANode& node, int lane) {
    return {node.mChildIndex[lane], node.mChildQuadruplets[lane]};
  }

  // The only child is visited at once: a prefetch would gain nothing.
  static int listOne(const tSOANode& node, int lane, tChild* children) {
    children[0] = childAt(node, lane);
    return 1;
  }

  int listTwo(const tSOANode& node, int first, int second, const tClassification& result, tChild* children) const {
    const bool isFirstDeeper = result.mDepth[first] >= result.mDepth[second];
    if (isFirstDeeper) std::swap(first, second);
    children[0] = childAt(node, first);
    children[1] = childAt(node, second);
    prefetchChild(children[0]);
    return 2;
  }

  int listMany(const tSOANode& node, const tClassification& result, tChild* children) const {
    int count = 0;
    float depths[4];
    for (int lane = 0; lane < 4; ++lane) {
      if (!(result.mOpen >> lane & 1)) continue;
      const tChild child = childAt(node, lane);
      prefetchChild(child);
      int place = count++;
      for (; place > 0 && depths[place - 1] >= result.mDepth[lane]; --place) {
        children[place] = children[place - 1];
        depths[place] = depths[place - 1];
      }
      children[place] = child;
      depths[place] = result.mDepth[lane];
    }
    return count;
  }

  void prefetchChild(tChild child) const {
    if (child.mQuadruplets == kInnerChild) {
      prefetch(mQBVH.mNodes[child.mIndex]);
    } else {
      prefetch(mQBVH.mTriangleVertices[child.mIndex]);
    }
  }

  bool testLeaf(tChild leaf) {
    for (unsigned int i = 0; i < leaf.mQuadruplets && leaf.mIndex + i < mQBVH.mNoQuadruplets; ++i) {
      if (testQuadruplet(mQBVH.mTriangleVertices[leaf.mIndex + i])) return true;
    }
    return false;
  }

  // Padding lanes count: they are triangles at the origin.
  bool testQuadruplet(const tSOATriangleVertices& quadruplet) {
    // Most triangles need no clipping. Planes before the first that crosses a triangle leave it whole. A vertex inside
    // all planes is never clipped away, and a plane with all vertices far outside leaves nothing.
    int left = 0xF, cut = 0;             // lanes
    int insideAll[3] = {0xF, 0xF, 0xF};  // lanes, by vertex
    unsigned int firstCut[4] = {};
    for (unsigned int i = 0; i < mNbPlanes; ++i) {
      tFloat4 distances[3];
      int inside[3];
      for (int vertex = 0; vertex < 3; ++vertex) {
        distances[vertex] = distance(quadruplet.mVertex[vertex], mPlanes[i]);
        inside[vertex] = bitsOf(distances[vertex] > float4(0.0f));
        insideAll[vertex] &= inside[vertex];
      }
      const int outside = left & ~(inside[0] | inside[1] | inside[2]);
      left &= ~(outside & ~cut);
      if ((outside & cut) != 0) left &= ~(outside & farOutside(quadruplet, distances, mPlanes[i]));
      if (left == 0) return false;
      const int cutHere = left & ~cut & ~(inside[0] & inside[1] & inside[2]);
      if (cutHere != 0) {
        for (int lane = 0; lane < 4; ++lane) {
          if (cutHere >> lane & 1) firstCut[lane] = i;
        }
        cut |= cutHere;
      }
    }
    if ((insideAll[0] | insideAll[1] | insideAll[2]) != 0) return true;
    for (int lane = 0; lane < 4; ++lane) {
      if ((left >> lane & 1) && survives(quadruplet, lane, firstCut[lane])) return true;
    }
    return false;
  }

  // The order of operations is that of tClippedPolygon.
  static tFloat4 distance(const float (*vertex)[4], const tPlane& plane) {
    const float(*p)[4] = plane.mCoefficient;
    const tFloat4 z = load(p[2]) * load(vertex[2]) + load(p[3]);
    const tFloat4 yz = z + load(p[1]) * load(vertex[1]);
    return yz + load(p[0]) * load(vertex[0]);
  }

  // Lanes whose vertices are so far outside of a plane that any clipped part of the triangle is outside, too.
  //
  // A crossing lies between two vertices but for rounding: its s is between -1 and 0, and each coordinate is off by
  // less than 6 u m, with u = 2^-24 and m the largest coordinate there is. It so gains less than 6 u (|a| + |b| + |c|)
  // m on the plane, at most once for each of the others, and computing a distance is off by less than 5 u times
  // (|a| + |b| + |c|) m + |d|. The margin is larger than all of these together, and has room for underflow.
  int farOutside(const tSOATriangleVertices& quadruplet, const tFloat4* distances, const tPlane& plane) const {
    if (!mHasModeratePlanes) return 0;
    constexpr float kSmallest = std::numeric_limits<float>::min();
    const auto size = [](const float* row) { return magnitude(load(row)); };
    tFloat4 largest = float4(kSmallest);
    for (const auto& vertex : quadruplet.mVertex) {
      for (const float* row : vertex) largest = largerOf(size(row), largest);
    }
    const float(*p)[4] = plane.mCoefficient;
    const tFloat4 slope = size(p[0]) + size(p[1]) + size(p[2]);
    const tFloat4 terms = slope * largest + size(p[3]);
    const tFloat4 share = float4((8.0f * static_cast<float>(mNbPlanes) + 32.0f) / 16777216.0f);
    const tFloat4 margin = share * terms + float4(kSmallest);
    const tFloat4 nearest = largerOf(largerOf(distances[0], distances[1]), distances[2]);
    return bitsOf((nearest < -margin) & (largest <= float4(kModerate)));
  }

  // Whether anything of a triangle is left after clipping by the planes from the given one on. A clipped polygon is
  // empty or has at least three vertices: if some vertices are inside and some outside, there are two crossings.
  bool survives(const tSOATriangleVertices& quadruplet, int lane, unsigned int plane) {
    mPolygon.setTriangle(quadruplet.mVertex, lane);
    for (; plane < mNbPlanes; ++plane) {
      if (!mPolygon.clip(mPlanes[plane].mCoefficient)) return false;
    }
    return true;
  }
};

qzQBVH::tSOASinglePlaneEqn* qzQBVH::CreateSOAPlaneEquationSet(const Wm4::Vector4<float>* planes, unsigned count) {
  tSOASinglePlaneEqn* set = qzDetail::allocateAligned<tSOASinglePlaneEqn>(count);
  InitSOAPlaneEquationSet(planes, set, count);
  return set;
}

void qzQBVH::InitSOAPlaneEquationSet(const Wm4::Vector4<float>* planes, tSOASinglePlaneEqn* out, unsigned count) {
  for (unsigned int i = 0; i < count; ++i) {
    for (int row = 0; row < 4; ++row) store(out[i].mCoefficient[row], float4(planes[i][row]));
  }
}

void qzQBVH::DeleteSOAPlaneEquationSet(tSOASinglePlaneEqn* set) {
  qzDetail::releaseAligned(set);
}

bool qzQBVH::intersectConvexHull(const tSOASinglePlaneEqn* planes, unsigned count) const {
  if (!(mFlags & eTrianglesVertices)) {
    if (qzDetail::isLogged(qzDetail::kLogError)) {
      qzDetail::logRecord(qzDetail::kLogError, "",
                          "error: QBVH is not built with the right data type (should be qzQBVH::eTrianglesVertices)");
    }
    return false;
  }
  const qzDetail::tFloatMode mode;
  return mode.keep(tHullQuery(*this, planes, count).run());
}
