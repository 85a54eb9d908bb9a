#include "support/scenes/qzBoxScenes.h"

#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qzTest {

namespace {

using Point = Wm4::Vector3<float>;

// count boxes, each made by make().
template <class Make>
std::vector<qzBBox> boxesMadeBy(std::uint32_t count, Make make) {
  std::vector<qzBBox> boxes;
  for (std::uint32_t i = 0; i < count; ++i) boxes.push_back(make());
  return boxes;
}

// A box of six floats made by make(), one after the other.
template <class Make>
qzBBox boxOfDrawn(Make make) {
  Point min, max;
  for (int c = 0; c < 3; ++c) min[c] = make();
  for (int c = 0; c < 3; ++c) max[c] = make();
  return qzBBox::Make(min, max);
}

// A magnitude between 2^low and 2^high.
float anyOrder(Random& random, int low, int high) {
  const int exponent = low + static_cast<int>(random.below(static_cast<std::uint32_t>(high - low)));
  return std::ldexp(1.0f + random.unit(), exponent);
}

}  // namespace

std::vector<qzBBox> boxesOf(const qz::qzTriMesh& mesh) {
  const qzBVHTriangleContainer container(mesh);
  std::vector<qzBBox> boxes;
  for (unsigned int i = 0; i < container.getQuantity(); ++i) boxes.push_back(*container.getBBox(i));
  return boxes;
}

bool sameBoxes(const std::vector<qzBBox>& a, const std::vector<qzBBox>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const qzBBox& p, const qzBBox& q) { return sameBits(p, q); });
}

std::vector<qzBBox> randomBoxes(std::uint32_t count, float size, std::uint32_t seed) {
  Random random(seed);
  return boxesMadeBy(count, [&] {
    const Point min = random.point(-1.0f, 1.0f), edges = random.point(0.0f, size);
    return qzBBox::Make(min, Point(min[0] + edges[0], min[1] + edges[1], min[2] + edges[2]));
  });
}

std::vector<qzBBox> pointBoxes(const std::vector<Point>& points) {
  std::vector<qzBBox> boxes;
  for (const Point& point : points) boxes.emplace_back(point);
  return boxes;
}

std::vector<qzBBox> boxesInCells(const std::vector<Cell>& cells, unsigned int bits) {
  const float end = static_cast<float>(1u << bits);
  std::vector<qzBBox> boxes = {qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f),
                               qzBBox::Make(end - 1.0f, end - 1.0f, end - 1.0f, end, end, end)};
  for (const Cell& cell : cells) {
    boxes.emplace_back(
        Point(static_cast<float>(cell.x) + 0.5f, static_cast<float>(cell.y) + 0.5f, static_cast<float>(cell.z) + 0.5f));
  }
  return boxes;
}

