#pragma once
// CGAL: AABB_tree in double precision.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzPlaces.h>
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
  /// What closest_point_and_primitive needs besides the tree; once after a build.
  void prepareNearest();
  /// Nearest triangles of the first answers.size() places; returns the seconds.
  double findNearest(const std::vector<qzPlace>& places, std::vector<qzNearest>& answers) const;
  /// How many triangles lie in each of the first counts.size() boxes, by all_intersected_primitives; returns the seconds.
  double countInBoxes(const std::vector<qzAxisBox>& boxes, std::vector<unsigned>& counts) const;

 private:
  struct tTree;
  std::unique_ptr<tTree> mTree;
};

/// CGAL: Side_of_triangle_mesh over a Surface_mesh, in double precision.
class qzCgalSides {
 public:
  explicit qzCgalSides(const qzScene& scene);
  ~qzCgalSides();

  static std::string getName() { return "CGAL"; }
  void build();
  /// Whether the mesh contains each of the first answers.size() places, 1 or 0; returns the seconds.
  double findContained(const std::vector<qzPlace>& places, std::vector<std::uint32_t>& answers) const;

 private:
  struct tSides;
  const qzScene& mScene;
  std::unique_ptr<tSides> mSides;
};

}  // namespace qzBench
