#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/qzAlignedMemory.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzLogRecord.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace {

using tPlane = qzQBVH::tSOASinglePlaneEqn;

// What is left of one triangle while planes cut pieces off it (Sutherland and Hodgman 1974).
//
// A plane adds one vertex to a convex polygon. Rounding can make a polygon so jagged that a plane crosses it again and
// again; it then grows by up to a half, and the number of planes is no bound for its size. So the room grows on demand.
class tPolygon {
 public:
  /// Starts over with the triangle in one lane of three vertices x three axes.
  void setTriangle(const float (*vertices)[3][4], int lane) {
    for (int i = 0; i < 3; ++i) {
      mVertices[i] = {vertices[i][0][lane], vertices[i][1][lane], vertices[i][2][lane], 0.0f};
    }
    mCount = 3;
  }

  /// Keeps what is strictly inside the plane; false when nothing is.
  bool clip(const tPlane& plane) {
    const unsigned int nbInside = measure(plane);
    if (nbInside != 0 && nbInside != mCount) cut(std::min(nbInside, mCount - nbInside));
    return nbInside != 0;
  }

 private:
  struct tVertex {
    float x, y, z;
    float mDistance;  // from the plane at hand

    bool isInside() const { return mDistance > 0.0f; }
  };

  static constexpr unsigned int kSmallCapacity = 64;

  // Takes the distances, in this order of operations. Returns how many vertices are inside.
  unsigned int measure(const tPlane& plane) {
    const float a = plane.mCoefficient[0][0], b = plane.mCoefficient[1][0];
    const float c = plane.mCoefficient[2][0], d = plane.mCoefficient[3][0];
    unsigned int nbInside = 0;
    for (unsigned int i = 0; i < mCount; ++i) {
      tVertex& vertex = mVertices[i];
      vertex.mDistance = ((c * vertex.z + d) + b * vertex.y) + a * vertex.x;
      nbInside += vertex.isInside();
    }
    return nbInside;
  }

  // Puts the crossings in and leaves the vertices outside out: at most two crossings for each of the fewer.
  void cut(unsigned int nbFewer) {
    if (mCount + nbFewer > mCapacity) grow();
    unsigned int nbNext = 0;
    const tVertex* previous = &mVertices[mCount - 1];
    for (unsigned int i = 0; i < mCount; ++i) {
      const tVertex* current = &mVertices[i];
      if (current->isInside() != previous->isInside()) mNext[nbNext++] = crossing(*previous, *current);
      if (current->isInside()) mNext[nbNext++] = *current;
      previous = current;
    }
    std::swap(mVertices, mNext);
    mCount = nbNext;
  }

  // In this order of operations.
  static tVertex crossing(const tVertex& previous, const tVertex& current) {
    const float s = previous.mDistance / (current.mDistance - previous.mDistance);
    return {previous.x - (current.x - previous.x) * s, previous.y - (current.y - previous.y) * s,
            previous.z - (current.z - previous.z) * s, 0.0f};
  }

  void grow() {
    std::vector<tVertex> larger(4 * std::size_t(mCapacity));
    std::copy(mVertices, mVertices + mCount, larger.begin());
    mLarge.swap(larger);
    mCapacity *= 2;
    mVertices = mLarge.data();
    mNext = mVertices + mCapacity;
  }

  tVertex mSmall[2][kSmallCapacity];
  std::vector<tVertex> mLarge;  // two arrays again, once mSmall is too small
  tVertex *mVertices = mSmall[0], *mNext = mSmall[1];
  unsigned int mCount = 0, mCapacity = kSmallCapacity;
};

// Sends for every cache line of a block.
template <class Block>
void prefetch(const Block& block) {
  const char* bytes = reinterpret_cast<const char*>(&block);
  for (std::size_t i = 0; i < sizeof(Block); i += 64) _mm_prefetch(bytes + i, _MM_HINT_T0);
  _mm_prefetch(bytes + sizeof(Block) - 1, _MM_HINT_T0);
}

}  // namespace

// One query. Whether a child has something inside depends on nothing but the child, and one yes is the answer, so
// children are taken in the order that finds a yes soonest, and lanes of a quadruplet one by one.
struct qzQBVH::tHullQuery {
  struct tChild {
    unsigned int mIndex, mQuadruplets;
  };

