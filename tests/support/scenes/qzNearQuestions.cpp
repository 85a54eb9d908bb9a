#include "support/scenes/qzNearQuestions.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace qzTest {

NearQuestions::NearQuestions(const QueryMesh& mesh, std::uint32_t seed) : mMesh(mesh), mRandom(seed) {
  if (mesh.triangles.empty()) return;
  Place min = {kMaxFloat, kMaxFloat, kMaxFloat}, max = {-kMaxFloat, -kMaxFloat, -kMaxFloat};
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      min[axis] = std::min(min[axis], mesh.corner(i / 3, i % 3)[axis]);
      max[axis] = std::max(max[axis], mesh.corner(i / 3, i % 3)[axis]);
    }
  mSize = 0.0f;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    mCenter[axis] = 0.5f * (min[axis] + max[axis]);
    mSize = std::max(mSize, 0.5f * (max[axis] - min[axis]));
  }
}

Place NearQuestions::around(float size) {
  Place point;
  for (std::size_t axis = 0; axis < 3; ++axis) point[axis] = mCenter[axis] + mRandom.between(-size, size) * mSize;
  return point;
}

Place NearQuestions::onMesh() {
  if (mMesh.triangles.empty()) return around(1.0f);
  const auto triangle = std::size_t(mRandom.below(static_cast<std::uint32_t>(mMesh.triangleCount())));
  const std::size_t k = mRandom.below(3);
  const float *a = mMesh.corner(triangle, k), *b = mMesh.corner(triangle, (k + 1) % 3),
              *c = mMesh.corner(triangle, (k + 2) % 3);
  const std::uint32_t kind = mRandom.below(5);
  const float u = kind == 0 ? 0.0f : kind == 1 ? 0.5f : mRandom.unit();
  const float v = kind < 3 ? 0.0f : mRandom.unit() * (1.0f - u);
  Place point;
  for (std::size_t i = 0; i < 3; ++i) point[i] = a[i] + u * (b[i] - a[i]) + v * (c[i] - a[i]);
  return point;
}

float NearQuestions::oddNumber() {
  static const float kOdd[] = {0.0f, -0.0f, 0x1p-149f, -0x1p-126f, 1e-30f, 1e15f, 1.0001e15f, kInf, -kInf, kNaN};
  return mRandom.below(3) == 0 ? mRandom.anyFloat() : kOdd[mRandom.below(sizeof kOdd / sizeof kOdd[0])];
}

Place NearQuestions::point() {
  switch (mRandom.below(10)) {
    case 0:
      return mCenter;
    case 1:
      return around(1.0f);
    case 2: {  // the middle between two places, often two vertices
      const Place p = onMesh(), q = onMesh();
      Place point;
      for (std::size_t i = 0; i < 3; ++i) point[i] = 0.5f * (p[i] + q[i]);
      return point;
    }
    case 3: {  // beside a place along an axis
      Place point = onMesh();
      point[mRandom.below(3)] += mRandom.between(-0.1f, 0.1f) * mSize;
      return point;
    }
    case 4: {  // just beside
      Place point = onMesh();
      for (float& coordinate : point) coordinate += mRandom.between(-1e-4f, 1e-4f) * mSize;
      return point;
    }
    case 5: {  // far away, the most far as well
      const float size = mRandom.below(2) == 0 ? 1e15f : 100.0f * mSize;
      Place point;
      for (float& coordinate : point)
        coordinate = std::max(-1e15f, std::min(1e15f, mRandom.between(-1.5f, 1.5f) * size));
      return point;
    }
    case 6: {
      Place point = mRandom.below(2) == 0 ? around(1.0f) : onMesh();
      point[mRandom.below(3)] = oddNumber();
      return point;
    }
    default:
      return onMesh();
  }
}

NearQuestion NearQuestions::any() {
  NearQuestion question;
  question.point = point();
  const std::uint32_t kind = mRandom.below(8);
  question.distance = kind < 3    ? kInf
                      : kind == 3 ? oddNumber()
                      : kind == 4 ? 0.0f
                                  : std::ldexp(mSize, 3 - static_cast<int>(mRandom.below(16)));

  const Place p = mRandom.below(2) == 0 ? onMesh() : around(1.2f), q = mRandom.below(4) != 0 ? onMesh() : around(3.0f);
  const float size = std::ldexp(mSize, -static_cast<int>(mRandom.below(12)));
  const std::uint32_t form = mRandom.below(6);
  for (std::size_t i = 0; i < 3; ++i) {
    question.min[i] = form < 3 ? p[i] : std::min(p[i], q[i]);
    question.max[i] = form < 3 ? p[i] + mRandom.unit() * size : std::max(p[i], q[i]);
    if (form == 5 && mRandom.below(2) == 0) question.max[i] = question.min[i];
  }
  if (mRandom.below(16) == 0) question.min[mRandom.below(3)] = oddNumber();
  if (mRandom.below(16) == 0) question.max[mRandom.below(3)] = oddNumber();
  if (mRandom.below(16) == 0) {
    const std::size_t i = mRandom.below(3);
    question.min[i] = -kInf;
    question.max[i] = kInf;
  }

  for (std::uint32_t count = mRandom.below(8); count > 0; --count) {
    // Through a place of the mesh or around it; along an axis every other time; of any length.
    const Place through = mRandom.below(3) == 0 ? onMesh() : around(1.5f);
    PlaneOf plane;
    const bool isAlongAxis = mRandom.below(2) == 0;
    const std::uint32_t axis = mRandom.below(3);
    const float length = mRandom.below(2) == 0 ? 1.0f : std::ldexp(1.0f, static_cast<int>(mRandom.below(60)) - 30);
    for (std::uint32_t i = 0; i < 3; ++i) {
      const float component = mRandom.between(-1.0f, 1.0f);
      plane[i] = isAlongAxis ? (i == axis ? std::copysign(length, component) : 0.0f) : component * length;
    }
    plane[3] = -((plane[0] * through[0] + plane[1] * through[1]) + plane[2] * through[2]);
    if (mRandom.below(24) == 0) plane[mRandom.below(4)] = oddNumber();
    question.planes.push_back(plane);
  }
  return question;
}

std::vector<Place> NearQuestions::grid(int side) {
  std::vector<Place> points;
  const auto step = [&](int i) { return 2.2f * static_cast<float>(i) / static_cast<float>(side - 1) - 1.1f; };
  for (int z = 0; z < side; ++z)
    for (int y = 0; y < side; ++y)
      for (int x = 0; x < side; ++x)
        points.push_back({mCenter[0] + mSize * step(x), mCenter[1] + mSize * step(y), mCenter[2] + mSize * step(z)});
  return points;
}

std::string describe(const Place& point) {
  char text[120];
  std::snprintf(text, sizeof text, "{%a, %a, %a}", double(point[0]), double(point[1]), double(point[2]));
  return text;
}

std::string describe(const NearQuestion& question) {
  char text[120];
  std::snprintf(text, sizeof text, ", %a, box ", double(question.distance));
  std::string all =
      "point " + describe(question.point) + text + describe(question.min) + " " + describe(question.max) + ", planes";
  for (const PlaneOf& plane : question.planes) {
    std::snprintf(text, sizeof text, " {%a, %a, %a, %a}", double(plane[0]), double(plane[1]), double(plane[2]),
                  double(plane[3]));
    all += text;
  }
  return all;
}

}  // namespace qzTest
