#include <benchmarks/scenes/qzSolids.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include <benchmarks/core/qzVectors.h>

namespace qzBench {

namespace {

constexpr double kPi = 3.141592653589793;

using tPoints = std::vector<tVector3d>;

// A right-handed frame oblique to the axes and planes of the coordinates.
constexpr tVector3d kRight = {2.0 / 3.0, -1.0 / 3.0, 2.0 / 3.0};
constexpr tVector3d kForward = {2.0 / 3.0, 2.0 / 3.0, -1.0 / 3.0};
constexpr tVector3d kUp = {-1.0 / 3.0, 2.0 / 3.0, 2.0 / 3.0};

tVector3d inFrame(double x, double y, double z) {
  return along(along(scaled(x, kRight), y, kForward), z, kUp);
}

/// Positions rounded once, to float.
qz::qzTriMesh meshOf(const tPoints& points, std::vector<int> indices) {
  std::vector<tVector> positions;
  for (const tVector3d& p : points) positions.push_back(toFloat(p));
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices)));
}

/// Point number k of nbSides on a circle of the radius, at the height.
tVector3d onCircle(int k, int nbSides, double radius, double height) {
  const double angle = 2.0 * kPi * k / nbSides;
  return inFrame(radius * std::cos(angle), radius * std::sin(angle), height);
}

/// The twelve vertices of an icosahedron on the unit sphere.
tPoints icosahedronPoints(double golden) {
  tPoints points;
  for (double one : {-1.0, 1.0})
    for (double other : {-golden, golden}) {
      points.push_back(normalised(tVector3d{0.0, one, other}));
      points.push_back(normalised(tVector3d{one, other, 0.0}));
      points.push_back(normalised(tVector3d{other, 0.0, one}));
    }
  return points;
}

/// Its faces: all triples of adjacent vertices, counter-clockwise from outside.
std::vector<int> icosahedronFaces(const tPoints& points, double squareOfEdge) {
  const auto areAdjacent = [&](std::size_t i, std::size_t j) {
    const tVector3d edge = difference(points[i], points[j]);
    return std::fabs(dot(edge, edge) - squareOfEdge) < 1e-9;
  };
  std::vector<int> indices;
  for (std::size_t i = 0; i < 12; ++i)
    for (std::size_t j = i + 1; j < 12; ++j)
      for (std::size_t k = j + 1; k < 12; ++k) {
        if (!areAdjacent(i, j) || !areAdjacent(j, k) || !areAdjacent(k, i)) continue;
        const bool isOutwards = dot(points[i], cross(points[j], points[k])) > 0.0;
        const int first = static_cast<int>(i), second = static_cast<int>(j), third = static_cast<int>(k);
        indices.insert(indices.end(), {first, isOutwards ? second : third, isOutwards ? third : second});
      }
  return indices;
}

/// Splits every triangle in four at the midpoints of its edges, which are moved to the unit sphere.
void subdivide(tPoints& points, std::vector<int>& indices) {
  std::map<std::pair<int, int>, int> midpoints;
  const auto midpointOf = [&](int a, int b) {
    const auto [entry, isNew] =
        midpoints.try_emplace(std::pair(std::min(a, b), std::max(a, b)), static_cast<int>(points.size()));
    if (isNew)
      points.push_back(normalised(sum(points[static_cast<std::size_t>(a)], points[static_cast<std::size_t>(b)])));
    return entry->second;
  };
  std::vector<int> finer;
  for (std::size_t i = 0; i < indices.size(); i += 3) {
    const int a = indices[i], b = indices[i + 1], c = indices[i + 2];
    const int ab = midpointOf(a, b), bc = midpointOf(b, c), ca = midpointOf(c, a);
    finer.insert(finer.end(), {a, ab, ca, ab, b, bc, ca, bc, c, ab, bc, ca});
  }
  indices = std::move(finer);
}

}  // namespace

qz::qzTriMesh sphere(int level) {
  const double golden = (1.0 + std::sqrt(5.0)) / 2.0;
  tPoints points = icosahedronPoints(golden);
  std::vector<int> indices = icosahedronFaces(points, 4.0 / (1.0 + golden * golden));
  for (; level > 0; --level) subdivide(points, indices);
  // Oblique, so that no edge of the icosahedron is parallel to an axis.
  for (tVector3d& p : points) p = inFrame(p[0], p[1], p[2]);
  return meshOf(points, std::move(indices));
}

qz::qzTriMesh cube(int nbCells) {
  tPoints points;
  std::vector<int> indices;
  std::map<std::array<int, 3>, int> numbers;  // of the points of the grid, from 0 to nbCells on each axis
  const auto numberOf = [&](const std::array<int, 3>& cell) {
    const auto [entry, isNew] = numbers.try_emplace(cell, static_cast<int>(points.size()));
    if (isNew) {
      tVector3d point;
      for (std::size_t axis = 0; axis < 3; ++axis) point[axis] = 2.0 * cell[axis] / nbCells - 1.0;
      points.push_back(point);
    }
    return entry->second;
  };
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const bool isFar : {false, true})
      for (int row = 0; row < nbCells; ++row)
        for (int column = 0; column < nbCells; ++column) {
          const auto corner = [&](int i, int j) {
            std::array<int, 3> cell;
            cell[axis] = isFar ? nbCells : 0;
            cell[(axis + 1) % 3] = column + i;
            cell[(axis + 2) % 3] = row + j;
            return numberOf(cell);
          };
          const int a = corner(0, 0), b = corner(1, 0), c = corner(1, 1), d = corner(0, 1);
          indices.insert(indices.end(), {a, isFar ? b : c, isFar ? c : b, a, isFar ? c : d, isFar ? d : c});
        }
  return meshOf(points, std::move(indices));
}

qz::qzTriMesh torus(int nbAround, int nbAcross, double thickness) {
  tPoints points;
  std::vector<int> indices;
  const auto numberOf = [=](int i, int j) { return (i % nbAround) * nbAcross + j % nbAcross; };
  for (int i = 0; i < nbAround; ++i)
    for (int j = 0; j < nbAcross; ++j) {
      const double angle = 2.0 * kPi * j / nbAcross;
      points.push_back(onCircle(i, nbAround, 1.0 + thickness * std::cos(angle), thickness * std::sin(angle)));
      const int a = numberOf(i, j), b = numberOf(i + 1, j), c = numberOf(i + 1, j + 1), d = numberOf(i, j + 1);
      indices.insert(indices.end(), {a, b, c, a, c, d});
    }
  return meshOf(points, std::move(indices));
}

qz::qzTriMesh tube(double slenderness) {
  constexpr int kNbSides = 16;
  const double radius = 0.5 / (slenderness * std::sin(kPi / kNbSides));
  tPoints points;
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
  tPoints points;
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
