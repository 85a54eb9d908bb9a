#include "support/scenes/qzTestMeshes.h"

#include "support/qzBits.h"
#include "support/qzVectors.h"

#include <cmath>
#include <utility>

namespace qzTest {

using Point = Wm4::Vector3<float>;

unsigned int nbTrianglesOf(const qz::qzTriMesh& mesh) {
  return static_cast<unsigned int>(mesh.getIndexBuffer()->getNbIndices()) / 3;
}

Point cornerOf(const qz::qzTriMesh& mesh, unsigned int triangle, int corner) {
  const int* const indices = mesh.getIndexBuffer()->getIndices() + 3 * std::size_t(triangle);
  return mesh.getVertexBuffer()->Position3(indices[corner]);
}

qz::qzTriMesh meshOfCorners(const std::vector<Point>& corners) {
  std::vector<int> indices(corners.size());
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<int>(i);
  return qz::qzTriMesh(qz::qzVertexBuffer(corners), qz::qzIndexBuffer(std::move(indices)));
}

qz::qzTriMesh scaledAndMoved(const qz::qzTriMesh& mesh, float scale, const Point& offset) {
  std::vector<Point> positions;
  for (int i = 0; i < mesh.getVertexBuffer()->getNbVertices(); ++i) {
    positions.push_back(along(offset, scale, mesh.getVertexBuffer()->Position3(i)));
  }
  const int* const indices = mesh.getIndexBuffer()->getIndices();
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)),
                       qz::qzIndexBuffer(std::vector<int>(indices, indices + mesh.getIndexBuffer()->getNbIndices())));
}

qz::qzTriMesh soupMesh(int nbTriangles, std::uint32_t seed) {
  Random random(seed);
  std::vector<Point> corners;
  for (int t = 0; t < nbTriangles; ++t) {
    const Point center = random.point(-1.0f, 1.0f);
    for (int k = 0; k < 3; ++k) corners.push_back(plus(center, random.point(-0.05f, 0.05f)));
  }
  return meshOfCorners(corners);
}

qz::qzTriMesh terrainMesh(int cells, std::uint32_t seed) {
  Random random(seed);
  const int side = cells + 1;
  std::vector<Point> vertices;
  for (int j = 0; j < side; ++j) {
    for (int i = 0; i < side; ++i) {
      const float x = 2.0f * static_cast<float>(i) / static_cast<float>(cells) - 1.0f;
      const float y = 2.0f * static_cast<float>(j) / static_cast<float>(cells) - 1.0f;
      vertices.emplace_back(x, y, 0.3f * (x * x - y * y * x) + random.between(-0.02f, 0.02f));
    }
  }
  std::vector<int> indices;
  for (int j = 0; j < cells; ++j) {
    for (int i = 0; i < cells; ++i) {
      const int v = j * side + i;
      for (int corner : {v, v + 1, v + side + 1, v, v + side + 1, v + side}) indices.push_back(corner);
    }
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

qz::qzTriMesh sphereMesh(int rings, int segments) {
  const double pi = 3.14159265358979323846;
  std::vector<Point> vertices;
  for (int r = 0; r <= rings; ++r) {
    for (int s = 0; s < segments; ++s) {
      const double theta = pi * r / rings, phi = 2.0 * pi * s / segments;
      vertices.emplace_back(static_cast<float>(std::sin(theta) * std::cos(phi)),
                            static_cast<float>(std::sin(theta) * std::sin(phi)), static_cast<float>(std::cos(theta)));
    }
  }
  std::vector<int> indices;
  for (int r = 0; r < rings; ++r) {
    for (int s = 0; s < segments; ++s) {
      const int next = (s + 1) % segments;
      const int a = r * segments + s, b = r * segments + next, c = a + segments, d = b + segments;
      if (r + 1 < rings) indices.insert(indices.end(), {a, c, d});
      if (r > 0) indices.insert(indices.end(), {a, d, b});
    }
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

qz::qzTriMesh awkwardMesh(int nbTriangles, std::uint32_t seed) {
  Random random(seed);
  std::vector<Point> corners;
  for (int t = 0; t < nbTriangles; ++t) {
    const Point a = random.point(-1.0f, 1.0f);
    Point b = plus(a, random.point(-0.2f, 0.2f)), c = plus(a, random.point(-0.2f, 0.2f));
    switch (random.below(9)) {
      case 0:
        b = a;
        break;
      case 1:
        b = c = a;
        break;
      case 2:
        c = Point(a[0] + 2.0f * (b[0] - a[0]), a[1] + 2.0f * (b[1] - a[1]), a[2] + 2.0f * (b[2] - a[2]));
        break;
      case 3:
        c = Point(b[0], b[1], b[2] + 1e-6f);
        break;
      case 4:
        b = Point(a[0] + 1e-20f, a[1], a[2]);
        c = Point(a[0], a[1] + 1e-20f, a[2]);
        break;
      case 5:
        b = Point(a[0], a[1], a[2] + 1.5f);
        break;
      case 6:
        if (corners.size() >= 3) {  // a triangle that is there already
          const std::size_t same = 3 * random.below(static_cast<std::uint32_t>(corners.size() / 3));
          const Point p = corners[same], q = corners[same + 1], r = corners[same + 2];
          corners.insert(corners.end(), {p, q, r});
          continue;
        }
        break;
      default:
        break;
    }
    corners.insert(corners.end(), {a, b, c});
  }
  return meshOfCorners(corners);
}

}  // namespace qzTest
