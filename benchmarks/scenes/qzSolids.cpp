#include <benchmarks/scenes/qzSolids.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

namespace qzBench {

namespace {

using tPoint = std::array<double, 3>;

// Vectors of a right-handed frame that no axis and no plane of the coordinates is parallel to.
constexpr tPoint kRight = {2.0 / 3.0, -1.0 / 3.0, 2.0 / 3.0};
constexpr tPoint kForward = {2.0 / 3.0, 2.0 / 3.0, -1.0 / 3.0};
constexpr tPoint kUp = {-1.0 / 3.0, 2.0 / 3.0, 2.0 / 3.0};

tPoint inFrame(double x, double y, double z) {
  tPoint p;
  for (std::size_t axis = 0; axis < 3; ++axis) p[axis] = x * kRight[axis] + y * kForward[axis] + z * kUp[axis];
  return p;
}

tPoint onSphere(const tPoint& p) {
  const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  return {p[0] / length, p[1] / length, p[2] / length};
}

/// Positions rounded once, to float.
qz::qzTriMesh meshOf(const std::vector<tPoint>& points, std::vector<int> indices) {
  std::vector<Wm4::Vector3<float>> positions;
  for (const tPoint& p : points)
    positions.push_back(
        Wm4::Vector3<float>(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])));
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices)));
}

/// Point number k of nbSides on a circle of the radius, at the height.
tPoint onCircle(int k, int nbSides, double radius, double height) {
  const double angle = 6.283185307179586 * k / nbSides;
  return inFrame(radius * std::cos(angle), radius * std::sin(angle), height);
}

}  // namespace

qz::qzTriMesh sphere(int level) {
  const double golden = (1.0 + std::sqrt(5.0)) / 2.0;
  std::vector<tPoint> points;
  for (double one : {-1.0, 1.0})
    for (double other : {-golden, golden}) {
      points.push_back(onSphere({0.0, one, other}));
      points.push_back(onSphere({one, other, 0.0}));
      points.push_back(onSphere({other, 0.0, one}));
    }
  // The faces are the triples of corners next to each other.
  const double squareOfEdge = 4.0 / (1.0 + golden * golden);
  const auto areNeighbours = [&](std::size_t i, std::size_t j) {
    double square = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis)
      square += (points[i][axis] - points[j][axis]) * (points[i][axis] - points[j][axis]);
    return std::fabs(square - squareOfEdge) < 1e-9;
  };
  std::vector<int> indices;
  for (std::size_t i = 0; i < 12; ++i)
    for (std::size_t j = i + 1; j < 12; ++j)
      for (std::size_t k = j + 1; k < 12; ++k) {
        if (!areNeighbours(i, j) || !areNeighbours(j, k) || !areNeighbours(k, i)) continue;
        const tPoint &a = points[i], &b = points[j], &c = points[k];
        const double volume = a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
                              a[2] * (b[0] * c[1] - b[1] * c[0]);
        const int first = static_cast<int>(i), second = static_cast<int>(j), third = static_cast<int>(k);
        indices.insert(indices.end(), {first, volume > 0.0 ? second : third, volume > 0.0 ? third : second});
      }

  for (; level > 0; --level) {
    std::map<std::pair<int, int>, int> middles;
    const auto middleOf = [&](int a, int b) {
      const auto [entry, isNew] =
          middles.try_emplace(std::pair(std::min(a, b), std::max(a, b)), static_cast<int>(points.size()));
      if (isNew) {
        const tPoint &p = points[static_cast<std::size_t>(a)], &q = points[static_cast<std::size_t>(b)];
        points.push_back(onSphere({p[0] + q[0], p[1] + q[1], p[2] + q[2]}));
      }
      return entry->second;
    };
    std::vector<int> finer;
    for (std::size_t i = 0; i < indices.size(); i += 3) {
      const int a = indices[i], b = indices[i + 1], c = indices[i + 2];
      const int ab = middleOf(a, b), bc = middleOf(b, c), ca = middleOf(c, a);
      finer.insert(finer.end(), {a, ab, ca, ab, b, bc, ca, bc, c, ab, bc, ca});
    }
    indices = std::move(finer);
  }
  // In the frame, so that no edge of the icosahedron is parallel to an axis.
  for (tPoint& p : points) p = inFrame(p[0], p[1], p[2]);
  return meshOf(points, std::move(indices));
}

qz::qzTriMesh tube(double slenderness) {
  constexpr int kNbSides = 16;
  const double radius = 0.5 / (slenderness * std::sin(3.141592653589793 / kNbSides));
  std::vector<tPoint> points;
  for (int k = 0; k < kNbSides; ++k) points.push_back(onCircle(k, kNbSides, radius, -0.5));
  for (int k = 0; k < kNbSides; ++k) points.push_back(onCircle(k, kNbSides, radius, 0.5));
  points.push_back(inFrame(0.0, 0.0, -0.5));
  points.push_back(inFrame(0.0, 0.0, 0.5));
  std::vector<int> indices;
  for (int k = 0; k < kNbSides; ++k) {
    const int next = (k + 1) % kNbSides, top = k + kNbSides, nextTop = next + kNbSides;
    indices.insert(indices.end(),
                   {k, next, top, next, nextTop, top, next, k, 2 * kNbSides, top, nextTop, 2 * kNbSides + 1});
  }
  return meshOf(points, std::move(indices));
}

qz::qzTriMesh lens(int nbSides) {
  std::vector<tPoint> points;
  for (int k = 0; k < nbSides; ++k) points.push_back(onCircle(k, nbSides, 1.0, 0.0));
  points.push_back(inFrame(0.0, 0.0, -0.2));
  points.push_back(inFrame(0.0, 0.0, 0.2));
  std::vector<int> indices;
  for (int k = 0; k < nbSides; ++k) {
    const int next = (k + 1) % nbSides;
    indices.insert(indices.end(), {k, next, nbSides + 1, next, k, nbSides});
  }
  return meshOf(points, std::move(indices));
}

}  // namespace qzBench
