#include "plain/qzPlainHull.h"

#include <utility>

#include "support/qzBits.h"

namespace qzPlain {

using Plane = Wm4::Vector4<float>;
using Point = Wm4::Vector3<float>;
using qzTest::floatFromBits;
using qzTest::kInf;

namespace {

constexpr unsigned int kInner = 0xFFFFFFFFu;  // quadruplet count of an inner child

// The forms of the four-lane queries: the second operand unless the first is strictly smaller (larger).
float minOf(float x, float y) {
  return x < y ? x : y;
}
float maxOf(float x, float y) {
  return x > y ? x : y;
}

float distance(const Plane& plane, const Point& p) {
  return ((plane[2] * p[2] + plane[3]) + plane[1] * p[1]) + plane[0] * p[0];
}

Point crossing(const Point& prev, float prevDistance, const Point& cur, float curDistance) {
  const float s = prevDistance / (curDistance - prevDistance);
  Point p;
  for (int axis = 0; axis < 3; ++axis) p[axis] = prev[axis] - (cur[axis] - prev[axis]) * s;
  return p;
}

// Writes the vertices to the front of out and leaves the entries after them. Returns their number.
unsigned int clipPolygon(const std::vector<Point>& polygon, const std::vector<float>& distances, unsigned int count,
                         std::vector<Point>& out) {
  unsigned int nbEmitted = 0;
  const auto emit = [&](const Point& p) {
    if (out.size() == nbEmitted) out.emplace_back();
    out[nbEmitted++] = p;
  };
  unsigned int prev = count - 1;
  for (unsigned int cur = 0; cur < count; ++cur) {
    const bool prevInside = distances[prev] > 0.0f, curInside = distances[cur] > 0.0f;
    if (curInside != prevInside) emit(crossing(polygon[prev], distances[prev], polygon[cur], distances[cur]));
    if (curInside) emit(polygon[cur]);
    prev = cur;
  }
  return nbEmitted;
}

struct tHullQuery {
  const tQBVH& mHierarchy;
  const Planes& mPlanes;

  bool run() const {
    if ((mHierarchy.mFlags & tQBVH::kVerticesFlag) == 0) return false;
    if (mHierarchy.mNoNodes != 0) return testNode(0);
    return mHierarchy.mNoQuadruplets != 0 && testLeaf(0, mHierarchy.mNoQuadruplets);
  }

  bool testNode(unsigned int node) const {
    const std::uint32_t* words = &mHierarchy.mNodes[std::size_t(node) * tQBVH::kNodeWords];
    bool outside[4] = {false, false, false, false};
    float loMin[4] = {kInf, kInf, kInf, kInf};
    for (const Plane& plane : mPlanes) {
      for (unsigned int lane = 0; lane < 4; ++lane) {
        float smaller[3], larger[3];
        for (int axis = 0; axis < 3; ++axis) {
          const float atMin = plane[axis] * floatFromBits(words[static_cast<unsigned int>(4 * axis) + lane]);
          const float atMax = plane[axis] * floatFromBits(words[static_cast<unsigned int>(4 * (axis + 3)) + lane]);
          smaller[axis] = minOf(atMin, atMax);
          larger[axis] = maxOf(atMin, atMax);
        }
        const float lo = (smaller[1] + smaller[0]) + (smaller[2] + plane[3]);
        const float hi = (larger[1] + larger[0]) + (larger[2] + plane[3]);
        loMin[lane] = minOf(loMin[lane], lo);
        if (hi < 0.0f) outside[lane] = true;
      }
    }
    for (float lo : loMin) {
      if (lo > 0.0f) return true;
    }
    for (unsigned int lane = 0; lane < 4; ++lane) {
      if (outside[lane]) continue;
      const unsigned int index = words[4 * 6 + lane], quadruplets = words[4 * 7 + lane];
      if (quadruplets == kInner ? testNode(index) : testLeaf(index, quadruplets)) return true;
    }
    return false;
  }

  bool testLeaf(unsigned int start, unsigned int quadruplets) const {
    for (unsigned int q = start; q < start + quadruplets && q < mHierarchy.mNoQuadruplets; ++q) {
      tClipping clipping(&mHierarchy.mVertices[std::size_t(q) * tQBVH::kVertexWords]);
      for (const Plane& plane : mPlanes) clipping.clip(plane);
      if (clipping.maxCount() > 2) return true;
    }
    return false;
  }
};

}  // namespace

tClipping::tClipping(const std::uint32_t* vertexWords) : mCounts{3, 3, 3, 3}, mMaxCount(3) {
  for (unsigned int lane = 0; lane < 4; ++lane) {
    for (unsigned int v = 0; v < 3; ++v) {
      const std::uint32_t* rows = vertexWords + 4 * 3 * v + lane;
      mCurrent[lane].emplace_back(floatFromBits(rows[0]), floatFromBits(rows[4]), floatFromBits(rows[8]));
    }
  }
}

void tClipping::clip(const Plane& plane) {
  std::vector<float> distances[4];
  for (int lane = 0; lane < 4; ++lane) {
    for (unsigned int k = 0; k < mMaxCount && k < mCurrent[lane].size(); ++k) {
      distances[lane].push_back(distance(plane, mCurrent[lane][k]));
    }
  }
  mMaxCount = 0;
  for (int lane = 0; lane < 4; ++lane) {
    if (mCounts[lane] < 2) continue;
    mCounts[lane] = clipPolygon(mCurrent[lane], distances[lane], mCounts[lane], mNext[lane]);
    if (mCounts[lane] > mMaxCount) mMaxCount = mCounts[lane];
  }
  for (int lane = 0; lane < 4; ++lane) std::swap(mCurrent[lane], mNext[lane]);
}

bool intersectConvexHull(const tQBVH& hierarchy, const Planes& planes) {
  return tHullQuery{hierarchy, planes}.run();
}

}  // namespace qzPlain
