#include <benchmarks/scenes/qzRegions.h>

#include <benchmarks/core/qzRandom.h>

namespace qzBench {

namespace {

/// The half space that begins at point and extends along normal.
Wm4::Vector4<float> plane(const tVector& normal, const tVector& point) {
  const tVector unit = normalised(normal);
  return Wm4::Vector4<float>(unit[0], unit[1], unit[2], -dot(unit, point));
}

tVector inBoundingBox(const qzScene& scene, qzRandom& random) {
  const tVector share = random.inUnitCube(), size = difference(scene.mMax, scene.mMin);
  return sum(scene.mMin, tVector(share[0] * size[0], share[1] * size[1], share[2] * size[2]));
}

tVector onSurface(const qzScene& scene, qzRandom& random) {
  const int triangle = static_cast<int>(random.below(static_cast<unsigned>(scene.getNbTriangles())));
  float u = random.unit(), v = random.unit();
  if (u + v > 1.0f) u = 1.0f - u, v = 1.0f - v;
  const tVector corner = scene.getVertex(triangle, 0);
  return along(along(corner, u, difference(scene.getVertex(triangle, 1), corner)), v,
               difference(scene.getVertex(triangle, 2), corner));
}

}  // namespace

std::vector<qzRegion> makeBoxes(const qzScene& scene, float share, bool nearSurface, int count) {
  qzRandom random(3);
  const float half = share * scene.mRadius;
  std::vector<qzRegion> boxes;
  for (int i = 0; i < count; ++i) {
    qzRegion box;
    box.mHalfEdge = half;
    if (nearSurface) {
      const tVector offset = random.inUnitCube();
      box.mCentre = along(onSurface(scene, random), 4.0f * half, difference(offset, tVector(0.5f, 0.5f, 0.5f)));
    } else {
      box.mCentre = inBoundingBox(scene, random);
    }
    box.mAxes[2] = random.onUnitSphere();
    tVector first, second;
    completeFrame(box.mAxes[2], first, second);
    const tVector turned = random.onUnitSphere();  // only for a random angle around axis 2
    box.mAxes[0] = normalised(sum(scaled(turned[0], first), scaled(turned[1], second)));
    box.mAxes[1] = cross(box.mAxes[2], box.mAxes[0]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      box.mPlanes[2 * axis] = plane(box.mAxes[axis], along(box.mCentre, -half, box.mAxes[axis]));
      box.mPlanes[2 * axis + 1] = plane(scaled(-1.0f, box.mAxes[axis]), along(box.mCentre, half, box.mAxes[axis]));
    }
    for (int corner = 0; corner < 8; ++corner) {
      box.mCorners[corner] = box.mCentre;
      for (int axis = 0; axis < 3; ++axis)
        box.mCorners[corner] = along(box.mCorners[corner], (corner >> axis & 1) != 0 ? half : -half, box.mAxes[axis]);
    }
    boxes.push_back(box);
  }
  return boxes;
}

std::vector<qzRegion> makeFrusta(const qzScene& scene, int count) {
  qzRandom random(4);
  const float slope = 0.00873f;  // tangent of half a degree
  std::vector<qzRegion> frusta;
  for (int i = 0; i < count; ++i) {
    qzRegion frustum;
    frustum.mHalfEdge = 0.0f;
    const tVector eye = along(scene.mCentre, 2.0f * scene.mRadius, random.onUnitSphere());
    const tVector forward = normalised(difference(inBoundingBox(scene, random), eye));
    const float ends[2] = {0.5f * scene.mRadius, 4.0f * scene.mRadius};
    tVector right, up;
    completeFrame(forward, right, up);
    frustum.mAxes[0] = right;
    frustum.mAxes[1] = up;
    frustum.mAxes[2] = forward;
    frustum.mCentre = along(eye, 0.5f * (ends[0] + ends[1]), forward);
    frustum.mPlanes[0] = plane(along(right, slope, forward), eye);
    frustum.mPlanes[1] = plane(along(scaled(-1.0f, right), slope, forward), eye);
    frustum.mPlanes[2] = plane(along(up, slope, forward), eye);
    frustum.mPlanes[3] = plane(along(scaled(-1.0f, up), slope, forward), eye);
    frustum.mPlanes[4] = plane(forward, along(eye, ends[0], forward));
    frustum.mPlanes[5] = plane(scaled(-1.0f, forward), along(eye, ends[1], forward));
    for (int corner = 0; corner < 8; ++corner) {
      const float distance = ends[corner >> 2], width = slope * distance;
      frustum.mCorners[corner] = along(along(along(eye, distance, forward), (corner & 1) != 0 ? width : -width, right),
                                       (corner & 2) != 0 ? width : -width, up);
    }
    frusta.push_back(frustum);
  }
  return frusta;
}

}  // namespace qzBench
