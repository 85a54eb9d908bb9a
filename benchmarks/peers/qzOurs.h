#pragma once
// The library that is measured, with the same interface as its peers.

#include <toolkit/query/qzHierarchy.h>

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRays.h>
#include <benchmarks/scenes/qzRegions.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// The planes of regions in the library's four-lane layout.
class qzPlaneSets {
 public:
  explicit qzPlaneSets(const std::vector<qzRegion>& regions);
  ~qzPlaneSets();
  qzPlaneSets(const qzPlaneSets&) = delete;
  qzPlaneSets& operator=(const qzPlaneSets&) = delete;

  const qzQBVH::tSOASinglePlaneEqn* operator[](std::size_t i) const { return mSets[i]; }

 private:
  std::vector<qzQBVH::tSOASinglePlaneEqn*> mSets;
};

class qzOurs {
 public:
  /// The builder of the binary hierarchy.
  enum tBuilder { eLinear, eSurfaceArea };
  explicit qzOurs(const qzScene& scene, tBuilder builder = eLinear);

  std::string getName() const;

  /// Builds the four-wide hierarchy from the mesh in memory; returns the seconds.
  double build(qzQBVH::tQBVHDataFlags flags = qzQBVH::eTrianglesEquations);
  /// Releases the hierarchy.
  void release() { mHierarchy.reset(); }
  /// Hash of all arrays of the hierarchy.
  std::string getBuildCheck() const;

  /// Nearest hits of the first answers.size() rays; returns the seconds.
  double trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;
  /// The same by the toolkit, which casts batches in turns, on rays and hits in its own layout.
  double traceInTurns(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;
  /// Nearest hits of the rays from begin up to end, untimed; for one of several threads.
  void trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers, std::size_t begin, std::size_t end) const;
  /// The nearest hit at the distance tNear or beyond it.
  qzAnswer castBeyond(float tNear, const qzRay& ray) const;
  /// Whether the mesh intersects each of the first answers.size() regions, 1 or 0; returns the seconds. Needs a build
  /// with eTrianglesVertices.
  double intersect(const qzPlaneSets& regions, std::vector<char>& answers) const;

 private:
  /// Has access to the protected arrays.
  struct tHierarchy : qzToolkit::qzHierarchy {
    std::string getCheck() const;
  };

  const qzScene& mScene;
  tBuilder mBuilder;
  std::unique_ptr<tHierarchy> mHierarchy;
};

}  // namespace qzBench
