#pragma once
// FCL: a tree over the mesh, and boxes or convex shapes held against it, stopping at the first contact.

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzRegions.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

class qzFcl {
 public:
  /// Everything is scaled to a diagonal of 100 units, as for Bullet. Regions all boxes or all frusta.
  qzFcl(const qzScene& scene, const std::vector<qzRegion>& regions);
  ~qzFcl();

  static std::string getName() { return "FCL"; }
  /// Whether the mesh reaches into each of the regions, 1 or 0; seconds for the first answers.size() ones.
  double ask(std::vector<char>& answers) const;

 private:
  struct tShapes;

  // What the nodes of the tree are. Of those that FCL has, turned boxes are the fastest against boxes, up to ten times,
  // but they miss half of the frusta; turned boxes with swept spheres do not. Other nodes than turned ones have FCL
  // copy the whole tree for every question.
  enum tVolume { eTurnedBoxes, eSweptSpheres };
  tVolume mVolume;
  std::unique_ptr<tShapes> mShapes;
};

}  // namespace qzBench
