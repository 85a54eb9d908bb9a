// Winding numbers against what they should be: whole on closed meshes, the sum of all solid angles on others.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "meshqueries/qzQueryBuilds.h"
#include "plain/qzPlainWinding.h"
#include "support/scenes/qzQueryPoints.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

double windingAt(const MeshIndex& index, float x, float y, float z) {
  const float point[3] = {x, y, z};
  return index.windingNumber(point);
}

struct Accuracy {
  double worst = 0;
  int nbJudged = 0;
};

/// The largest difference from the sum of solid angles at points farther than 1e-4 of the mesh's size from it.
Accuracy accuracyOn(const QueryMesh& mesh, int count, std::uint32_t seed) {
  const MeshIndex index(mesh.view());
  QueryPoints points(mesh, seed);
  Accuracy accuracy;
  std::array<float, 3> worstPoint = {};
  for (int i = 0; i < count; ++i) {
    const std::array<float, 3> point = i % 3 == 0 ? points.around() : points.inLine();
    // A depth below half the smallest float counts as 0; beyond 1e15 all winding numbers are 0.
    const long double distance = qzPlain::distanceFrom(mesh.view(), point.data());
    if (distance < 1e-4L * static_cast<long double>(points.size()) || distance < 0x1p-149L) continue;
    if (std::any_of(point.begin(), point.end(), [](float x) { return std::fabs(x) > 1e15f; })) continue;
    const auto judge = static_cast<double>(qzPlain::solidAngles(mesh.view(), point.data()));
    const double error = std::fabs(index.windingNumber(point.data()) - judge);
    ++accuracy.nbJudged;
    if (error > accuracy.worst) {
      accuracy.worst = error;
      worstPoint = point;
    }
  }
  INFO(mesh.name, ", ", mesh.triangleCount(), " triangles, ", describe(worstPoint));
  CHECK(accuracy.worst < 1e-6);
  return accuracy;
}

QueryMesh changed(const QueryMesh& mesh, std::uint32_t seed) {
  Random random(seed);
  QueryMesh result = mesh;
  result.triangles.clear();
  for (std::size_t i = 0; i < mesh.triangleCount(); ++i) {
    const std::uint32_t *t = &mesh.triangles[3 * i], choice = random.below(10);
    if (choice == 0) continue;                              // a hole
    if (choice == 1) result.addTriangle(t[0], t[2], t[1]);  // turned over
    if (choice != 1) result.addTriangle(t[0], t[1], t[2]);
    if (choice == 2) result.addTriangle(t[0], t[1], t[2]);  // twice
  }
  return result;
}

}  // namespace

TEST_CASE("closed meshes give whole numbers everywhere, on their vertices, edges and faces too") {
  std::uint32_t seed = 3101;
  for (const QueryMesh& closed : closedMeshes())
    for (const QueryMesh& mesh : {closed, unshared(closed), transformed(closed, 1e-6f, 0.0f, 0.0f, 0.0f),
                                  transformed(closed, 1.0f, 1e7f, 1e7f, -1e7f), joined("", closed, closed)}) {
      const MeshIndex index(mesh.view());
      QueryPoints points(mesh, ++seed);
      int nbInside = 0, nbOutside = 0;
      for (int i = 0; i < 400; ++i) {
        const std::array<float, 3> point = points.any();
        const double winding = index.windingNumber(point.data());
        if (winding != std::floor(winding)) FAIL_CHECK(mesh.name, " at ", describe(point), ": ", winding);
        ++(winding != 0 ? nbInside : nbOutside);
      }
      INFO(mesh.name);
      CHECK(nbOutside >= 20);
      if (mesh.vertices[0] < 1e6f) CHECK(nbInside >= 20);  // others are nearly flattened by rounding
    }
}

TEST_CASE("inside a closed mesh it is 1 whose normals point outwards, -1 for the others, and meshes add up") {
  for (const QueryMesh& mesh : closedMeshes()) {
    QueryMesh insideOut = mesh;
    for (std::size_t i = 0; i < mesh.triangleCount(); ++i)
      std::swap(insideOut.triangles[3 * i], insideOut.triangles[3 * i + 1]);
    const bool isTorus = mesh.name.find("torus") != std::string::npos;
    const MeshIndex index(mesh.view()), indexOfOther(insideOut.view()), indexOfTwo(joined("", mesh, mesh).view()),
        indexOfNone(joined("", mesh, insideOut).view());
    INFO(mesh.name);
    CHECK(sameBits(windingAt(index, 0.01f, 0.02f, 0.03f), isTorus ? 0.0 : 1.0));
    CHECK(sameBits(windingAt(indexOfOther, 0.01f, 0.02f, 0.03f), isTorus ? 0.0 : -1.0));
    CHECK(sameBits(windingAt(indexOfTwo, 0.01f, 0.02f, 0.03f), isTorus ? 0.0 : 2.0));
    CHECK(sameBits(windingAt(indexOfNone, 0.01f, 0.02f, 0.03f), 0.0));
    const float inside[3] = {0.01f, 0.02f, 0.03f}, outside[3] = {0.1f, 0.1f, -9.0f};
    CHECK(index.contains(inside) == !isTorus);
    CHECK(indexOfOther.contains(inside) == !isTorus);
    CHECK(!index.contains(outside));
    CHECK(sameBits(windingAt(index, 0.1f, 0.1f, -9.0f), 0.0));
  }
}

