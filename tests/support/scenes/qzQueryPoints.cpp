#include "support/scenes/qzQueryPoints.h"

#include <algorithm>
#include <cmath>

namespace qzTest {

QueryPoints::QueryPoints(const QueryMesh& mesh, std::uint32_t seed) : mMesh(mesh), mRandom(seed) {
  if (mesh.triangles.empty()) return;
  mSize = 0.0f;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    float min = kMaxFloat, max = -kMaxFloat;
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
      min = std::min(min, mesh.corner(i / 3, i % 3)[axis]);
      max = std::max(max, mesh.corner(i / 3, i % 3)[axis]);
    }
    mCenter[axis] = 0.5f * (min + max);
    mSize = std::max(mSize, 0.5f * (max - min));
  }
}

QueryPoints::Point QueryPoints::around(float size) {
  Point point;
  for (std::size_t axis = 0; axis < 3; ++axis) point[axis] = mCenter[axis] + mRandom.between(-size, size) * mSize;
  return point;
}

QueryPoints::Point QueryPoints::onMesh() {
  if (mMesh.triangles.empty()) return around();
  const auto triangle = std::size_t(mRandom.below(static_cast<std::uint32_t>(mMesh.triangleCount())));
  const std::size_t k = mRandom.below(3);
  const float *a = mMesh.corner(triangle, k), *b = mMesh.corner(triangle, (k + 1) % 3),
              *c = mMesh.corner(triangle, (k + 2) % 3);
  float u = 0.0f, v = 0.0f;
  switch (mRandom.below(4)) {
    case 0:  // a vertex
      break;
    case 1:  // the middle of an edge
      u = 0.5f;
      break;
    case 2:  // an edge
      u = mRandom.unit();
      break;
    default:
      u = mRandom.unit();
      v = mRandom.unit() * (1.0f - u);
      break;
  }
  Point point;
  for (std::size_t axis = 0; axis < 3; ++axis)
    point[axis] = a[axis] + u * (b[axis] - a[axis]) + v * (c[axis] - a[axis]);
  return point;
}

QueryPoints::Point QueryPoints::inLine() {
  Point point = around();
  const Point target = onMesh();
  const std::uint32_t axes = 1 + mRandom.below(7);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if ((axes >> axis & 1) == 0) continue;
    point[axis] = target[axis];
    const std::uint32_t choice = mRandom.below(8);
    if (choice == 0) point[axis] = std::nextafter(target[axis], kInf);
    if (choice == 1) point[axis] = std::nextafter(target[axis], -kInf);
    if (choice == 2) point[axis] = target[axis] + mRandom.between(-1e-4f, 1e-4f) * mSize;
  }
  return point;
}

QueryPoints::Point QueryPoints::odd() {
  Point point = mRandom.below(2) == 0 ? around() : onMesh();
  static const float kOdd[] = {0.0f, -0.0f, 0x1p-149f, -0x1p-149f, 0x1p-126f, 1e15f, -1e15f, 1.0001e15f, 1e7f};
  float& coordinate = point[mRandom.below(3)];
  coordinate = mRandom.below(2) == 0 ? mRandom.anyFloat() : kOdd[mRandom.below(sizeof kOdd / sizeof kOdd[0])];
  return point;
}

QueryPoints::Point QueryPoints::any() {
  switch (mRandom.below(8)) {
    case 0:
      return odd();
    case 1:
    case 2:
      return around();
    case 3:
      return onMesh();
    default:
      return inLine();
  }
}

PointList QueryPoints::many(std::size_t count) {
  PointList points;
  while (points.size() < count) points.add(any());
  return points;
}

}  // namespace qzTest
