#include "support/scenes/qzQueryRays.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace qzTest {

using namespace qzMeshQueries;

QueryRays::QueryRays(const QueryMesh& mesh, std::uint32_t seed) : mMesh(mesh), mRandom(seed) {
  if (mesh.triangles.empty()) return;
  float min[3] = {kMaxFloat, kMaxFloat, kMaxFloat}, max[3] = {-kMaxFloat, -kMaxFloat, -kMaxFloat};
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

QueryRays::Point QueryRays::around(float size) {
  Point point;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    point.x[axis] = mCenter[axis] + mRandom.between(-size, size) * mSize;
  }
  return point;
}

QueryRays::Point QueryRays::target() {
  if (mMesh.triangles.empty()) return around(1.0f);
  const auto triangle = std::size_t(mRandom.below(static_cast<std::uint32_t>(mMesh.triangleCount())));
  const std::size_t k = mRandom.below(3);
  const float *a = mMesh.corner(triangle, k), *b = mMesh.corner(triangle, (k + 1) % 3),
              *c = mMesh.corner(triangle, (k + 2) % 3);
  float u = 0.0f, v = 0.0f;
  switch (mRandom.below(5)) {
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
  for (std::size_t axis = 0; axis < 3; ++axis) {
    point.x[axis] = a[axis] + u * (b[axis] - a[axis]) + v * (c[axis] - a[axis]);
  }
  return point;
}

Ray QueryRays::chord() {
  const Point from = around(2.0f), to = mRandom.below(2) == 0 ? around(1.0f) : target();
  Ray ray;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    ray.origin[axis] = from.x[axis];
    ray.direction[axis] = to.x[axis] - from.x[axis];
  }
  return ray;
}

Ray QueryRays::aimed() {
  const Point to = target();
  Point from = around(2.0f);
  const std::size_t axis = mRandom.below(3);
  bool isFromTarget = false;
  switch (mRandom.below(9)) {
    case 0:  // along an axis
    case 1: {
      const float origin = from.x[axis];
      from = to;
      from.x[axis] = origin;
      break;
    }
    case 2:  // across an axis
      from.x[axis] = to.x[axis];
      break;
    case 3:  // from another place of the mesh
      from = target();
      break;
    case 4: {  // within the plane of a triangle
      const Point other = target();
      const float far = mRandom.between(-8.0f, 8.0f);
      for (std::size_t i = 0; i < 3; ++i) from.x[i] = other.x[i] + far * (other.x[i] - to.x[i]);
      break;
    }
    case 5:  // from far away
      for (float& coordinate : from.x) coordinate = mRandom.between(-1.0f, 1.0f) * 1e7f;
      break;
    case 6:
      for (float& coordinate : from.x) coordinate = mRandom.between(-1.0f, 1.0f) * 1e15f;
      break;
    case 7:
      isFromTarget = true;
      break;
    default:
      break;
  }
  Ray ray;
  float largest = 0.0f;
  for (std::size_t i = 0; i < 3; ++i) {
    ray.origin[i] = isFromTarget ? to.x[i] : std::max(-1e15f, std::min(1e15f, from.x[i]));
    ray.direction[i] = isFromTarget ? mRandom.between(-1.0f, 1.0f) : to.x[i] - ray.origin[i];
    largest = std::max(largest, std::fabs(ray.direction[i]));
  }
  if (mRandom.below(3) == 0 && largest > 0.0f) {
    int exponent;
    std::frexp(largest, &exponent);
    const int shift = static_cast<int>(mRandom.below(253)) - 125 - exponent;  // 2^-126 to 2^126, roughly
    for (float& component : ray.direction) component = std::ldexp(component, shift);
  }
  return ray;
}

Ray QueryRays::odd() {
  Ray ray = mRandom.below(2) == 0 ? aimed() : chord();
  const auto change = [&](float& number) {
    static const float kOdd[] = {0.0f, -0.0f, 0x1p-149f, -0x1p-149f, 0x1p-126f, -1e-30f, 1e-10f, 1e38f, -1e38f};
    number = mRandom.below(4) == 0 ? mRandom.anyFloat() : pick(kOdd, sizeof kOdd / sizeof kOdd[0]);
  };
  for (std::uint32_t count = 1 + mRandom.below(3); count > 0; --count) {
    change(mRandom.below(4) == 0 ? ray.origin[mRandom.below(3)] : ray.direction[mRandom.below(3)]);
  }
  return ray;
}

