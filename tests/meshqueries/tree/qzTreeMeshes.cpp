#include "meshqueries/tree/qzTreeMeshes.h"

#include <cmath>
#include <random>

namespace qzTest {

namespace {

class Random {
 public:
  explicit Random(std::uint32_t seed) : mBits(seed) {}
  float below1() { return float(mBits() >> 8) * 0x1p-24f; }
  float sign() { return (mBits() & 1) != 0 ? 1.0f : -1.0f; }

 private:
  std::mt19937 mBits;
};

void addPoints(QueryMesh& mesh, const float (&points)[3][3]) {
  std::uint32_t corners[3];
  for (int c = 0; c < 3; ++c) corners[c] = mesh.addVertex(points[c][0], points[c][1], points[c][2]);
  mesh.addTriangle(corners[0], corners[1], corners[2]);
}

// A small right triangle at a place.
void addAt(QueryMesh& mesh, float x, float y, float z, float size) {
  addPoints(mesh, {{x, y, z}, {x + size, y, z}, {x, y + size, z}});
}

}  // namespace

QueryMesh landscapeMesh(int size, std::uint32_t seed) {
  QueryMesh mesh;
  mesh.name = "landscape of " + std::to_string(size);
  Random random(seed);
  for (int y = 0; y <= size; ++y)
    for (int x = 0; x <= size; ++x) mesh.addVertex(float(x), float(y), 3 * random.below1());
  const auto at = [&](int x, int y) { return std::uint32_t(y * (size + 1) + x); };
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x) {
      mesh.addTriangle(at(x, y), at(x + 1, y), at(x, y + 1));
      mesh.addTriangle(at(x + 1, y), at(x + 1, y + 1), at(x, y + 1));
    }
  return mesh;
}

QueryMesh looseTriangles(int nbTriangles, std::uint32_t seed) {
  QueryMesh mesh;
  mesh.name = "loose triangles, " + std::to_string(nbTriangles);
  Random random(seed);
  for (int i = 0; i < nbTriangles; ++i) {
    float points[3][3];
    const float x = random.below1(), y = random.below1(), z = random.below1(), size = 0.1f * random.below1();
    for (auto& point : points) {
      point[0] = x + size * random.below1();
      point[1] = y + size * random.below1();
      point[2] = z + size * random.below1();
    }
    addPoints(mesh, points);
  }
  return mesh;
}

QueryMesh needles(int nbTriangles, std::uint32_t seed) {
  QueryMesh mesh;
  mesh.name = "needles, " + std::to_string(nbTriangles);
  Random random(seed);
  for (int i = 0; i < nbTriangles; ++i) {
    float points[3][3];
    const float part = random.below1(), length = part * part * part * part;
    for (int axis = 0; axis < 3; ++axis) {
      points[0][axis] = random.below1();
      points[1][axis] = points[0][axis] + length * (random.below1() - 0.5f);
      points[2][axis] = points[0][axis] + 0.01f * random.below1();
    }
    addPoints(mesh, points);
  }
  return mesh;
}

std::vector<QueryMesh> extremeMeshes() {
  std::vector<QueryMesh> all;
  const auto add = [&](const std::string& name) -> QueryMesh& {
    all.emplace_back();
    all.back().name = name;
    return all.back();
  };

  QueryMesh& equal = add("10,000 equal triangles");
  for (int c = 0; c < 3; ++c) equal.addVertex(float(c == 1), float(c == 2), 0);
  for (int i = 0; i < 10000; ++i) equal.addTriangle(0, 1, 2);

  QueryMesh& points = add("20,000 triangles at one point");
  points.addVertex(1, 2, 3);
  for (int i = 0; i < 20000; ++i) points.addTriangle(0, 0, 0);

  QueryMesh& centred = add("triangles of one centre");
  Random random(1);
  for (int i = 0; i < 10000; ++i) {
    const float x = 1 + random.below1(), y = 1 + random.below1(), z = 1 + random.below1();
    addPoints(centred, {{x, y, z}, {-x, -y, -z}, {0, 0, 0}});
  }

  QueryMesh& line = add("triangles along a line, without area");
  for (int i = 0; i < 10000; ++i) addPoints(line, {{float(i), 0, 0}, {float(i + 1), 0, 0}, {float(i), 0, 0}});

  QueryMesh& huge = add("coordinates up to 1e15");
  for (int i = 0; i < 10000; ++i) {
    float p[3][3];
    for (auto& point : p)
      for (float& x : point) x = 1e15f * random.below1() * random.sign();
    addPoints(huge, p);
  }

  QueryMesh& denormal = add("denormal coordinates");
  for (int i = 0; i < 10000; ++i)
    addAt(denormal, 1e-42f * random.below1(), 1e-42f * random.below1(), 1e-42f * random.below1(), 1e-44f);

  QueryMesh& allSizes = add("coordinates of all sizes");
  for (int i = 0; i < 20000; ++i) {
    float p[3][3];
    for (auto& point : p)
      for (float& x : point) x = std::ldexp(1 + random.below1(), int(random.below1() * 197) - 148) * random.sign();
    addPoints(allSizes, p);
  }

  QueryMesh& shrinking = add("sizes that shrink by half");
  for (int i = 49; i > -148; --i) addAt(shrinking, std::ldexp(1.0f, i), 0, 0, std::ldexp(1.0f, i - 2));

  // In each octave of x one of y, and in each of these one of z.
  QueryMesh& nested = add("clusters in clusters");
  for (int i = 49; i > -120; i -= 5)
    for (int j = 49; j > -120; j -= 5)
      for (int k = 49; k > -120; k -= 5)
        addAt(nested, std::ldexp(1.0f, i), std::ldexp(1.0f, j), std::ldexp(1.0f, k), std::ldexp(1.0f, -130));

  QueryMesh& twoClusters = add("a tiny cluster and a far triangle");
  for (int i = 0; i < 20000; ++i)
    addAt(twoClusters, 1e-25f * random.below1(), 1e-25f * random.below1(), 1e-25f * random.below1(), 1e-27f);
  addAt(twoClusters, 1e15f, -1e15f, 1e15f, 1e9f);

  QueryMesh& fan = add("a fan of triangles at one vertex");
  fan.addVertex(0, 0, 0);
  for (int i = 0; i <= 20000; ++i) fan.addVertex(std::cos(float(i) * 3e-4f), std::sin(float(i) * 3e-4f), 0.5f);
  for (std::uint32_t i = 1; i <= 20000; ++i) fan.addTriangle(0, i, i + 1);

  all.push_back(landscapeMesh(150, 2));
  all.push_back(looseTriangles(20000, 3));
  all.push_back(unshared(landscapeMesh(40, 4)));
  return all;
}

}  // namespace qzTest
