#pragma once
// Points and boxes to ask what is near them.

#include <array>
#include <string>
#include <vector>

#include <benchmarks/core/qzVectors.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// What is nearest to a point, by any library.
struct qzNearest {
  float mDistance;
  unsigned mTriangle;
};

/// x y z.
using qzPlace = std::array<float, 3>;

struct qzPlaceSet {
  std::string mName;
  std::vector<qzPlace> mPlaces;
};

/// So many points at up to 0.1 % and 1 % of the diagonal from random points of random triangles ("0.1%", "1%"), as many
/// uniform in the bounding box ("uniform"), and the points of a grid in it, the last axis fastest ("grid").
std::vector<qzPlaceSet> makePlaceSets(const qzScene& scene, int count, int gridSide);

/// A box across the axes.
struct qzAxisBox {
  qzPlace mMin, mMax;
};

/// Cubes around such points near the surface or, for a share above 5 %, anywhere in the bounding box. The edge is a share
/// of the diagonal.
std::vector<qzAxisBox> makeAxisBoxes(const qzScene& scene, float share, int count);

/// Share of the answers with the same distance, but for rounding.
double agreement(const qzScene& scene, const std::vector<qzNearest>& a, const std::vector<qzNearest>& b);

}  // namespace qzBench
