#include "support/scenes/qzQueryMeshes.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

namespace qzTest {

std::uint32_t QueryMesh::addVertex(float x, float y, float z) {
  vertices.insert(vertices.end(), {x, y, z});
  return static_cast<std::uint32_t>(vertexCount() - 1);
}

void QueryMesh::addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  triangles.insert(triangles.end(), {a, b, c});
}

QueryMesh queryMeshOf(const std::string& name, const qz::qzTriMesh& mesh) {
  QueryMesh result;
  result.name = name;
  for (int i = 0; i < mesh.getVertexBuffer()->getNbVertices(); ++i) {
    const Wm4::Vector3<float> p = mesh.getVertexBuffer()->Position3(i);
    result.addVertex(p[0], p[1], p[2]);
  }
  const int* const indices = mesh.getIndexBuffer()->getIndices();
  for (unsigned int i = 0; i < 3 * nbTrianglesOf(mesh); ++i)
    result.triangles.push_back(static_cast<std::uint32_t>(indices[i]));
  return result;
}

QueryMesh joined(const std::string& name, const QueryMesh& a, const QueryMesh& b) {
  QueryMesh result = a;
  result.name = name;
  const auto nbBefore = static_cast<std::uint32_t>(a.vertexCount());
  result.vertices.insert(result.vertices.end(), b.vertices.begin(), b.vertices.end());
  for (const std::uint32_t vertex : b.triangles) result.triangles.push_back(nbBefore + vertex);
  return result;
}

QueryMesh transformed(const QueryMesh& mesh, float scale, float x, float y, float z) {
  QueryMesh result = mesh;
  const float offset[3] = {x, y, z};
  for (std::size_t i = 0; i < result.vertices.size(); ++i)
    result.vertices[i] = scale * result.vertices[i] + offset[i % 3];
  return result;
}

QueryMesh unshared(const QueryMesh& mesh) {
  QueryMesh result;
  result.name = mesh.name + ", unshared";
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    const float* const p = mesh.corner(i / 3, i % 3);
    result.triangles.push_back(result.addVertex(p[0], p[1], p[2]));
  }
  return result;
}

namespace {

/// A grid over two axes of the unit cube's side at the end of the third, seen from outside counterclockwise.
void addSide(QueryMesh& mesh, int axis, bool isMax, int cells) {
  const auto across = static_cast<std::size_t>(axis);
  const std::size_t first = (across + 1) % 3, second = (across + 2) % 3;
  const auto vertexAt = [&](int i, int j) {
    float p[3];
    p[across] = isMax ? 0.5f : -0.5f;
    p[first] = static_cast<float>(i) / static_cast<float>(cells) - 0.5f;
    p[second] = static_cast<float>(j) / static_cast<float>(cells) - 0.5f;
    return mesh.addVertex(p[0], p[1], p[2]);
  };
  for (int i = 0; i < cells; ++i)
    for (int j = 0; j < cells; ++j) {
      const std::uint32_t a = vertexAt(i, j), b = vertexAt(i + 1, j), c = vertexAt(i + 1, j + 1),
                          d = vertexAt(i, j + 1);
      if (isMax) {
        mesh.addTriangle(a, b, c);
        mesh.addTriangle(a, c, d);
      } else {
        mesh.addTriangle(a, c, b);
        mesh.addTriangle(a, d, c);
      }
    }
}

}  // namespace

QueryMesh gridBoxMesh(int cells) {
  QueryMesh mesh;
  mesh.name = "grid box of " + std::to_string(cells);
  for (int axis = 0; axis < 3; ++axis)
    for (const bool isMax : {false, true}) addSide(mesh, axis, isMax, cells);
  return mesh;
}

