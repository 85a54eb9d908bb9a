#pragma once
// The library under measurement.

#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRays.h>
#include <benchmarks/scenes/qzRegions.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// The plane sets of regions, as the library makes them.
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
  /// Which builder makes the binary hierarchy.
  enum tBuilder { eLinear, eSurfaceArea };
  explicit qzOurs(const qzScene& scene, tBuilder builder = eLinear);

  std::string getName() const;

  /// Builds anew from the mesh in memory; returns the processor seconds up to the finished hierarchy.
  double build(qzQBVH::tQBVHDataFlags flags = qzQBVH::eTrianglesEquations);
  /// Releases the hierarchy.
  void release() { mHierarchy.reset(); }
  /// Hash of all arrays of the hierarchy.
  std::string getBuildCheck() const;

  /// Whether the mesh reaches into each of the regions, 1 or 0; seconds for the first answers.size() ones. Needs a
  /// build with eTrianglesVertices.
  double ask(const qzPlaneSets& regions, std::vector<char>& answers) const;
  /// Seconds for the first answers.size() rays.
  double trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;
  /// The part of it from ray begin to ray end, for several threads.
  void trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers, std::size_t begin, std::size_t end) const;

 private:
  /// Gives a look at the arrays.
  struct tHierarchy : qzQBVH {
    std::string getCheck() const;
  };

  const qzScene& mScene;
  tBuilder mBuilder;
  std::unique_ptr<tHierarchy> mHierarchy;
};

/// Hash of distances and triangles, or of yes and no.
std::string getCheck(const std::vector<qzAnswer>& answers);
std::string getCheck(const std::vector<char>& answers);

/// Throws unless the floating-point mode is the default one: rounding to nearest, denormals kept. That is what the
/// library is measured under, whatever the peers did.
void expectDefaultFloatMode();

}  // namespace qzBench
