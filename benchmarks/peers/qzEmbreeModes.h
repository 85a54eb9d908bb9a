#pragma once
// Embree's ways to answer many rays in one call: single rays, packets, and streams of both.

#include <string>
#include <vector>

#include <benchmarks/peers/qzEmbree.h>

namespace qzBench {

struct qzEmbreeMode {
  unsigned mWidth;   ///< rays of a packet: 1, 4, 8 or 16
  bool mIsStream;    ///< rtcIntersect1M for width 1 and rtcIntersectNM otherwise
  bool mIsCoherent;  ///< whether the context says that the rays are

  std::string getName() const;
};

/// Every mode that makes a difference.
std::vector<qzEmbreeMode> embreeModes();

/// The first answers.size() rays in a mode of a built hierarchy. Rays are put into Embree's layout block by block, so that
/// they are in the cache, and answers are read from it; neither is timed. Return the seconds of Embree's own work.
double traceMany(const qzEmbree& embree, const qzEmbreeMode& mode, const std::vector<qzRay>& rays,
                 std::vector<qzAnswer>& answers);
/// The same for any hit; answers are 1 or 0.
double occludeMany(const qzEmbree& embree, const qzEmbreeMode& mode, const std::vector<qzRay>& rays,
                   std::vector<char>& answers);

}  // namespace qzBench
