#pragma once
// The hull query of qzQBVH once more: a lane at a time, in the order of its rules, clipping arrays exchanged and all.

#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>

#include <cstdint>
#include <vector>

#include "plain/qzPlainQBVH.h"

namespace qzPlain {

using Planes = std::vector<Wm4::Vector4<float>>;

/// The query of qzQBVH, without the log record of a hierarchy that has no vertices.
bool intersectConvexHull(const tQBVH& hierarchy, const Planes& planes);

/// Four triangles while planes cut pieces off them.
class tClipping {
 public:
  /// The triangles of one block of tQBVH::mVertices.
  explicit tClipping(const std::uint32_t* vertexWords);

  void clip(const Wm4::Vector4<float>& plane);

  /// Most vertices of a polygon that the last plane was held against.
  unsigned int maxCount() const { return mMaxCount; }

 private:
  using Polygon = std::vector<Wm4::Vector3<float>>;

  // A polygon's vertices are the first mCounts[lane] entries; what comes after is left over from other planes.
  Polygon mCurrent[4], mNext[4];
  unsigned int mCounts[4], mMaxCount;
};

}  // namespace qzPlain
