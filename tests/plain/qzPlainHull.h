#pragma once
// The plain form of qzQBVH's hull query: one lane at a time, with the same order of operations and of clipping arrays.

#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>

#include <cstdint>
#include <vector>

#include "plain/qzPlainQBVH.h"

namespace qzPlain {

using Planes = std::vector<Wm4::Vector4<float>>;

/// The query of qzQBVH, without the log record of a hierarchy that has no vertices.
bool intersectConvexHull(const tQBVH& hierarchy, const Planes& planes);

/// Four triangles while planes clip them.
class tClipping {
 public:
  /// The triangles of one block of tQBVH::mVertices.
  explicit tClipping(const std::uint32_t* vertexWords);

  void clip(const Wm4::Vector4<float>& plane);

  /// Most vertices of a polygon that the last plane clipped.
  unsigned int maxCount() const { return mMaxCount; }

 private:
  using Polygon = std::vector<Wm4::Vector3<float>>;

  // A polygon's vertices are the first mCounts[lane] entries; those after it are stale.
  Polygon mCurrent[4], mNext[4];
  unsigned int mCounts[4], mMaxCount;
};

}  // namespace qzPlain
