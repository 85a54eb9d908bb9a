#pragma once
// Bullet: a static triangle mesh, and boxes or convex hulls held against it.

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRegions.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

class qzBullet {
 public:
  /// Everything is scaled to a diagonal of 100 units, the sizes that Bullet's tolerances are made for.
  qzBullet(const qzScene& scene, const std::vector<qzRegion>& regions);
  ~qzBullet();

  /// Two ways of asking whether the mesh reaches into each of the regions, 1 or 0; seconds for the first answers.size()
  /// ones. By contacts: what the collision world offers, all contacts of the pair. By triangles: the shape's walk over
  /// the triangles near the region's bounding box, each tested by GJK until one is found; the walk cannot be stopped.
  double askByContacts(std::vector<char>& answers) const;
  double askByTriangles(std::vector<char>& answers) const;

 private:
  struct tWorld;
  std::unique_ptr<tWorld> mWorld;
};

}  // namespace qzBench
