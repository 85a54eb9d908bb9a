#pragma once
// FCL: collision tests of boxes or convex shapes against a hierarchy over the mesh, up to the first contact.

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRegions.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

class qzFcl {
 public:
  /// Scales everything to a diagonal of 100 units, as for Bullet. The regions are all boxes or all frusta.
  qzFcl(const qzScene& scene, const std::vector<qzRegion>& regions);
  ~qzFcl();

  static std::string getName() { return "FCL"; }
  /// Whether the mesh intersects each of the first answers.size() regions, 1 or 0; returns the seconds.
  double intersect(std::vector<char>& answers) const;

 private:
  struct tShapes;

  // Bounding volumes of the nodes. Oriented boxes (OBB) are FCL's fastest against boxes, up to ten times as fast, but
  // miss half of the frusta. Oriented boxes with rectangle swept spheres (OBBRSS) miss none. With axis-aligned volumes
  // FCL copies the whole hierarchy in every query.
  enum tVolume { eOrientedBoxes, eOrientedBoxesAndSpheres };
  tVolume mVolume;
  std::unique_ptr<tShapes> mShapes;
};

}  // namespace qzBench
