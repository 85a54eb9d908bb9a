#include "builders/plane/qzScenes2D.h"

#include <cmath>
#include <utility>

#include "support/scenes/qzTestBoxes2D.h"

namespace qzTest {

namespace {

qzBBox2D boundsOf(const std::vector<Point>& points) {
  qzBBox2D bounds;
  for (const Point& point : points) bounds.selfExpand(point);
  return bounds;
}

// count points, each made by make().
template <class Make>
std::vector<Point> pointsMadeBy(std::uint32_t count, Make make) {
  std::vector<Point> points;
  for (std::uint32_t i = 0; i < count; ++i) points.push_back(make());
  return points;
}

Scene2D named(const std::string& name, Scene2D scene) {
  scene.name = name;
  return scene;
}

// A random sign and a magnitude between 2^low and 2^high.
float anyOrder(Random& random, int low, int high) {
  const int exponent = low + static_cast<int>(random.below(static_cast<std::uint32_t>(high - low)));
  return std::ldexp(random.below(2) == 0 ? 1.0f + random.unit() : -1.0f - random.unit(), exponent);
}

}  // namespace

Scene2D pointScene(const std::vector<Point>& points) {
  Scene2D scene{"", points, {}, boundsOf(points)};
  for (const Point& point : points) scene.boxes.emplace_back(point);
  return scene;
}

Scene2D randomScene(std::uint32_t count, float size, std::uint32_t seed) {
  Random random(seed);
  Scene2D scene = pointScene(pointsMadeBy(count, [&] { return pointBetween(random, -1.0f, 1.0f); }));
  for (qzBBox2D& box : scene.boxes) box.selfGrow(random.unit() * size * 0.5f);
  return scene;
}

Scene2D sceneInCells(const std::vector<Cell2D>& cells, unsigned int bits) {
  std::vector<Point> points;
  for (const Cell2D& cell : cells) {
    points.emplace_back(static_cast<float>(cell.x) + 0.5f, static_cast<float>(cell.y) + 0.5f);
  }
  Scene2D scene = pointScene(points);
  const float end = static_cast<float>(1u << bits);
  scene.bounds = qzBBox2D::Make(0.0f, 0.0f, end, end);
  return scene;
}

std::vector<Scene2D> scenesOfEveryKind(std::uint32_t count, std::uint32_t seed) {
  Random random(seed);
  const auto anywhere = [&] { return pointBetween(random, -1.0f, 1.0f); };
  const auto ordinary = [&] { return randomScene(count, 0.1f, random.bits()); };
  std::vector<Scene2D> scenes;
  const auto addPoints = [&](const std::string& name, const std::vector<Point>& points) {
    scenes.push_back(named(name, pointScene(points)));
  };

  scenes.push_back(named("one primitive", randomScene(1, 0.5f, random.bits())));
  scenes.push_back(named("two primitives", randomScene(2, 0.5f, random.bits())));
  scenes.push_back(named("three primitives", randomScene(3, 0.5f, random.bits())));
  scenes.push_back(named("five primitives", randomScene(5, 0.5f, random.bits())));
  scenes.push_back(named("random", ordinary()));
  scenes.push_back(named("large boxes", randomScene(count, 5.0f, random.bits())));

  addPoints("two equal points", {Point(1.0f, 2.0f), Point(1.0f, 2.0f)});
  addPoints("all at one point", std::vector<Point>(count, Point(3.0f, -2.0f)));
  const std::vector<Point> few = pointsMadeBy(7, anywhere);
  addPoints("seven different points", pointsMadeBy(count, [&] { return few[random.below(7)]; }));
  addPoints("along x", pointsMadeBy(count, [&] { return Point(random.unit(), 5.0f); }));
  addPoints("along y, ascending", pointsMadeBy(count, [y = 0.0f]() mutable { return Point(0.0f, y += 0.125f); }));
  addPoints("along the diagonal, descending", pointsMadeBy(count, [c = 100.0f]() mutable {
              c -= 0.25f;
              return Point(c, c);
            }));
  addPoints("on a lattice", pointsMadeBy(count, [i = 0]() mutable {
              const int k = i++;
              return Point(static_cast<float>(k % 9), static_cast<float>(k / 9));
            }));
  addPoints("far from the origin", pointsMadeBy(count, [&] {
              const float x = 1e7f + random.between(0.0f, 9.0f);
              return Point(x, -1e7f + random.between(0.0f, 90.0f));
            }));
  addPoints("a cluster and an outlier", pointsMadeBy(count, [&, first = true]() mutable {
              return std::exchange(first, false) ? Point(1000.0f, 1000.0f) : pointBetween(random, -0.01f, 0.01f);
            }));
  addPoints("huge coordinates",
            pointsMadeBy(count, [&] { return pointBetween(random, -kMaxFloat * 0.25f, kMaxFloat * 0.25f); }));
  addPoints("extents that overflow", pointsMadeBy(count, [&] {
              const float x = random.between(0.5f, 1.0f) * kMaxFloat, y = random.between(0.5f, 1.0f) * kMaxFloat;
              return random.below(2) == 0 ? Point(x, -y) : Point(-x, y);
            }));
  addPoints("denormal coordinates", pointsMadeBy(count, [&] {
              const float x = floatFromBits(random.below(0x00800000u)), y = floatFromBits(random.below(0x00800000u));
              return Point(x, -y);
            }));
  addPoints("both zeros", pointsMadeBy(count, [&] {
              const float x = random.below(2) == 0 ? 0.0f : -0.0f, y = random.below(2) == 0 ? 0.0f : -0.0f;
              return Point(x, y);
            }));
  addPoints("infinite points among others", pointsMadeBy(count, [&] {
              const Point p = anywhere();
              return random.below(10) != 0 ? p : Point(p[0], random.below(2) == 0 ? kInf : -kInf);
            }));
  addPoints("all NaN", std::vector<Point>(count, Point(kNaN, -kNaN)));
  addPoints("any floats", pointsMadeBy(count, [&] { return anyPoint(random); }));

  // Points outside ordinary bounds, NaN or infinite.
  const auto withPoints = [&](const std::string& name, auto change) {
    Scene2D scene = ordinary();
    scene.name = name;
    for (Point& point : scene.points) change(point);
    scenes.push_back(scene);
  };
  withPoints("NaN points among others", [&](Point& p) {
    if (random.below(4) == 0) p[static_cast<int>(random.below(2))] = random.below(2) == 0 ? kNaN : -kNaN;
  });
  withPoints("infinite points in ordinary bounds", [&](Point& p) {
    if (random.below(4) == 0) p[static_cast<int>(random.below(2))] = random.below(2) == 0 ? kInf : -kInf;
  });
  withPoints("points around the bounds", [&](Point& p) { p = pointBetween(random, -3.0f, 3.0f); });
  withPoints("points of any magnitude in small bounds", [&](Point& p) {
    const float x = anyOrder(random, -20, 80);
    p = Point(x, anyOrder(random, -20, 80));
  });
  withPoints("any points in ordinary bounds", [&](Point& p) { p = anyPoint(random); });

  const auto withBounds = [&](const std::string& name, const qzBBox2D& bounds) {
    scenes.push_back(named(name, ordinary()));
    scenes.back().bounds = bounds;
  };
  withBounds("bounds of one corner of the points", qzBBox2D::Make(0.25f, 0.25f, 0.75f, 0.5f));
  withBounds("bounds far away", qzBBox2D::Make(1e5f, 1e5f, 1e5f + 16.0f, 1e5f + 1.0f));
  withBounds("much too large bounds", qzBBox2D::Make(-1000.0f, -1000.0f, 1000.0f, 1000.0f));
  withBounds("bounds without extent", qzBBox2D::Make(0.5f, 0.5f, 0.5f, 0.5f));
  withBounds("bounds flat in x", qzBBox2D::Make(0.5f, -1.0f, 0.5f, 1.0f));
  withBounds("bounds flat in y", qzBBox2D::Make(-1.0f, 0.5f, 1.0f, 0.5f));
  withBounds("empty bounds", qzBBox2D());
  withBounds("inverted bounds", qzBBox2D::Make(1.0f, 1.0f, -1.0f, -1.0f));
  withBounds("bounds inverted in x", qzBBox2D::Make(1.0f, -1.0f, -1.0f, 1.0f));
  withBounds("NaN bounds in x", qzBBox2D::Make(kNaN, -1.0f, 1.0f, 1.0f));
  withBounds("NaN bounds in y", qzBBox2D::Make(-1.0f, -1.0f, 1.0f, kNaN));
  withBounds("NaN bounds", qzBBox2D::Make(kNaN, kNaN, kNaN, kNaN));
  withBounds("infinite bounds", qzBBox2D::Make(-kInf, -kInf, kInf, kInf));
  withBounds("bounds infinite on one side", qzBBox2D::Make(-1.0f, -1.0f, kInf, 1.0f));
  withBounds("denormal bounds", qzBBox2D::Make(0.0f, 0.0f, 0x1p-140f, 0x1p-149f));

  // Boxes that do not contain the points: they affect only the boxes of nodes.
  const auto withBoxes = [&](const std::string& name, auto make) {
    scenes.push_back(named(name, ordinary()));
    for (qzBBox2D& box : scenes.back().boxes) box = make();
  };
  withBoxes("boxes of any floats", [&] { return anyBox(random); });
  withBoxes("empty boxes among others", [&] { return random.below(3) == 0 ? qzBBox2D() : properBox(random); });
  withBoxes("all empty", [] { return qzBBox2D(); });
  withBoxes("boxes of zeros of both signs", [&] {
    const auto zero = [&] { return random.below(2) == 0 ? 0.0f : -0.0f; };
    const float a = zero(), b = zero(), c = zero(), d = zero();
    return qzBBox2D::Make(a, b, c, d);
  });
  withBoxes("NaN boxes among others", [&] {
    const qzBBox2D box = properBox(random);
    return qzBBox2D::Make(random.below(3) == 0 ? kNaN : box.xMin(), box.yMin(), box.xMax(),
                          random.below(3) == 0 ? -kNaN : box.yMax());
  });
  withBoxes("inverted boxes", [&] {
    const Point a = anywhere(), b = anywhere();
    return qzBBox2D::Make(a, b);
  });
  return scenes;
}

}  // namespace qzTest
