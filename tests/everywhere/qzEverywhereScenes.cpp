#include "everywhere/qzEverywhereScenes.h"

#include "support/qzBits.h"
#include "support/qzVectors.h"
#include "support/scenes/qzTestMeshes.h"

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>

// Calls that draw numbers stand in statements of their own: the order in which arguments are evaluated is the
// compiler's choice.

namespace qzTest {

namespace {

/// 2^exponent, for exponents of normal floats.
float powerOfTwo(int exponent) {
  return floatFromBits(static_cast<std::uint32_t>(exponent + 127) << 23);
}

// Meshes.

/// A mesh being made: triangles by their corners.
struct Corners {
  std::vector<Point> points;
  void add(const Point& a, const Point& b, const Point& c) { points.insert(points.end(), {a, b, c}); }
  qz::qzTriMesh mesh() const { return meshOfCorners(points); }
};

/// Value noise at a point of the plane: random heights from 0 to 1 on the integer grid, smoothly joined.
float noise(float x, float y, std::uint32_t seed) {
  const std::uint32_t column = static_cast<std::uint32_t>(x), row = static_cast<std::uint32_t>(y);
  const auto height = [seed](std::uint32_t i, std::uint32_t j) {
    std::uint32_t hash = seed * 0x27D4EB2Fu ^ i * 0x9E3779B1u ^ j * 0x85EBCA77u;
    hash = (hash ^ (hash >> 15)) * 0x2C1B3C6Du;
    hash = (hash ^ (hash >> 12)) * 0x297A2D39u;
    return static_cast<float>((hash ^ (hash >> 15)) >> 8) * 0x1p-24f;
  };
  float u = x - static_cast<float>(column), v = y - static_cast<float>(row);
  u = u * u * (3.0f - 2.0f * u);
  v = v * v * (3.0f - 2.0f * v);
  const float near = height(column, row) * (1.0f - u) + height(column + 1, row) * u;
  const float far = height(column, row + 1) * (1.0f - u) + height(column + 1, row + 1) * u;
  return near * (1.0f - v) + far * v;
}

/// Several octaves of noise on the unit square, from 0 to 2.
float fractal(float x, float y, std::uint32_t seed) {
  float sum = 0.0f, amplitude = 1.0f, frequency = 4.0f;
  for (std::uint32_t octave = 0; octave < 7; ++octave, amplitude *= 0.5f, frequency *= 2.0f) {
    sum += amplitude * noise(x * frequency, y * frequency, seed + octave);
  }
  return sum;
}

/// The triangles of a grid of cells with shared vertices, row after row; those that drop() tells are left out.
std::vector<int> gridIndices(int cells, int firstVertex, const std::function<bool()>& drop) {
  std::vector<int> indices;
  for (int row = 0; row < cells; ++row) {
    for (int column = 0; column < cells; ++column) {
      const int a = firstVertex + row * (cells + 1) + column, b = a + 1, c = a + cells + 1, d = c + 1;
      if (!drop()) indices.insert(indices.end(), {a, b, d});
      if (!drop()) indices.insert(indices.end(), {a, d, c});
    }
  }
  return indices;
}

qz::qzTriMesh terrain() {
  const int cells = 100;
  std::vector<Point> vertices;
  for (int row = 0; row <= cells; ++row) {
    for (int column = 0; column <= cells; ++column) {
      const float x = static_cast<float>(column) / static_cast<float>(cells);
      const float y = static_cast<float>(row) / static_cast<float>(cells);
      vertices.emplace_back(x, y, 0.2f * fractal(x, y, 1));
    }
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)),
                       qz::qzIndexBuffer(gridIndices(cells, 0, [] { return false; })));
}

