#pragma once
// Bullet: collision tests of boxes or convex hulls against a static triangle mesh.

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRegions.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

class qzBullet {
 public:
  /// Scales everything to a diagonal of 100 units, which suits Bullet's tolerances.
  qzBullet(const qzScene& scene, const std::vector<qzRegion>& regions);
  ~qzBullet();

  /// Whether the mesh intersects each of the first answers.size() regions, 1 or 0; return the seconds.
  /// By contacts: the collision world's query, which computes all contacts of the pair. By triangles: traversal of the
  /// triangles that overlap the region's bounding box, with a GJK test of each until one intersects. Bullet cannot stop
  /// that traversal early.
  double intersectByContacts(std::vector<char>& answers) const;
  double intersectByTriangles(std::vector<char>& answers) const;

 private:
  struct tWorld;
  std::unique_ptr<tWorld> mWorld;
};

}  // namespace qzBench
