#pragma once
// CGAL: AABB_tree in double precision.

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
  /// Builds the tree from triangles in memory; returns the seconds.
  double build();
  void release();
  /// Nearest hits of the first answers.size() rays; returns the seconds.
  double trace(const std::vector<qzRay>& rays, std::vector<qzAnswer>& answers) const;

 private:
  struct tTree;
  std::unique_ptr<tTree> mTree;
};

}  // namespace qzBench