QueryMesh cubeMesh() {
  QueryMesh mesh;
  mesh.name = "cube";
  for (int i = 0; i < 8; ++i)
    mesh.addVertex((i & 1) != 0 ? 0.5f : -0.5f, (i & 2) != 0 ? 0.5f : -0.5f, (i & 4) != 0 ? 0.5f : -0.5f);
  static const std::uint32_t kSides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                             {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  for (const auto& side : kSides) {
    mesh.addTriangle(side[0], side[1], side[2]);
    mesh.addTriangle(side[0], side[2], side[3]);
  }
  return mesh;
}

QueryMesh icosphereMesh(int nbSubdivisions) {
  QueryMesh mesh;
  mesh.name = "icosphere " + std::to_string(nbSubdivisions);
  const auto addOnSphere = [&](double x, double y, double z) {
    const double length = std::sqrt(x * x + y * y + z * z);
    return mesh.addVertex(static_cast<float>(x / length), static_cast<float>(y / length),
                          static_cast<float>(z / length));
  };
  const double phi = (1.0 + std::sqrt(5.0)) / 2.0;
  for (const double s : {-1.0, 1.0})
    for (const double t : {-phi, phi}) {
      addOnSphere(0.0, s, t);
      addOnSphere(s, t, 0.0);
      addOnSphere(t, 0.0, s);
    }
  // The faces are the triples of vertices at the smallest distance.
  const auto isEdge = [&](std::uint32_t a, std::uint32_t b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
      const double d = double(mesh.vertices[3 * a + i]) - double(mesh.vertices[3 * b + i]);
      sum += d * d;
    }
    return sum < 1.2;  // edges have 1.11, other pairs at least 2.89
  };
  const auto addOutwards = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const float *p = &mesh.vertices[3 * a], *q = &mesh.vertices[3 * b], *r = &mesh.vertices[3 * c];
    const float volume =
        p[0] * (q[1] * r[2] - q[2] * r[1]) + p[1] * (q[2] * r[0] - q[0] * r[2]) + p[2] * (q[0] * r[1] - q[1] * r[0]);
    volume > 0.0f ? mesh.addTriangle(a, b, c) : mesh.addTriangle(a, c, b);
  };
  for (std::uint32_t a = 0; a < 12; ++a)
    for (std::uint32_t b = a + 1; b < 12; ++b)
      for (std::uint32_t c = b + 1; c < 12; ++c)
        if (isEdge(a, b) && isEdge(b, c) && isEdge(a, c)) addOutwards(a, b, c);
  for (int level = 0; level < nbSubdivisions; ++level) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> middles;
    const auto middleOf = [&](std::uint32_t a, std::uint32_t b) {
      const auto key = std::minmax(a, b);
      const auto found = middles.find(key);
      if (found != middles.end()) return found->second;
      const auto at = [&](std::uint32_t vertex, std::size_t i) { return double(mesh.vertices[3 * vertex + i]); };
      const std::uint32_t middle = addOnSphere(at(a, 0) + at(b, 0), at(a, 1) + at(b, 1), at(a, 2) + at(b, 2));
      middles.emplace(key, middle);
      return middle;
    };
    const std::vector<std::uint32_t> before = std::move(mesh.triangles);
    mesh.triangles.clear();
    for (std::size_t i = 0; i < before.size(); i += 3) {
      const std::uint32_t a = before[i], b = before[i + 1], c = before[i + 2];
      const std::uint32_t ab = middleOf(a, b), bc = middleOf(b, c), ca = middleOf(c, a);
      mesh.addTriangle(a, ab, ca);
      mesh.addTriangle(b, bc, ab);
      mesh.addTriangle(c, ca, bc);
      mesh.addTriangle(ab, bc, ca);
    }
  }
  return mesh;
}