/// Like scanned data: two overlapping sheets around a bumpy ball, each a range image of its side with noise in its
/// depth and with holes.
qz::qzTriMesh scan() {
  const int cells = 70;
  Random random(2);
  std::vector<Point> vertices;
  std::vector<int> indices;
  for (int side = 0; side < 2; ++side) {
    const int firstVertex = static_cast<int>(vertices.size());
    for (int row = 0; row <= cells; ++row) {
      for (int column = 0; column <= cells; ++column) {
        // Stereographic: a little more than half of the unit sphere.
        const float s = static_cast<float>(column) / static_cast<float>(cells);
        const float t = static_cast<float>(row) / static_cast<float>(cells);
        const float u = 2.0f * s - 1.0f, v = 2.0f * t - 1.0f, square = u * u + v * v, sum = 1.0f + square;
        const Point onSphere(2.0f * u / sum, 2.0f * v / sum, (1.0f - square) / sum);
        const float bumps = 1.0f + 0.1f * fractal(s, t, 30 + static_cast<std::uint32_t>(side));
        const Point point = times(bumps + random.between(-0.002f, 0.002f), onSphere);
        vertices.emplace_back(point[0], point[1], side == 0 ? point[2] : -point[2]);
      }
    }
    const std::vector<int> sheet = gridIndices(cells, firstVertex, [&] { return random.below(32) == 0; });
    indices.insert(indices.end(), sheet.begin(), sheet.end());
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

/// The twelve triangles of a box.
void addBox(Corners& corners, const Point& low, const Point& high) {
  const auto at = [&](int i) {
    return Point(i & 1 ? high[0] : low[0], i & 2 ? high[1] : low[1], i & 4 ? high[2] : low[2]);
  };
  static const int kFaces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  for (const auto& face : kFaces) {
    corners.add(at(face[0]), at(face[1]), at(face[2]));
    corners.add(at(face[0]), at(face[2]), at(face[3]));
  }
}

/// Houses on whole numbers, wall to wall: boxes and rays meet in planes, edges and corners.
qz::qzTriMesh city() {
  Random random(3);
  Corners corners;
  for (int x = 0; x < 24; ++x) {
    for (int y = 0; y < 24; ++y) {
      const float left = static_cast<float>(x), front = static_cast<float>(y);
      const float height = static_cast<float>(1 + random.below(6));
      addBox(corners, Point(left, front, 0.0f), Point(left + 1.0f, front + 1.0f, height));
    }
  }
  return corners.mesh();
}

/// Triangles 2^5 to 2^20 times as long as they are wide.
qz::qzTriMesh needles() {
  Random random(4);
  Corners corners;
  for (int i = 0; i < 4000; ++i) {
    const Point foot = random.point(-1.0f, 1.0f), tip = random.point(-1.0f, 1.0f), side = random.point(-1.0f, 1.0f);
    const float width = powerOfTwo(-5 - static_cast<int>(random.below(16)));
    corners.add(foot, plus(foot, times(width, side)), tip);
  }
  return corners.mesh();
}

/// A few triangles, each sixty times in one place, some copies turned over.
qz::qzTriMesh coincident() {
  const qz::qzTriMesh few = soupMesh(12, 5);
  Corners corners;
  for (int copy = 0; copy < 60; ++copy) {
    for (int i = 0; i < 36; i += 3) {
      const Point a = few.getVertexBuffer()->Position3(i), b = few.getVertexBuffer()->Position3(i + 1),
                  c = few.getVertexBuffer()->Position3(i + 2);
      copy % 7 == 3 ? corners.add(a, c, b) : corners.add(a, b, c);
    }
  }
  return corners.mesh();
}

/// Every corner of every triangle in one place.
qz::qzTriMesh onePoint() {
  const Point point(3.0f, -2.0f, 0.25f);
  return meshOfCorners(std::vector<Point>(3 * 300, point));
}

qz::qzTriMesh oneTriangle() {
  return meshOfCorners({Point(0.0f, 0.0f, 0.0f), Point(1.0f, 0.0f, 0.125f), Point(0.25f, 1.0f, -0.5f)});
}

/// Triangles of a few hundred units, ten million units away: coordinates are whole numbers.
qz::qzTriMesh farAway() {
  Random random(6);
  Corners corners;
  for (int i = 0; i < 4000; ++i) {
    const Point place = plus(Point(1.0e7f, -1.2e7f, 0.9e7f), random.point(-4000.0f, 4000.0f));
    const Point b = plus(place, random.point(-200.0f, 200.0f)), c = plus(place, random.point(-200.0f, 200.0f));
    corners.add(place, b, c);
  }
  return corners.mesh();
}

/// Coordinates of every third triangle are anything: NaN, infinities, denormals, both zeros, very large.
qz::qzTriMesh notNumbers() {
  const qz::qzTriMesh soup = soupMesh(3000, 7);
  Random random(7);
  std::vector<Point> points;
  for (int i = 0; i < 9000; ++i) {
    Point point = times(2.0f, soup.getVertexBuffer()->Position3(i));
    if (i / 3 % 3 == 0 && random.below(2) == 0) {
      const int axis = static_cast<int>(random.below(3));
      point[axis] = random.anyFloat();
    }
    points.push_back(point);
  }
  return meshOfCorners(points);
}

/// No coordinate is a normal number.
qz::qzTriMesh denormals() {
  Random random(8);
  std::vector<Point> points;
  for (int i = 0; i < 3 * 1500; ++i) {
    Point point;
    for (int axis = 0; axis < 3; ++axis) {
      const std::uint32_t sign = random.below(2) << 31;
      point[axis] = floatFromBits(sign | random.below(0x00800000u));
    }
    points.push_back(point);
  }
  return meshOfCorners(points);
}

/// Flat sheets across each axis, several of them twice.
qz::qzTriMesh sheets() {
  const int cells = 12;
  Corners corners;
  for (int sheet = 0; sheet < 18; ++sheet) {
    const int axis = sheet % 3;
    const float height = static_cast<float>(sheet / 3 % 4);
    const auto at = [&](int i, int j) {
      Point point;
      point[axis] = height;
      point[(axis + 1) % 3] = static_cast<float>(i) * 0.25f;
      point[(axis + 2) % 3] = static_cast<float>(j) * 0.25f;
      return point;
    };
    for (int i = 0; i < cells; ++i) {
      for (int j = 0; j < cells; ++j) {
        corners.add(at(i, j), at(i + 1, j), at(i + 1, j + 1));
        corners.add(at(i, j), at(i + 1, j + 1), at(i, j + 1));
      }
    }
  }
  return corners.mesh();
}

/// Sizes from 1 to 2^125: squares of lengths overflow, and boxes reach across most of the floats.
qz::qzTriMesh huge() {
  Random random(9);
  Corners corners;
  for (int i = 0; i < 2000; ++i) {
    const float place = powerOfTwo(static_cast<int>(random.below(124))), size = powerOfTwo(random.below(2) ? 20 : 123);
    const Point a = times(place, random.point(-1.0f, 1.0f));
    const Point b = plus(a, times(size, random.point(-1.0f, 1.0f))),
                c = plus(a, times(size, random.point(-1.0f, 1.0f)));
    corners.add(a, b, c);
  }
  return corners.mesh();
}

/// A cluster of tiny triangles in a corner of two large ones.
qz::qzTriMesh crowd() {
  Random random(10);
  Corners corners;
  corners.add(Point(-1000.0f, -1000.0f, 0.0f), Point(1000.0f, -1000.0f, 0.0f), Point(1000.0f, 1000.0f, 0.0f));
  corners.add(Point(-1000.0f, -1000.0f, 0.0f), Point(1000.0f, 1000.0f, 0.0f), Point(-1000.0f, 1000.0f, 0.0f));
  for (int i = 0; i < 4000; ++i) {
    const Point place = plus(Point(500.0f, -300.0f, 1.0f), random.point(-1.0f, 1.0f));
    const Point b = plus(place, random.point(-0.03f, 0.03f)), c = plus(place, random.point(-0.03f, 0.03f));
    corners.add(place, b, c);
  }
  return corners.mesh();
}

/// All coordinates are 0, -0, 1 or -1.
qz::qzTriMesh zeros() {
  static const float kValues[] = {0.0f, -0.0f, 1.0f, -1.0f};
  Random random(11);
  std::vector<Point> points;
  for (int i = 0; i < 3 * 600; ++i) {
    Point point;
    for (int axis = 0; axis < 3; ++axis) point[axis] = kValues[random.below(4)];
    points.push_back(point);
  }
  return meshOfCorners(points);
}

struct SceneMaker {
  const char* name;
  qz::qzTriMesh (*make)();
};
const SceneMaker kMakers[] = {
    {"terrain", terrain},
    {"soup", [] { return soupMesh(12000, 1); }},
    {"scan", scan},
    {"city", city},
    {"needles", needles},
    {"awkward", [] { return awkwardMesh(3000, 12); }},
    {"coincident", coincident},
    {"one-point", onePoint},
    {"one-triangle", oneTriangle},
    {"far-away", farAway},
    {"not-numbers", notNumbers},
    {"denormals", denormals},
    {"sheets", sheets},
    {"huge", huge},
    {"crowd", crowd},
    {"zeros", zeros},
};

// Rays.

/// A point in the scene's box, made larger by margin times its size on every side.
Point pointAround(const EverywhereScene& scene, float margin, Random& random) {
  Point point;
  for (int axis = 0; axis < 3; ++axis) {
    const float size = scene.max[axis] - scene.min[axis];
    point[axis] = (scene.min[axis] - size * margin) + (size + size * (2.0f * margin)) * random.unit();
  }
  return point;
}

Point anyCorner(const EverywhereScene& scene, Random& random) {
  const unsigned int triangle = random.below(scene.nbTriangles()), number = random.below(3);
  return scene.corner(triangle, number);
}

EverywhereRay anyChord(const EverywhereScene& scene, Random& random) {
  const Point from = pointAround(scene, 0.25f, random), to = pointAround(scene, 0.25f, random);
  EverywhereRay ray{from, minus(to, from), 0.0f, kInf};
  const std::uint32_t kind = random.below(4);
  if (kind == 0) ray.t = 1.0f;
  if (kind == 1) ray.tMin = random.between(-0.5f, 0.5f);
  return ray;
}

std::uint32_t seedOf(const EverywhereScene& scene, std::uint32_t kind) {
  return scene.nbTriangles() * 16u + kind;
}

}  // namespace

unsigned int EverywhereScene::nbTriangles() const {
  return nbTrianglesOf(mesh);
}
Point EverywhereScene::corner(unsigned int triangle, unsigned int number) const {
  return cornerOf(mesh, triangle, static_cast<int>(number));
}

const std::vector<std::string>& sceneNames() {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (const SceneMaker& maker : kMakers) names.emplace_back(maker.name);
    return names;
  }();
  return kNames;
}

