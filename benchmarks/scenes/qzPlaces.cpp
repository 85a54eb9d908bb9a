#include <benchmarks/scenes/qzPlaces.h>

#include <algorithm>
#include <cmath>

#include <benchmarks/core/qzRandom.h>

namespace qzBench {

namespace {

qzPlace placeOf(const tVector& v) {
  return {v[0], v[1], v[2]};
}

tVector inBoundingBox(const qzScene& scene, const tVector& share) {
  const tVector size = difference(scene.mMax, scene.mMin);
  return sum(scene.mMin, tVector(share[0] * size[0], share[1] * size[1], share[2] * size[2]));
}

tVector nearSurface(const qzScene& scene, float share, qzRandom& random) {
  const int triangle = static_cast<int>(random.below(static_cast<unsigned>(scene.getNbTriangles())));
  float u = random.unit(), v = random.unit();
  if (u + v > 1.0f) u = 1.0f - u, v = 1.0f - v;
  const tVector corner = scene.getVertex(triangle, 0);
  const tVector place = along(along(corner, u, difference(scene.getVertex(triangle, 1), corner)), v,
                              difference(scene.getVertex(triangle, 2), corner));
  const float distance = random.unit() * share * 2.0f * scene.mRadius;
  return along(place, distance, random.onUnitSphere());
}

}  // namespace

std::vector<qzPlaceSet> makePlaceSets(const qzScene& scene, int count, int gridSide) {
  std::vector<qzPlaceSet> sets = {{"0.1%", {}}, {"1%", {}}, {"uniform", {}}, {"grid", {}}};
  qzRandom random(7);
  for (int i = 0; i < count; ++i) {
    sets[0].mPlaces.push_back(placeOf(nearSurface(scene, 0.001f, random)));
    sets[1].mPlaces.push_back(placeOf(nearSurface(scene, 0.01f, random)));
    sets[2].mPlaces.push_back(placeOf(inBoundingBox(scene, random.inUnitCube())));
  }
  const auto share = [&](int i) { return (float(i) + 0.5f) / float(gridSide); };
  for (int x = 0; x < gridSide; ++x)
    for (int y = 0; y < gridSide; ++y)
      for (int z = 0; z < gridSide; ++z)
        sets[3].mPlaces.push_back(placeOf(inBoundingBox(scene, tVector(share(x), share(y), share(z)))));
  return sets;
}

std::vector<qzAxisBox> makeAxisBoxes(const qzScene& scene, float share, int count) {
  qzRandom random(8);
  const float half = share * scene.mRadius;
  std::vector<qzAxisBox> boxes;
  for (int i = 0; i < count; ++i) {
    const tVector centre =
        share > 0.05f ? inBoundingBox(scene, random.inUnitCube()) : nearSurface(scene, 0.5f * share, random);
    const tVector edge(half, half, half);
    boxes.push_back({placeOf(difference(centre, edge)), placeOf(sum(centre, edge))});
  }
  return boxes;
}

double agreement(const qzScene& scene, const std::vector<qzNearest>& a, const std::vector<qzNearest>& b) {
  std::size_t same = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (std::fabs(a[i].mDistance - b[i].mDistance) <= 1e-5f * a[i].mDistance + 2e-6f * scene.mRadius) ++same;
  return a.empty() ? 1.0 : double(same) / double(a.size());
}

}  // namespace qzBench
