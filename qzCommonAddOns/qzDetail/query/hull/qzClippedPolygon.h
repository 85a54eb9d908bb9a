#pragma once
// tClippedPolygon: a polygon clipped by one plane at a time (Sutherland and Hodgman 1974).
//
// In exact arithmetic each plane adds at most one vertex. Rounding can make the polygon non-convex, so that a plane
// crosses it several times and adds up to half its vertices. The number of planes is no bound, so memory grows on
// demand.

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace qzDetail {

class tClippedPolygon {
 public:
  /// Starts with the triangle in one lane of three vertices x three axes.
  void setTriangle(const float (*vertices)[3][4], int lane) {
    for (int i = 0; i < 3; ++i) {
      mVertices[i] = {vertices[i][0][lane], vertices[i][1][lane], vertices[i][2][lane], 0.0f};
    }
    mCount = 3;
  }

  void setTriangle(const float* a, const float* b, const float* c) {
    const float* const corners[3] = {a, b, c};
    for (int i = 0; i < 3; ++i) mVertices[i] = {corners[i][0], corners[i][1], corners[i][2], 0.0f};
    mCount = 3;
  }

  /// Clips to the strict inside of a plane, four rows of equal lanes as in qzQBVH::tSOASinglePlaneEqn. Returns false if
  /// nothing is left.
  bool clip(const float (*plane)[4]) { return clip(plane[0][0], plane[1][0], plane[2][0], plane[3][0]); }
  /// The same for a * x + b * y + c * z + d > 0.
  bool clip(float a, float b, float c, float d) {
    const unsigned int nbInside = measure(a, b, c, d);
    if (nbInside != 0 && nbInside != mCount) cut(std::min(nbInside, mCount - nbInside));
    return nbInside != 0;
  }

 private:
  struct tVertex {
    float x, y, z;
    float mDistance;  // from the current plane

    bool isInside() const { return mDistance > 0.0f; }
  };

  static constexpr unsigned int kSmallCapacity = 64;

  // Computes the distances; the order of operations fixes the bits. Returns the number of vertices inside.
  unsigned int measure(float a, float b, float c, float d) {
    unsigned int nbInside = 0;
    for (unsigned int i = 0; i < mCount; ++i) {
      tVertex& vertex = mVertices[i];
      vertex.mDistance = ((c * vertex.z + d) + b * vertex.y) + a * vertex.x;
      nbInside += vertex.isInside();
    }
    return nbInside;
  }

  // Adds crossings and drops vertices outside. nbFewer is the smaller of the counts inside and outside; there are at
  // most two crossings for each of them.
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

  // The order of operations fixes the bits.
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
  std::vector<tVertex> mLarge;  // replaces both arrays of mSmall once they are too small
  tVertex *mVertices = mSmall[0], *mNext = mSmall[1];
  unsigned int mCount = 0, mCapacity = kSmallCapacity;
};

}  // namespace qzDetail