  // What the planes make of the four children of a node.
  struct tVerdict {
    int mInside;                  // lanes strictly inside every plane
    int mOutside;                 // lanes wholly outside of some plane
    alignas(16) float mDepth[4];  // twice the distance of the centre from the nearest plane, positive inside
  };

  static constexpr int kStackSize = 128;  // a tree of our own builders needs 3 entries a level, up to 32 levels

  const qzQBVH& mQBVH;
  const tPlane* mPlanes;
  const unsigned int mNbPlanes;
  tPolygon mPolygon;

  tHullQuery(const qzQBVH& qbvh, const tPlane* planes, unsigned int nbPlanes)
      : mQBVH(qbvh), mPlanes(planes), mNbPlanes(nbPlanes) {}

  bool run() { return mQBVH.mNoNodes != 0 ? walk({0, kInnerChild}) : testLeaf({0, mQBVH.mNoQuadruplets}); }

  // Whether there is something inside below one child.
  bool walk(tChild start) {
    tChild stack[kStackSize] = {start};
    int size = 1;
    while (size > 0) {
      const tChild child = stack[--size];
      if (child.mQuadruplets != kInnerChild) {
        if (testLeaf(child)) return true;
        continue;
      }
      const tSOANode& node = mQBVH.mNodes[child.mIndex];
      const tVerdict verdict = judge(node);
      if (verdict.mInside != 0) return true;
      if (size + 4 <= kStackSize) {
        size += listChildren(node, verdict, stack + size);
      } else {
        tChild children[4];
        for (int i = listChildren(node, verdict, children) - 1; i >= 0; --i) {
          if (walk(children[i])) return true;
        }
      }
    }
    return false;
  }

  // The four boxes against all planes, in this order of operations and operands. A NaN never makes a box lie outside,
  // and in the smallest distance it gives way to the next plane's.
  tVerdict judge(const tSOANode& node) const {
    const __m128 minX = _mm_load_ps(node.mMin[0]), minY = _mm_load_ps(node.mMin[1]), minZ = _mm_load_ps(node.mMin[2]);
    const __m128 maxX = _mm_load_ps(node.mMax[0]), maxY = _mm_load_ps(node.mMax[1]), maxZ = _mm_load_ps(node.mMax[2]);
    __m128 smallest = _mm_set1_ps(std::numeric_limits<float>::infinity()), depth = smallest;
    __m128 outside = _mm_setzero_ps();
    for (unsigned int i = 0; i < mNbPlanes; ++i) {
      const float(*plane)[4] = mPlanes[i].mCoefficient;
      const __m128 a = _mm_load_ps(plane[0]), b = _mm_load_ps(plane[1]);
      const __m128 c = _mm_load_ps(plane[2]), d = _mm_load_ps(plane[3]);
      const __m128 x1 = _mm_mul_ps(a, minX), x2 = _mm_mul_ps(a, maxX);
      const __m128 y1 = _mm_mul_ps(b, minY), y2 = _mm_mul_ps(b, maxY);
      const __m128 z1 = _mm_mul_ps(c, minZ), z2 = _mm_mul_ps(c, maxZ);
      const __m128 lo =
          _mm_add_ps(_mm_add_ps(_mm_min_ps(y1, y2), _mm_min_ps(x1, x2)), _mm_add_ps(_mm_min_ps(z1, z2), d));
      const __m128 hi =
          _mm_add_ps(_mm_add_ps(_mm_max_ps(y1, y2), _mm_max_ps(x1, x2)), _mm_add_ps(_mm_max_ps(z1, z2), d));
      smallest = _mm_min_ps(smallest, lo);
      outside = _mm_or_ps(outside, _mm_cmplt_ps(hi, _mm_setzero_ps()));
      depth = _mm_min_ps(depth, _mm_add_ps(lo, hi));
    }
    tVerdict verdict;
    verdict.mInside = _mm_movemask_ps(_mm_cmpgt_ps(smallest, _mm_setzero_ps()));
    verdict.mOutside = _mm_movemask_ps(outside);
    _mm_store_ps(verdict.mDepth, depth);
    return verdict;
  }