void QueryRays::limit(Ray& ray) {
  static const float kLimits[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, kInf, -kInf, kMaxFloat, -kMaxFloat, 0x1p-149f, kNaN};
  switch (mRandom.below(8)) {
    case 0:
      ray.tMin = -kInf;
      break;
    case 1:
      ray.tMin = pick(kLimits, sizeof kLimits / sizeof kLimits[0]);
      ray.tMax = pick(kLimits, sizeof kLimits / sizeof kLimits[0]);
      break;
    case 2:  // around the target
      ray.tMin = 1.0f - 0x1p-20f;
      ray.tMax = 1.0f + 0x1p-20f;
      break;
    case 3:
      ray.tMin = mRandom.between(-2.0f, 1.0f);
      ray.tMax = ray.tMin + mRandom.between(0.0f, 2.0f);
      break;
    case 4:
      ray.tMin = ray.tMax = mRandom.below(2) == 0 ? 1.0f : 0.0f;
      break;
    default:
      break;
  }
}

Ray QueryRays::any() {
  const std::uint32_t kind = mRandom.below(8);
  Ray ray = kind < 4 ? aimed() : kind < 7 ? chord() : odd();
  limit(ray);
  return ray;
}

Ray QueryRays::line() {
  Ray ray = aimed();
  ray.tMin = -kInf;
  ray.tMax = kInf;
  return ray;
}

RayOptions QueryRays::anyOptions() {
  RayOptions options;
  const std::uint32_t choice = mRandom.below(4);
  options.faces = choice == 0 ? Faces::front : choice == 1 ? Faces::back : Faces::both;
  if (mRandom.below(4) == 0 && !mMesh.triangles.empty())
    options.skip = mRandom.below(static_cast<std::uint32_t>(mMesh.triangleCount()));
  return options;
}

std::vector<Ray> QueryRays::camera(int width, int height) {
  // Looks from outside or inside along an axis, in a cone of any angle.
  const std::size_t depth = mRandom.below(3), across = (depth + 1) % 3, up = (depth + 2) % 3;
  const Point eye = around(mRandom.below(3) == 0 ? 0.5f : 3.0f);
  const float angle = mRandom.below(2) == 0 ? 0.05f : 1.0f;
  std::vector<Ray> rays;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      Ray ray;
      std::copy(eye.x, eye.x + 3, ray.origin);
      ray.direction[depth] = mCenter[depth] > eye.x[depth] ? 1.0f : -1.0f;
      ray.direction[across] = angle * (2.0f * (static_cast<float>(x) + 0.5f) / static_cast<float>(width) - 1.0f);
      ray.direction[up] = angle * (2.0f * (static_cast<float>(y) + 0.5f) / static_cast<float>(height) - 1.0f);
      for (const std::size_t axis : {across, up})
        if (mSize > 0.0f) ray.direction[axis] += (mCenter[axis] - eye.x[axis]) / (4.0f * mSize);
      rays.push_back(ray);
    }
  return rays;
}

std::vector<Ray> QueryRays::parallel(int width, int height) {
  const std::size_t depth = mRandom.below(3), across = (depth + 1) % 3, up = (depth + 2) % 3;
  const float sign = mRandom.below(2) == 0 ? 1.0f : -1.0f;
  std::vector<Ray> rays;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      // The outermost run along the sides of the box around the mesh.
      Ray ray;
      ray.origin[depth] = mCenter[depth] - 2.0f * sign * mSize;
      ray.origin[across] =
          mCenter[across] + mSize * (2.0f * static_cast<float>(x) / static_cast<float>(std::max(1, width - 1)) - 1.0f);
      ray.origin[up] =
          mCenter[up] + mSize * (2.0f * static_cast<float>(y) / static_cast<float>(std::max(1, height - 1)) - 1.0f);
      ray.direction[depth] = sign;
      ray.direction[across] = ray.direction[up] = 0.0f;
      rays.push_back(ray);
    }
  return rays;
}

std::vector<Ray> QueryRays::many(std::size_t count) {
  std::vector<Ray> rays;
  while (rays.size() < count) rays.push_back(any());
  return rays;
}

namespace {

std::string textOf(const char* format, double a, double b, double c, double d) {
  char text[200];
  std::snprintf(text, sizeof text, format, a, b, c, d);
  return text;
}

}  // namespace

std::string describe(const Ray& ray) {
  return textOf("{{%a, %a, %a}, %a, ", ray.origin[0], ray.origin[1], ray.origin[2], ray.tMin) +
         textOf("{%a, %a, %a}, %a}", ray.direction[0], ray.direction[1], ray.direction[2], ray.tMax);
}

std::string describe(const RayOptions& options) {
  static const char* const kNames[] = {"both", "front", "back"};
  return std::string(kNames[static_cast<int>(options.faces)]) + ", skip " + std::to_string(options.skip);
}

std::string describe(const Hit& hit) {
  return textOf("{%a, %a, %a, ", hit.t, hit.u, hit.v, 0.0) + std::to_string(hit.triangle) + "}";
}

}  // namespace qzTest