EverywhereScene makeScene(const std::string& name) {
  const qzDetail::tFloatMode mode;
  for (const SceneMaker& maker : kMakers) {
    if (name == maker.name) return sceneOf(name, maker.make());
  }
  throw std::invalid_argument("there is no scene called " + name);
}

EverywhereScene sceneOf(const std::string& name, qz::qzTriMesh mesh) {
  const qzDetail::tFloatMode mode;
  EverywhereScene scene{name, std::move(mesh), Point(0.0f, 0.0f, 0.0f), Point(0.0f, 0.0f, 0.0f)};
  for (int axis = 0; axis < 3; ++axis) {
    float min = kInf, max = -kInf;
    for (unsigned int i = 0; i < 3 * scene.nbTriangles(); ++i) {
      const float value = scene.corner(i / 3, i % 3)[axis];
      if (!(value > -0x1p125f && value < 0x1p125f)) continue;
      min = std::min(min, value);
      max = std::max(max, value);
    }
    if (min > max) continue;
    scene.min[axis] = min;
    scene.max[axis] = max;
  }
  return scene;
}

RayBatch cameraRays(const EverywhereScene& scene, std::size_t count) {
  const qzDetail::tFloatMode mode;
  float size = 0.0f;
  for (int axis = 0; axis < 3; ++axis) size = std::max(size, scene.max[axis] - scene.min[axis]);
  const Point middle = plus(scene.min, times(0.5f, minus(scene.max, scene.min)));
  const Point eye = plus(middle, times(size, Point(1.2f, -0.9f, 0.8f)));
  const Point right = times(size, Point(0.6f, 0.8f, 0.0f)), up = times(size, Point(-0.35f, 0.27f, 0.9f));
  RayBatch batch{"camera", RayBatch::eBoth, {}};
  const std::uint32_t side = 150;  // pixels; 7919 is prime, so every pixel has its turn
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t pixel = i * 7919u % (side * side);
    const float x = (static_cast<float>(pixel % side) + 0.5f) / static_cast<float>(side) - 0.5f;
    const float y = (static_cast<float>(pixel / side) + 0.5f) / static_cast<float>(side) - 0.5f;
    const Point target = plus(plus(middle, times(x, right)), times(y, up));
    batch.rays.push_back({eye, minus(target, eye), 0.0f, kInf});
  }
  return batch;
}

