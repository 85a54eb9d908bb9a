#include <benchmarks/scenes/qzRays.h>

#include <algorithm>
#include <cmath>

#include <benchmarks/core/qzRandom.h>

namespace qzBench {

std::vector<qzRay> makeCameraRays(const qzScene& scene, int size) {
  const tVector forward = normalised(tVector(-0.5f, -0.55f, -0.8f));
  tVector right, up;
  completeFrame(forward, right, up);
  const tVector eye = along(scene.mCentre, -1.5f * scene.mRadius, forward);
  std::vector<qzRay> rays;
  for (int row = 0; row < size; ++row)
    for (int column = 0; column < size; ++column) {
      const float x = 0.5f * ((2.0f * float(column) + 1.0f) / float(size) - 1.0f);
      const float y = 0.5f * (1.0f - (2.0f * float(row) + 1.0f) / float(size));
      rays.push_back({eye, normalised(along(along(forward, x, right), y, up))});
    }
  return rays;
}

std::vector<qzRay> makeBounces(const qzScene& scene, const std::vector<qzRay>& rays,
                               const std::vector<qzAnswer>& answers) {
  qzRandom random(1);
  std::vector<qzRay> bounces;
  for (std::size_t i = 0; i < rays.size(); ++i) {
    if (!answers[i].isHit()) continue;
    const int triangle = static_cast<int>(answers[i].mTriangle);
    const tVector corner = scene.getVertex(triangle, 0);
    tVector normal = normalised(
        cross(difference(scene.getVertex(triangle, 1), corner), difference(scene.getVertex(triangle, 2), corner)));
    if (dot(normal, rays[i].mDirection) > 0.0f) normal = scaled(-1.0f, normal);
    // A unit normal plus a uniform point on the unit sphere is cosine-weighted.
    const tVector direction = sum(normal, random.onUnitSphere());
    if (!(dot(direction, direction) > 1e-6f)) continue;
    const tVector hit = along(rays[i].mOrigin, answers[i].mDistance, rays[i].mDirection);
    bounces.push_back({along(hit, 1e-4f * scene.mRadius, normal), normalised(direction)});
  }
  return bounces;
}

std::vector<qzRay> makeChords(const qzScene& scene, int count) {
  qzRandom random(2);
  std::vector<qzRay> chords;
  while (static_cast<int>(chords.size()) < count) {
    const tVector from = random.onUnitSphere(), to = random.onUnitSphere();
    const tVector way = difference(to, from);
    if (!(dot(way, way) > 1e-6f)) continue;
    chords.push_back({along(scene.mCentre, scene.mRadius, from), normalised(way)});
  }
  return chords;
}

std::vector<qzRay> someOf(const std::vector<qzRay>& rays, std::size_t step) {
  std::vector<qzRay> some;
  for (std::size_t i = 0; i < rays.size(); i += step) some.push_back(rays[i]);
  return some;
}

double agreement(const qzScene& scene, const std::vector<qzAnswer>& ours, const std::vector<qzAnswer>& theirs) {
  const std::size_t count = std::min(ours.size(), theirs.size());
  std::size_t same = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const qzAnswer &a = ours[i], &b = theirs[i];
    if (a.isHit() != b.isHit()) continue;
    const float tolerance = std::max(1e-4f * std::max(a.mDistance, b.mDistance), 1e-6f * scene.mRadius);
    if (!a.isHit() || std::fabs(a.mDistance - b.mDistance) <= tolerance) ++same;
  }
  return double(same) / double(count);
}

}  // namespace qzBench