  // The children to look into, the deepest inside last and of equals the lowest lane, and sends for them. Returns how
  // many.
  int listChildren(const tSOANode& node, const tVerdict& verdict, tChild* children) const {
    int count = 0;
    float depths[4];
    for (int lane = 0; lane < 4; ++lane) {
      const tChild child = {node.mChildIndex[lane], node.mChildQuadruplets[lane]};
      if ((verdict.mOutside >> lane & 1) || child.mQuadruplets == 0) continue;
      if (child.mQuadruplets == kInnerChild) {
        prefetch(mQBVH.mNodes[child.mIndex]);
      } else {
        prefetch(mQBVH.mTriangleVertices[child.mIndex]);
      }
      int place = count++;
      for (; place > 0 && depths[place - 1] >= verdict.mDepth[lane]; --place) {
        children[place] = children[place - 1];
        depths[place] = depths[place - 1];
      }
      children[place] = child;
      depths[place] = verdict.mDepth[lane];
    }
    return count;
  }

  bool testLeaf(tChild leaf) {
    for (unsigned int i = 0; i < leaf.mQuadruplets && leaf.mIndex + i < mQBVH.mNoQuadruplets; ++i) {
      if (testQuadruplet(mQBVH.mTriangleVertices[leaf.mIndex + i])) return true;
    }
    return false;
  }

  // Padding lanes are triangles like the others, at the origin.
  bool testQuadruplet(const tSOATriangleVertices& quadruplet) {
    // Planes leave a triangle whole until the first that goes through it; from there on it is clipped, by itself.
    int whole = 0xF, cut = 0;
    unsigned int firstCut[4] = {};
    for (unsigned int i = 0; i < mNbPlanes && whole != 0; ++i) {
      const int in0 = insideLanes(quadruplet.mVertex[0], mPlanes[i]);
      const int in1 = insideLanes(quadruplet.mVertex[1], mPlanes[i]);
      const int in2 = insideLanes(quadruplet.mVertex[2], mPlanes[i]);
      const int cutHere = whole & (in0 | in1 | in2) & ~(in0 & in1 & in2);
      for (int lane = 0; lane < 4; ++lane) {
        if (cutHere >> lane & 1) firstCut[lane] = i;
      }
      cut |= cutHere;
      whole &= in0 & in1 & in2;
    }
    if (whole != 0) return true;
    for (int lane = 0; lane < 4; ++lane) {
      if ((cut >> lane & 1) && survives(quadruplet, lane, firstCut[lane])) return true;
    }
    return false;
  }

  // Lanes whose vertex is strictly inside the plane, by the distance in the order of tPolygon.
  static int insideLanes(const float (*vertex)[4], const tPlane& plane) {
    const float(*p)[4] = plane.mCoefficient;
    const __m128 z = _mm_add_ps(_mm_mul_ps(_mm_load_ps(p[2]), _mm_load_ps(vertex[2])), _mm_load_ps(p[3]));
    const __m128 yz = _mm_add_ps(z, _mm_mul_ps(_mm_load_ps(p[1]), _mm_load_ps(vertex[1])));
    const __m128 distance = _mm_add_ps(yz, _mm_mul_ps(_mm_load_ps(p[0]), _mm_load_ps(vertex[0])));
    return _mm_movemask_ps(_mm_cmpgt_ps(distance, _mm_setzero_ps()));
  }

  // Whether something is left of a triangle after the planes from the given one on. A clipped polygon is empty or has
  // three vertices at least: with some vertices inside and some outside there are two crossings.
  bool survives(const tSOATriangleVertices& quadruplet, int lane, unsigned int plane) {
    mPolygon.setTriangle(quadruplet.mVertex, lane);
    for (; plane < mNbPlanes; ++plane) {
      if (!mPolygon.clip(mPlanes[plane])) return false;
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
    for (int row = 0; row < 4; ++row) _mm_store_ps(out[i].mCoefficient[row], _mm_set1_ps(planes[i][row]));
  }
}

void qzQBVH::DeleteSOAPlaneEquationSet(tSOASinglePlaneEqn* set) {
  qzDetail::releaseAligned(set);
}

bool qzQBVH::intersectConvexHull(const tSOASinglePlaneEqn* planes, unsigned count) const {
  if (!(mFlags & eTrianglesVertices)) {
    if (qzDetail::isLogged(qz::qzLogType(2))) {
      qzDetail::logRecord(qz::qzLogType(2), "",
                          "error: QBVH is not built with the right data type (should be qzQBVH::eTrianglesVertices)");
    }
    return false;
  }
  const qzDetail::tFloatMode mode;
  return mode.keep(tHullQuery(*this, planes, count).run());
}