QueryMesh torusMesh(int nbRings, int nbSegments) {
  QueryMesh mesh;
  mesh.name = "torus";
  const double turn = 6.283185307179586;
  for (int i = 0; i < nbRings; ++i)
    for (int j = 0; j < nbSegments; ++j) {
      const double a = turn * i / nbRings, b = turn * j / nbSegments, radius = 0.7 + 0.3 * std::cos(b);
      mesh.addVertex(static_cast<float>(radius * std::cos(a)), static_cast<float>(radius * std::sin(a)),
                     static_cast<float>(0.3 * std::sin(b)));
    }
  const auto vertexAt = [&](int i, int j) {
    return static_cast<std::uint32_t>((i % nbRings) * nbSegments + j % nbSegments);
  };
  for (int i = 0; i < nbRings; ++i)
    for (int j = 0; j < nbSegments; ++j) {
      mesh.addTriangle(vertexAt(i, j), vertexAt(i + 1, j), vertexAt(i + 1, j + 1));
      mesh.addTriangle(vertexAt(i, j), vertexAt(i + 1, j + 1), vertexAt(i, j + 1));
    }
  return mesh;
}

QueryMesh starMesh(int nbSubdivisions, std::uint32_t seed) {
  QueryMesh mesh = icosphereMesh(nbSubdivisions);
  mesh.name = "star " + std::to_string(seed);
  Random random(seed);
  for (std::size_t i = 0; i < mesh.vertices.size(); i += 3) {
    const float distance = random.between(0.2f, 1.0f);
    for (std::size_t k = 0; k < 3; ++k) mesh.vertices[i + k] *= distance;
  }
  return mesh;
}

std::vector<QueryMesh> closedMeshes() {
  return {cubeMesh(),        gridBoxMesh(5),  icosphereMesh(0), icosphereMesh(3),
          torusMesh(24, 12), starMesh(1, 61), starMesh(2, 62),  starMesh(3, 63)};
}