TEST_CASE("a mesh with a hole is inside where most directions meet it") {
  QueryMesh mesh = cubeMesh();
  mesh.triangles.erase(mesh.triangles.begin(), mesh.triangles.begin() + 6);  // the lower side, across z
  const MeshIndex index(mesh.view());
  // A side of a cube as seen from its centre is a sixth of the sphere, from the middle of the other side's place 1/20.
  CHECK(windingAt(index, 0.0f, 0.0f, 0.0f) == doctest::Approx(5.0 / 6).epsilon(1e-15));
  CHECK(windingAt(index, 0.0f, 0.0f, -0.5f) == doctest::Approx(0.5).epsilon(1e-15));
  CHECK(windingAt(index, 0.0f, 0.0f, -1.0f) == doctest::Approx(1.0 / 6).epsilon(1e-15));
  CHECK(windingAt(index, 0.0f, 0.0f, 1.0f) ==
        doctest::Approx(-double(qzPlain::solidAngles(cubeMesh().view(0, 2), std::array<float, 3>{0, 0, 1}.data()))));
  const float center[3] = {}, below[3] = {0, 0, -0.75f};
  CHECK(index.contains(center));
  CHECK(!index.contains(below));
}

TEST_CASE("meshes with holes, turned and doubled triangles give the sum of all solid angles") {
  double worst = 0;
  int nbJudged = 0;
  std::uint32_t seed = 3201;
  for (const QueryMesh& closed : closedMeshes())
    for (const QueryMesh& mesh : {changed(closed, seed), transformed(changed(closed, seed + 1), 1e5f, 0, 0, 0),
                                  transformed(changed(closed, seed + 2), 1e-5f, 0, 0, 0),
                                  transformed(changed(closed, seed + 3), 1.0f, 100.3f, 100.7f, -99.1f)}) {
      const int count = mesh.triangleCount() < 500 ? 400 : 100;
      const Accuracy accuracy = accuracyOn(mesh, count, ++seed);
      worst = std::max(worst, accuracy.worst);
      nbJudged += accuracy.nbJudged;
    }
  CHECK(nbJudged > 5000);
  CHECK(worst < 1e-9);
}

TEST_CASE("loose triangles, slivers and terrains give the sum of all solid angles") {
  double worst = 0;
  std::uint32_t seed = 3301;
  std::vector<QueryMesh> meshes = difficultMeshes();
  meshes.push_back(queryMeshOf("terrain", terrainMesh(30, 3302)));
  meshes.push_back(queryMeshOf("soup", soupMesh(1000, 3303)));
  for (const QueryMesh& mesh : meshes) {
    if (mesh.triangles.empty() || mesh.name == "all scales") continue;
    worst = std::max(worst, accuracyOn(mesh, mesh.triangleCount() < 200 ? 1000 : 200, ++seed).worst);
  }
}

TEST_CASE("close to long edges, beneath them and in line with their ends, the error stays below 1e-6") {
  // Coordinates of all sizes, so that differences round: images move against the exact edges, and may lie on the other
  // side of the ray.
  Random random(3401);
  double worst = 0;
  int nbJudged = 0, nbBeneath = 0;
  for (int i = 0; i < 6000; ++i) {
    QueryMesh mesh;
    const auto coordinate = [&] { return std::ldexp(random.between(-1.0f, 1.0f), -static_cast<int>(random.below(3))); };
    for (int v = 0; v < 4; ++v) {
      const float x = coordinate(), y = coordinate(), z = coordinate();
      mesh.addVertex(x, y, z);
    }
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(0, 2, 3);
    // Below a point of an edge, nearly: by 1.1e-4 to 1 of the size, aside by up to some roundings.
    const float s = random.unit();
    const float *a = mesh.corner(0, 0), *b = mesh.corner(0, 1);
    float point[3];
    for (std::size_t axis = 0; axis < 3; ++axis) point[axis] = a[axis] + s * (b[axis] - a[axis]);
    point[2] -= std::ldexp(2.5e-4f, static_cast<int>(random.below(12)));
    for (std::size_t axis = 0; axis < 2; ++axis)
      for (std::uint32_t k = random.below(4); k > 0; --k)
        point[axis] = std::nextafter(point[axis], i % 2 == 0 ? kInf : -kInf);
    if (qzPlain::distanceFrom(mesh.view(), point) < 2e-4L) continue;
    const double error = std::fabs(MeshIndex(mesh.view()).windingNumber(point) -
                                   static_cast<double>(qzPlain::solidAngles(mesh.view(), point)));
    ++nbJudged;
    nbBeneath += std::fabs((point[0] - a[0]) * (b[1] - a[1]) - (point[1] - a[1]) * (b[0] - a[0])) < 1e-6f;
    worst = std::max(worst, error);
    if (error > 1e-9) FAIL_CHECK(i, ": ", error);
  }
  CHECK(nbJudged > 4000);
  CHECK(nbBeneath > 4000);
}

TEST_CASE("parts of a mesh have winding numbers that add up to that of the whole") {
  const QueryMesh mesh = starMesh(3, 3501);
  const std::size_t half = mesh.triangleCount() / 3;
  const MeshIndex whole(mesh.view()), first(mesh.view(0, half)), second(mesh.view(half, mesh.triangleCount() - half));
  QueryPoints points(mesh, 3502);
  double worst = 0;
  for (int i = 0; i < 1000; ++i) {
    const std::array<float, 3> point = i % 2 == 0 ? points.around() : points.inLine();
    worst = std::max(worst, std::fabs(first.windingNumber(point.data()) + second.windingNumber(point.data()) -
                                      whole.windingNumber(point.data())));
  }
  CHECK(worst < 1e-12);
}