RayBatch bounceRays(const EverywhereScene& scene, const RayBatch& camera, const std::vector<RayAnswer>& answers) {
  const qzDetail::tFloatMode mode;
  Random random(seedOf(scene, 1));
  RayBatch batch{"bounce", RayBatch::eBoth, {}};
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const EverywhereRay chord = anyChord(scene, random);
    const Point direction = random.point(-1.0f, 1.0f);
    if (!answers[i].hit) {
      batch.rays.push_back(chord);
      continue;
    }
    const Point from = plus(camera.rays[i].origin, times(answers[i].t, camera.rays[i].direction));
    batch.rays.push_back({from, direction, 0x1p-10f, kInf});
  }
  return batch;
}

RayBatch chords(const EverywhereScene& scene, RayBatch::Policy policy, std::size_t count) {
  const qzDetail::tFloatMode mode;
  Random random(seedOf(scene, 2 + policy));
  RayBatch batch{"chord", policy, {}};
  for (std::size_t i = 0; i < count; ++i) batch.rays.push_back(anyChord(scene, random));
  return batch;
}

RayBatch edgeRays(const EverywhereScene& scene, std::size_t count) {
  const qzDetail::tFloatMode mode;
  Random random(seedOf(scene, 6));
  RayBatch batch{"edge", RayBatch::eBoth, {}};
  for (std::size_t i = 0; i < count; ++i) {
    const Point from = pointAround(scene, 0.25f, random);
    const unsigned int triangle = random.below(scene.nbTriangles()), number = random.below(3);
    const float place = static_cast<float>(random.below(5)) * 0.25f;  // 0: a corner
    const Point a = scene.corner(triangle, number), b = scene.corner(triangle, (number + 1) % 3);
    const Point target = plus(a, times(place, minus(b, a)));
    batch.rays.push_back({from, minus(target, from), 0.0f, kInf});
  }
  return batch;
}