std::vector<Scene> scenesOfEveryKind(std::uint32_t count, std::uint32_t seed) {
  Random random(seed);
  const int nbTriangles = static_cast<int>(count);
  const int side = static_cast<int>(std::sqrt(static_cast<double>(count) / 2.0)) + 1;
  std::vector<Scene> scenes;

  scenes.push_back({"one box", randomBoxes(1, 0.5f, random.bits())});
  scenes.push_back({"two boxes", randomBoxes(2, 0.5f, random.bits())});
  scenes.push_back({"two equal points", pointBoxes({{1.0f, 2.0f, 3.0f}, {1.0f, 2.0f, 3.0f}})});
  scenes.push_back({"three boxes", randomBoxes(3, 0.1f, random.bits())});
  scenes.push_back({"five boxes", randomBoxes(5, 0.1f, random.bits())});
  scenes.push_back({"random boxes", randomBoxes(count, 0.1f, random.bits())});
  scenes.push_back({"large random boxes", randomBoxes(count, 5.0f, random.bits())});
  scenes.push_back({"terrain", boxesOf(terrainMesh(side, random.bits()))});
  scenes.push_back({"soup", boxesOf(soupMesh(nbTriangles, random.bits()))});
  scenes.push_back({"sphere", boxesOf(sphereMesh(side, side + 2))});
  scenes.push_back({"awkward triangles", boxesOf(awkwardMesh(nbTriangles, random.bits()))});

  scenes.push_back({"all at one point", std::vector<qzBBox>(count, qzBBox(Point(3.0f, -2.0f, 0.25f)))});
  scenes.push_back({"one box many times", std::vector<qzBBox>(count, randomBoxes(1, 1.0f, random.bits())[0])});
  const std::vector<qzBBox> few = randomBoxes(7, 0.1f, random.bits());
  scenes.push_back({"seven different boxes", boxesMadeBy(count, [&] { return few[random.below(7)]; })});
  scenes.push_back({"along x", boxesMadeBy(count, [&] { return qzBBox(Point(random.unit(), 5.0f, 5.0f)); })});
  scenes.push_back({"along z, ascending",
                    boxesMadeBy(count, [z = 0.0f]() mutable { return qzBBox(Point(0.0f, 0.0f, z += 0.125f)); })});
  scenes.push_back({"along the diagonal, descending", boxesMadeBy(count, [c = 100.0f]() mutable {
                      c -= 0.25f;
                      return qzBBox(Point(c, c, c));
                    })});
  scenes.push_back({"far from the origin", boxesMadeBy(count, [&] {
                      const float x = 1e7f + random.between(0.0f, 9.0f), z = random.unit();
                      return qzBBox(Point(x, -1e7f, z));
                    })});
  scenes.push_back({"a cluster and an outlier", boxesMadeBy(count, [&, first = true]() mutable {
                      const Point far(1000.0f, 1000.0f, 1000.0f);
                      return qzBBox(std::exchange(first, false) ? far : random.point(-0.01f, 0.01f));
                    })});

  scenes.push_back({"huge coordinates", boxesMadeBy(count, [&] {
                      const float high = kMaxFloat * 0.25f;
                      const Point a = random.point(-high, high), b = random.point(-high, high);
                      return qzBBox::RobustMake(a, b);
                    })});
  scenes.push_back(
      {"sums that overflow", boxesMadeBy(count, [&] { return qzBBox(random.point(0.0f, kMaxFloat * 0.9f)); })});
  scenes.push_back({"extents that overflow", boxesMadeBy(count, [&] {
                      const Point a = random.point(-kMaxFloat, 0.0f), b = random.point(0.0f, kMaxFloat);
                      return qzBBox::RobustMake(a, b);
                    })});
  scenes.push_back({"huge coordinates off the middle", boxesMadeBy(count, [&] {  // the grid begins near -kMaxFloat
                      Point point = random.point(-kMaxFloat * 0.45f, kMaxFloat * 0.45f);
                      point[0] = -kMaxFloat * 0.45f + random.unit() * 1e37f;
                      return qzBBox(point);
                    })});
  scenes.push_back({"denormal coordinates", boxesMadeBy(count, [&] {
                      const auto tiny = [&] { return floatFromBits(random.below(0x00800000u)); };
                      const float x = tiny(), y = tiny(), z = tiny();
                      return qzBBox(Point(x, -y, z));
                    })});
  scenes.push_back({"both zeros", boxesMadeBy(count, [&] {
                      const auto zero = [&] { return random.below(2) == 0 ? 0.0f : -0.0f; };
                      return boxOfDrawn(zero);
                    })});
  scenes.push_back({"infinite boxes among others", boxesMadeBy(count, [&] {
                      qzBBox box = randomBoxes(1, 0.1f, random.bits())[0];
                      if (random.below(10) != 0) return box;
                      return qzBBox::Make(box.getMinPoint(), Point(kInf, box.yMax(), kInf));
                    })});
  scenes.push_back({"infinite boxes", std::vector<qzBBox>(count, qzBBox::Make(-kInf, -kInf, -kInf, kInf, kInf, kInf))});
  for (int axis = 0; axis < 3; ++axis) {  // an extent of inf - inf on one axis
    const std::string name(1, static_cast<char>('x' + axis));
    scenes.push_back({"infinitely far along " + name, boxesMadeBy(count, [&] {
                        Point point = random.point(-1.0f, 1.0f);
                        point[axis] = kInf;
                        return qzBBox(point);
                      })});
  }
  scenes.push_back({"some NaN", boxesMadeBy(count, [&] {
                      const qzBBox box = randomBoxes(1, 0.1f, random.bits())[0];
                      Point min = box.getMinPoint(), max = box.getMaxPoint();
                      if (random.below(4) == 0) min[static_cast<int>(random.below(3))] = kNaN;
                      if (random.below(4) == 0) max[static_cast<int>(random.below(3))] = -kNaN;
                      return qzBBox::Make(min, max);
                    })});
  scenes.push_back({"all NaN", std::vector<qzBBox>(count, qzBBox::Make(kNaN, kNaN, kNaN, kNaN, kNaN, kNaN))});
  scenes.push_back({"any floats", boxesMadeBy(count, [&] { return boxOfDrawn([&] { return random.anyFloat(); }); })});
  scenes.push_back({"all empty", std::vector<qzBBox>(count)});
  scenes.push_back({"empty boxes among others", boxesMadeBy(count, [&] {
                      return random.below(3) == 0 ? qzBBox() : randomBoxes(1, 0.1f, random.bits())[0];
                    })});

  // Inverted boxes have centres far outside the grid, so their cells exceed 32 and 64 bits before they are limited.
  scenes.push_back({"inverted", boxesMadeBy(count, [&] {
                      const Point a = random.point(-1.0f, 1.0f), b = random.point(-1.0f, 1.0f);
                      return qzBBox::Make(a, b);
                    })});
  scenes.push_back({"inverted, of any magnitude", boxesMadeBy(count, [&] {
                      Point min, max;
                      for (int c = 0; c < 3; ++c) {
                        min[c] = anyOrder(random, -20, 50);
                        max[c] = -anyOrder(random, -20, 50);
                      }
                      return qzBBox::Make(min, max);
                    })});
  const qzBBox unit = qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f);
  scenes.push_back({"inverted around a proper box", boxesMadeBy(count, [&, first = true]() mutable {
                      if (std::exchange(first, false)) return unit;
                      Point min, max;
                      for (int c = 0; c < 3; ++c) {
                        min[c] = random.below(2) == 0 ? random.unit() : anyOrder(random, 0, 70);
                        max[c] = random.below(2) == 0 ? random.unit() : -anyOrder(random, 0, 70);
                      }
                      return qzBBox::Make(min, max);
                    })});
  return scenes;
}

}  // namespace qzTest
