#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/qzAlignedMemory.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzLogRecord.h>

#include <emmintrin.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

using tPlane = qzQBVH::tSOASinglePlaneEqn;

// What is left of one triangle while planes cut pieces off it.
class tPolygon {
 public:
  struct tVertex {
    float x, y, z;
    float mDistance;  // to the plane at hand
  };

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
  static constexpr unsigned int kSmallCapacity = 64;

  // Distances in this order of operations. Returns how many vertices are inside.
  unsigned int measure(const tPlane& plane) {
    const float a = plane.mCoefficient[0][0], b = plane.mCoefficient[1][0];
    const float c = plane.mCoefficient[2][0], d = plane.mCoefficient[3][0];
    unsigned int nbInside = 0;
    for (unsigned int i = 0; i < mCount; ++i) {
      tVertex& v = mVertices[i];
      v.mDistance = ((c * v.z + d) + b * v.y) + a * v.x;
      nbInside += v.mDistance > 0.0f;
    }
    return nbInside;
  }

  // Sutherland-Hodgman. The border of the plane is crossed at most twice for every vertex on the side that has fewer.
  void cut(unsigned int nbOnSmallerSide) {
    if (mCount + nbOnSmallerSide > mCapacity) grow();
    unsigned int nbNext = 0;
    const tVertex* previous = &mVertices[mCount - 1];
    for (unsigned int i = 0; i < mCount; ++i) {
      const tVertex* current = &mVertices[i];
      const bool isInside = current->mDistance > 0.0f;
      if (isInside != (previous->mDistance > 0.0f)) mNext[nbNext++] = crossing(*previous, *current);
      if (isInside) mNext[nbNext++] = *current;
      previous = current;
    }
    std::swap(mVertices, mNext);
    mCount = nbNext;
  }

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
  std::vector<tVertex> mLarge;
  tVertex *mVertices = mSmall[0], *mNext = mSmall[1];
  unsigned int mCount = 0, mCapacity = kSmallCapacity;
};

}  // namespace

struct qzQBVH::tHullQuery {
  const qzQBVH& mQBVH;
  const tPlane* mPlanes;
  const unsigned int mNbPlanes;
  tPolygon mPolygon;

  static constexpr int kStackSize = 256;

  struct tChild {
    unsigned int mIndex, mQuadruplets;
  };

  tHullQuery(const qzQBVH& qbvh, const tPlane* planes, unsigned int nbPlanes)
      : mQBVH(qbvh), mPlanes(planes), mNbPlanes(nbPlanes) {}

  bool run() {
    if (mQBVH.mNoNodes != 0) return walk({0, kInnerChild});
    return testLeaf(0, mQBVH.mNoQuadruplets);
  }

  bool walk(tChild start) {
    tChild stack[kStackSize];
    int size = 0;
    stack[size++] = start;
    while (size > 0) {
      const tChild child = stack[--size];
      if (child.mQuadruplets != kInnerChild) {
        if (testLeaf(child.mIndex, child.mQuadruplets)) return true;
        continue;
      }
      const tSOANode& node = mQBVH.mNodes[child.mIndex];
      int outside;
      if (testNode(node, outside)) return true;
      if (size + 4 <= kStackSize) {
        for (int lane = 3; lane >= 0; --lane) {
          if (outside >> lane & 1) continue;
          stack[size++] = {node.mChildIndex[lane], node.mChildQuadruplets[lane]};
        }
      } else {
        for (int lane = 0; lane < 4; ++lane) {
          if (outside >> lane & 1) continue;
          if (walk({node.mChildIndex[lane], node.mChildQuadruplets[lane]})) return true;
        }
      }
    }
    return false;
  }

  bool testNode(const tSOANode& node, int& outsideLanes) const {
    const __m128 minX = _mm_load_ps(node.mMin[0]), maxX = _mm_load_ps(node.mMax[0]);
    const __m128 minY = _mm_load_ps(node.mMin[1]), maxY = _mm_load_ps(node.mMax[1]);
    const __m128 minZ = _mm_load_ps(node.mMin[2]), maxZ = _mm_load_ps(node.mMax[2]);
    __m128 smallest = _mm_set1_ps(std::numeric_limits<float>::infinity());
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
    }
    outsideLanes = _mm_movemask_ps(outside);
    return _mm_movemask_ps(_mm_cmpgt_ps(smallest, _mm_setzero_ps())) != 0;
  }

  bool testLeaf(unsigned int first, unsigned int count) {
    for (unsigned int i = 0; i < count && first + i < mQBVH.mNoQuadruplets; ++i) {
      if (testQuadruplet(mQBVH.mTriangleVertices[first + i])) return true;
    }
    return false;
  }

  bool testQuadruplet(const tSOATriangleVertices& quadruplet) {
    int whole = 0xF, cut = 0;
    unsigned int firstCut[4];
    for (unsigned int i = 0; i < mNbPlanes; ++i) {
      const int in0 = insideLanes(quadruplet.mVertex[0], mPlanes[i]);
      const int in1 = insideLanes(quadruplet.mVertex[1], mPlanes[i]);
      const int in2 = insideLanes(quadruplet.mVertex[2], mPlanes[i]);
      const int all = in0 & in1 & in2;
      const int crossing = (in0 | in1 | in2) & ~all & whole;
      if (crossing != 0) {
        cut |= crossing;
        for (int lane = 0; lane < 4; ++lane) {
          if (crossing >> lane & 1) firstCut[lane] = i;
        }
      }
      whole &= all;
      if (whole == 0) break;
    }
    if (whole != 0) return true;
    for (int lane = 0; lane < 4; ++lane) {
      if ((cut >> lane & 1) && survives(quadruplet, lane, firstCut[lane])) return true;
    }
    return false;
  }

  static int insideLanes(const float (*vertex)[4], const tPlane& plane) {
    const float(*p)[4] = plane.mCoefficient;
    const __m128 z = _mm_add_ps(_mm_mul_ps(_mm_load_ps(p[2]), _mm_load_ps(vertex[2])), _mm_load_ps(p[3]));
    const __m128 yz = _mm_add_ps(z, _mm_mul_ps(_mm_load_ps(p[1]), _mm_load_ps(vertex[1])));
    const __m128 distance = _mm_add_ps(yz, _mm_mul_ps(_mm_load_ps(p[0]), _mm_load_ps(vertex[0])));
    return _mm_movemask_ps(_mm_cmpgt_ps(distance, _mm_setzero_ps()));
  }

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
  return tHullQuery(*this, planes, count).run();
}
