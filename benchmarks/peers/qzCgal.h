#pragma once
// CGAL's tree of boxes, double precision.

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRays.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

class qzCgal {
 public:
  explicit qzCgal(const qzScene& scene);
  ~qzCgal();

  static std::string getName() { return "CGAL"; }
  /// Builds anew from triangles in memory; returns the processor seconds.
  double build();
  void release();
  /// Seconds for the first answers.size() rays.
  double trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;

 private:
  struct tTree;
  std::unique_ptr<tTree> mTree;
};

}  // namespace qzBench