RayBatch axisRays(const EverywhereScene& scene, std::size_t count) {
  const qzDetail::tFloatMode mode;
  Random random(seedOf(scene, 7));
  RayBatch batch{"axis", RayBatch::eBack, {}};
  for (std::size_t i = 0; i < count; ++i) {
    const int axis = static_cast<int>(random.below(3));
    const Point around = pointAround(scene, 0.25f, random);
    EverywhereRay ray{anyCorner(scene, random), Point(0.0f, 0.0f, 0.0f), 0.0f, kInf};
    ray.origin[axis] = around[axis];
    for (int c = 0; c < 3; ++c) ray.direction[c] = random.below(2) == 0 ? 0.0f : -0.0f;
    ray.direction[axis] = random.below(2) == 0 ? 1.0f : -1.0f;
    if (random.below(4) == 0) ray.tMin = -kInf;
    batch.rays.push_back(ray);
  }
  return batch;
}

std::vector<std::vector<Wm4::Vector4<float>>> regions(const EverywhereScene& scene, std::size_t count) {
  const qzDetail::tFloatMode mode;
  Random random(seedOf(scene, 8));
  std::vector<std::vector<Wm4::Vector4<float>>> result;
  float size = 0.0f;
  for (int axis = 0; axis < 3; ++axis) size = std::max(size, scene.max[axis] - scene.min[axis]);
  for (std::size_t i = 0; i < count; ++i) {
    const Point around = pointAround(scene, 0.25f, random), corner = anyCorner(scene, random);
    const Point centre = random.below(2) == 0 ? around : corner;
    const float radius = size * powerOfTwo(-1 - static_cast<int>(random.below(12)));
    const std::uint32_t nbPlanes = 1 + random.below(8);
    const bool isLevel = random.below(4) == 0;  // planes across the axes
    std::vector<Wm4::Vector4<float>> planes;
    for (std::uint32_t k = 0; k < nbPlanes; ++k) {
      Point normal = random.point(-1.0f, 1.0f);
      if (isLevel) {
        normal = Point(0.0f, 0.0f, 0.0f);
        normal[static_cast<int>(k / 2 % 3)] = k % 2 == 0 ? 1.0f : -1.0f;
      }
      planes.emplace_back(normal[0], normal[1], normal[2], radius - dot(normal, centre));
    }
    result.push_back(std::move(planes));
  }
  return result;
}

std::vector<BoxProbe> boxProbes(const EverywhereScene& scene, std::size_t count) {
  const qzDetail::tFloatMode mode;
  Random random(seedOf(scene, 9));
  std::vector<BoxProbe> probes(count);
  for (BoxProbe& probe : probes) {
    for (int i = 0; i < 4; ++i) {
      const Point around = pointAround(scene, 0.25f, random), corner = anyCorner(scene, random);
      probe.corners[i] = random.below(2) == 0 ? around : corner;
    }
    const unsigned int triangle = random.below(scene.nbTriangles());
    for (unsigned int i = 0; i < 3; ++i) probe.triangle[i] = scene.corner(triangle, i);
    probe.direction = minus(probe.corners[2], probe.corners[3]);
    if (random.below(4) == 0) probe.direction[static_cast<int>(random.below(3))] = -0.0f;
    probe.number = random.below(8) == 0 ? random.anyFloat() : probe.corners[3][0];
  }
  return probes;
}

}  // namespace qzTest
