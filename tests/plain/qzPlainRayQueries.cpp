#include "plain/qzPlainRayQueries.h"

#include <qzMeshQueries/kernel/RayTriangle.h>

#include <algorithm>
#include <cstddef>

namespace qzPlain {

using namespace qzMeshQueries;

namespace {

/// Calls take(hit, isFront) for every hit, in the order of the triangles.
template <class Take>
void forEachHit(const Mesh& mesh, std::uint32_t firstTriangle, const Ray& ray, const RayOptions& options, Take take) {
  detail::RayFrame frame;
  if (!detail::makeRayFrame(ray, frame)) return;
  for (std::size_t i = 0; i < mesh.triangleCount; ++i) {
    const std::uint32_t number = firstTriangle + static_cast<std::uint32_t>(i);
    if (number == options.skip) continue;
    const float* corners[3];
    for (std::size_t k = 0; k < 3; ++k) corners[k] = mesh.vertices + 3 * std::size_t(mesh.triangles[3 * i + k]);
    detail::Crossing crossing;
    if (detail::hitsTriangle(frame, options.faces, corners[0], corners[1], corners[2], crossing))
      take(Hit{crossing.t, crossing.u, crossing.v, number}, crossing.isFront);
  }
}

}  // namespace

Hit tRayQueries::closestHit(const Ray& ray, const RayOptions& options) const {
  Hit closest;
  forEachHit(mMesh, mFirstTriangle, ray, options, [&](const Hit& hit, bool) {
    if (!closest || hit.t < closest.t) closest = hit;  // of equal t, the first stays
  });
  return closest;
}

bool tRayQueries::anyHit(const Ray& ray, const RayOptions& options) const {
  bool isHit = false;
  forEachHit(mMesh, mFirstTriangle, ray, options, [&](const Hit&, bool) { isHit = true; });
  return isHit;
}

std::vector<Hit> tRayQueries::allHits(const Ray& ray, const RayOptions& options) const {
  std::vector<Hit> hits;
  forEachHit(mMesh, mFirstTriangle, ray, options, [&](const Hit& hit, bool) { hits.push_back(hit); });
  std::stable_sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) { return a.t < b.t; });
  return hits;
}

Crossings tRayQueries::crossings(const Ray& ray, const RayOptions& options) const {
  Crossings crossings;
  forEachHit(mMesh, mFirstTriangle, ray, options,
             [&](const Hit&, bool isFront) { ++(isFront ? crossings.front : crossings.back); });
  return crossings;
}

}  // namespace qzPlain