namespace {

QueryMesh named(const std::string& name) {
  QueryMesh mesh;
  mesh.name = name;
  return mesh;
}

QueryMesh soupOf(const std::string& name, int nbTriangles, float size, std::uint32_t seed) {
  QueryMesh mesh = named(name);
  Random random(seed);
  for (int t = 0; t < nbTriangles; ++t) {
    const Wm4::Vector3<float> center = random.point(-1.0f, 1.0f);
    std::uint32_t corners[3];
    for (std::uint32_t& corner : corners) {
      const Wm4::Vector3<float> offset = random.point(-size, size);
      corner = mesh.addVertex(center[0] + offset[0], center[1] + offset[1], center[2] + offset[2]);
    }
    mesh.addTriangle(corners[0], corners[1], corners[2]);
  }
  return mesh;
}

/// Points, segments, collinear corners, and a few triangles with area.
QueryMesh withoutArea() {
  QueryMesh mesh = named("zero area");
  Random random(71);
  for (int i = 0; i < 60; ++i) {
    const Wm4::Vector3<float> a = random.point(-1.0f, 1.0f), d = random.point(-0.25f, 0.25f);
    const std::uint32_t p = mesh.addVertex(a[0], a[1], a[2]);
    const std::uint32_t q = mesh.addVertex(a[0] + d[0], a[1] + d[1], a[2] + d[2]);
    const std::uint32_t same = mesh.addVertex(a[0], a[1], a[2]);
    const std::uint32_t beyond = mesh.addVertex(a[0] + 2.0f * d[0], a[1] + 2.0f * d[1], a[2] + 2.0f * d[2]);
    const std::uint32_t aside = mesh.addVertex(a[0] + d[1], a[1] + d[2], a[2] + d[0]);
    switch (i % 6) {
      case 0:
        mesh.addTriangle(p, p, p);
        break;
      case 1:
        mesh.addTriangle(p, q, p);
        break;
      case 2:
        mesh.addTriangle(p, q, same);
        break;
      case 3:
        mesh.addTriangle(p, q, beyond);
        break;
      case 4:
        mesh.addTriangle(p, same, same);
        break;
      default:
        mesh.addTriangle(p, q, aside);
        break;
    }
  }
  return mesh;
}

QueryMesh slivers() {
  QueryMesh mesh = named("slivers");
  Random random(72);
  for (int i = 0; i < 80; ++i) {
    const Wm4::Vector3<float> a = random.point(-1.0f, 1.0f), b = random.point(-1.0f, 1.0f);
    const float width = 0.01f * static_cast<float>(std::ldexp(1.0, -static_cast<int>(random.below(24))));
    const std::uint32_t p = mesh.addVertex(a[0], a[1], a[2]), q = mesh.addVertex(b[0], b[1], b[2]);
    const std::uint32_t r = mesh.addVertex(0.5f * (a[0] + b[0]) + width, 0.5f * (a[1] + b[1]), 0.5f * (a[2] + b[2]));
    mesh.addTriangle(p, q, r);
    mesh.addTriangle(q, p, r);
  }
  return mesh;
}

/// Coordinates of all sizes, from denormal to the largest allowed.
QueryMesh manyScales(const std::string& name, int lowest, int highest, std::uint32_t seed) {
  QueryMesh mesh = named(name);
  Random random(seed);
  const auto coordinate = [&](int exponent) {
    return std::fmin(1e15f, std::fmax(-1e15f, std::ldexp(random.between(-1.0f, 1.0f), exponent)));
  };
  for (int i = 0; i < 90; ++i) {
    const int exponent = lowest + static_cast<int>(random.below(static_cast<std::uint32_t>(highest - lowest + 1)));
    std::uint32_t corners[3];
    for (std::uint32_t& corner : corners) {
      const float x = coordinate(exponent), y = coordinate(exponent), z = coordinate(exponent);
      corner = mesh.addVertex(x, y, z);
    }
    mesh.addTriangle(corners[0], corners[1], corners[2]);
  }
  return mesh;
}

QueryMesh fan(int nbTriangles) {
  QueryMesh mesh = named("fan of " + std::to_string(nbTriangles));
  const std::uint32_t center = mesh.addVertex(0.0f, 0.0f, 0.25f);
  for (int i = 0; i < nbTriangles; ++i) {
    const double angle = 6.283185307179586 * i / nbTriangles;
    mesh.addVertex(static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0.0f);
  }
  for (int i = 0; i < nbTriangles; ++i) {
    const auto rim = [&](int k) { return static_cast<std::uint32_t>(1 + k % nbTriangles); };
    mesh.addTriangle(center, rim(i), rim(i + 1));
  }
  return mesh;
}

/// Copies of one triangle, every other one turned over.
QueryMesh duplicates(int nbCopies) {
  QueryMesh mesh = named(std::to_string(nbCopies) + " duplicates");
  const std::uint32_t a = mesh.addVertex(-1.0f, -1.0f, 0.5f), b = mesh.addVertex(1.0f, -1.0f, 0.0f),
                      c = mesh.addVertex(0.0f, 1.0f, -0.5f);
  for (int i = 0; i < nbCopies; ++i) i % 2 == 0 ? mesh.addTriangle(a, b, c) : mesh.addTriangle(a, c, b);
  return mesh;
}

/// Triangles around one centroid, which no plane separates.
QueryMesh concentric(int nbTriangles) {
  QueryMesh mesh = named("concentric");
  for (int i = 0; i < nbTriangles; ++i) {
    const float size = std::ldexp(1.0f, -(i % 20));
    const float shift = static_cast<float>(i / 20) * 0.25f;
    const std::uint32_t a = mesh.addVertex(-size, -size, shift), b = mesh.addVertex(size, -size, shift),
                        c = mesh.addVertex(0.0f, 2.0f * size, -2.0f * shift);
    mesh.addTriangle(a, b, c);
  }
  return mesh;
}

QueryMesh withNegativeZeros(QueryMesh mesh) {
  mesh.name += ", both zeros";
  for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
    if (std::fabs(mesh.vertices[i]) < 0.3f) mesh.vertices[i] = i % 2 == 0 ? 0.0f : -0.0f;
  }
  return mesh;
}

QueryMesh flat(QueryMesh mesh, std::size_t axis) {
  mesh.name += ", flat";
  for (std::size_t i = axis; i < mesh.vertices.size(); i += 3) mesh.vertices[i] = 0.5f;
  return mesh;
}

/// Unused vertices hold anything.
QueryMesh withUnusedVertices(const QueryMesh& mesh) {
  QueryMesh result = named(mesh.name + ", unused vertices");
  result.addVertex(kNaN, kInf, -kInf);
  for (std::size_t i = 0; i < mesh.vertices.size(); i += 3) {
    result.addVertex(mesh.vertices[i], mesh.vertices[i + 1], mesh.vertices[i + 2]);
    result.addVertex(1e16f, kNaN, -kMaxFloat);
  }
  for (const std::uint32_t vertex : mesh.triangles) result.triangles.push_back(1 + 2 * vertex);
  return result;
}

}  // namespace

std::vector<QueryMesh> difficultMeshes() {
  std::vector<QueryMesh> meshes;
  meshes.push_back(named("no triangles"));
  for (const int count : {1, 7, 8, 9, 17, 130})
    meshes.push_back(soupOf("soup of " + std::to_string(count), count, 0.5f, 70));
  meshes.push_back(soupOf("soup of small triangles", 300, 0.1f, 75));
  for (const int count : {1, 9, 40}) meshes.push_back(duplicates(count));
  meshes.push_back(joined("duplicates and soup", duplicates(33), soupOf("", 30, 0.5f, 76)));
  meshes.push_back(withoutArea());
  meshes.push_back(slivers());
  meshes.push_back(queryMeshOf("awkward", awkwardMesh(150, 73)));
  meshes.push_back(unshared(cubeMesh()));
  meshes.push_back(withNegativeZeros(icosphereMesh(1)));
  meshes.push_back(transformed(icosphereMesh(1), 1e-42f, 0.0f, 0.0f, 0.0f));
  meshes.back().name = "denormal";
  meshes.push_back(transformed(cubeMesh(), 2e-38f, 0.0f, 0.0f, 0.0f));
  meshes.back().name = "around the smallest normal number";
  meshes.push_back(transformed(soupOf("", 60, 0.1f, 77), 9e14f, 0.0f, 0.0f, 0.0f));
  meshes.back().name = "huge";
  for (float& coordinate : meshes.back().vertices) coordinate = std::fmin(1e15f, std::fmax(-1e15f, coordinate));
  meshes.push_back(transformed(icosphereMesh(1), 1e13f, 9e14f, 9e14f, -9e14f));
  meshes.back().name = "huge and far away";
  meshes.push_back(manyScales("all scales", -149, 50, 78));
  meshes.push_back(manyScales("small scales", -20, 4, 79));
  meshes.push_back(transformed(starMesh(1, 80), 1.0f, 1e7f, -1e7f, 1e7f));
  meshes.back().name = "at 1e7";
  meshes.push_back(gridBoxMesh(4));
  meshes.push_back(flat(soupOf("soup", 80, 0.5f, 81), 0));
  meshes.push_back(flat(queryMeshOf("terrain", terrainMesh(7, 82)), 2));
  meshes.push_back(queryMeshOf("terrain", terrainMesh(9, 83)));
  meshes.push_back(fan(5));
  meshes.push_back(fan(150));
  meshes.push_back(concentric(60));
  meshes.push_back(joined("two solids", icosphereMesh(2), transformed(starMesh(1, 84), 1.0f, 0.3f, 0.2f, 0.1f)));
  meshes.push_back(joined("solids in each other", cubeMesh(), transformed(cubeMesh(), 0.5f, 0.0f, 0.0f, 0.25f)));
  meshes.push_back(withUnusedVertices(icosphereMesh(1)));
  return meshes;
}

}  // namespace qzTest
