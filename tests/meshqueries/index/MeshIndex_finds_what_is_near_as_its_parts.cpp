// An index over n triangles finds what n indices over one triangle each find, combined: the smallest distance, of equal
// ones the smallest number, and unions in order. So does an index over parts of a mesh.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzNearChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

NearAnswers combined(const std::vector<MeshIndex>& parts, const NearQuestion& question) {
  NearAnswers all;
  all.nearest = MeshIndex().nearest(question.point.data());
  for (const MeshIndex& part : parts) {
    const NearAnswers own = nearAnswersOf(part, question);
    if (own.nearest && (!all.nearest || own.nearest.distance < all.nearest.distance ||
                        (own.nearest.distance == all.nearest.distance && own.nearest.triangle < all.nearest.triangle)))
      all.nearest = own.nearest;
    all.inBox.insert(all.inBox.end(), own.inBox.begin(), own.inBox.end());
    all.inSphere.insert(all.inSphere.end(), own.inSphere.begin(), own.inSphere.end());
    all.inRegion.insert(all.inRegion.end(), own.inRegion.begin(), own.inRegion.end());
  }
  return all;
}

/// Indices over so many triangles each, the last first: numbers in order do not come by themselves.
std::vector<MeshIndex> partsOf(const QueryMesh& mesh, std::uint32_t firstTriangle, std::size_t size) {
  std::vector<MeshIndex> parts;
  for (std::size_t i = 0; i < mesh.triangleCount(); i += size) {
    BuildOptions options;
    options.quality = allQualities()[parts.size() % 3];
    options.threads = 1;
    options.firstTriangle = firstTriangle + static_cast<std::uint32_t>(i);
    parts.emplace_back(mesh.view(i, std::min(size, mesh.triangleCount() - i)), options);
  }
  return parts;
}

void checkParts(const QueryMesh& mesh, std::uint32_t firstTriangle, std::size_t size, int count, std::uint32_t seed) {
  BuildOptions options;
  options.firstTriangle = firstTriangle;
  const MeshIndex whole(mesh.view(), options);
  const std::vector<MeshIndex> parts = partsOf(mesh, firstTriangle, size);
  NearQuestions questions(mesh, seed);
  std::vector<Place> points;
  std::vector<Nearest> nearest;
  for (int i = 0; i < count; ++i) {
    NearQuestion question = questions.any();
    const std::string wrong = wrongAnswer(whole, combined(parts, question), question);
    if (!wrong.empty()) FAIL_CHECK(mesh.name, ": ", wrong);
    question.distance = kInf;
    points.push_back(question.point);
    nearest.push_back(combined(parts, question).nearest);
  }
  const std::string wrong = wrongBatch(whole, nearest, points);
  if (!wrong.empty()) FAIL_CHECK(mesh.name, ": ", wrong);
}

}  // namespace

TEST_CASE("an index over n triangles finds what n indices over one triangle each find, combined") {
  std::uint32_t seed = 1510;
  for (const QueryMesh& mesh : difficultMeshes()) {
    ++seed;
    checkParts(mesh, seed % 2 == 0 ? 0 : 1000, 1, 40, seed);
  }
}

TEST_CASE("indices over parts of a mesh find together what an index over all of it finds") {
  std::uint32_t seed = 1560;
  for (const QueryMesh& mesh : difficultMeshes()) checkParts(mesh, 7, 13, 60, ++seed);
  const QueryMesh terrain = queryMeshOf("terrain", terrainMesh(30, 1601));
  checkParts(terrain, 0, 300, 60, 1602);
  // The last number is the one before kNone.
  checkParts(terrain, kNone - static_cast<std::uint32_t>(terrain.triangleCount()), 700, 60, 1603);
}

TEST_CASE("of equal distances the smallest triangle number is reported, wherever it is in the tree") {
  // The middle of a cube is equally far from all faces; at the middle of an icosphere's vertex all around are equally far.
  const QueryMesh cube = cubeMesh();
  const float middle[3] = {0.0f, 0.0f, 0.0f};
  QueryMesh far;  // a triangle, then copies of another, in one place and beside it
  const auto add = [&](float x) {
    const std::uint32_t a = far.addVertex(x, 0.0f, 1.0f), b = far.addVertex(x, 1.0f, 1.0f),
                        c = far.addVertex(x, 0.0f, 2.0f);
    far.addTriangle(a, b, c);
  };
  add(9.0f);
  for (int i = 0; i < 50; ++i) add(i % 2 == 0 ? 1.0f : -1.0f);
  forEachIndex(cube.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    CHECK(index.nearest(middle).triangle == 0);
    const Nearest atCorner = index.nearest(cube.corner(7, 1));
    CHECK(atCorner.distance == 0.0f);
    for (std::size_t t = 0; t < atCorner.triangle; ++t)
      for (std::size_t k = 0; k < 3; ++k)
        CHECK(!std::equal(cube.corner(t, k), cube.corner(t, k) + 3, cube.corner(7, 1)));
  });
  forEachIndex(far.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    CHECK(index.nearest(middle).triangle == 1);
    CHECK(index.nearest(middle).distance == std::sqrt(2.0f));
    std::vector<std::uint32_t> numbers;
    index.trianglesInSphere(middle, std::sqrt(2.0f), numbers);
    REQUIRE(numbers.size() == 50);
    for (std::uint32_t i = 0; i < 50; ++i) CHECK(numbers[i] == i + 1);
    index.trianglesInSphere(middle, std::nextafter(std::sqrt(2.0f), 0.0f), numbers);
    CHECK(numbers.empty());
  });
}

TEST_CASE("limits are inclusive, and questions that make no sense have no answer") {
  const QueryMesh mesh = cubeMesh();  // from -0.5 to 0.5
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    const float point[3] = {2.5f, 0.1f, 0.2f};
    CHECK(index.nearest(point).distance == 2.0f);
    CHECK(index.nearest(point, 2.0f).distance == 2.0f);
    CHECK(!index.nearest(point, std::nextafter(2.0f, 0.0f)));
    CHECK(!index.nearest(point, kNaN));
    CHECK(!index.nearest(point, -1.0f));
    CHECK(!index.nearest(point, -kInf));
    const float onFace[3] = {0.5f, 0.1f, 0.2f};
    CHECK(index.nearest(onFace, 0.0f).distance == 0.0f);
    CHECK(index.nearest(onFace, -0.0f).distance == 0.0f);
    CHECK(!index.nearest(onFace, -0x1p-149f));

    std::vector<std::uint32_t> numbers;
    const auto inSphere = [&](float radius) {
      index.trianglesInSphere(point, radius, numbers);
      return numbers.size();
    };
    CHECK(inSphere(2.0f) == 1);
    CHECK(inSphere(kInf) == 12);
    CHECK(inSphere(100.0f) == 12);
    CHECK(inSphere(std::nextafter(2.0f, 0.0f)) == 0);
    CHECK(inSphere(kNaN) == 0);
    CHECK(inSphere(-1.0f) == 0);

    const auto inBox = [&](const Place& min, const Place& max) {
      index.trianglesInBox(min.data(), max.data(), numbers);
      return numbers.size();
    };
    CHECK(inBox({-kInf, -kInf, -kInf}, {kInf, kInf, kInf}) == 12);
    CHECK(inBox({-0.4f, -0.4f, -0.4f}, {0.4f, 0.4f, 0.4f}) == 0);
    CHECK(inBox({0.5f, -0.01f, -0.02f}, {0.6f, -0.01f, -0.02f}) >= 1);
    CHECK(inBox({std::nextafter(0.5f, 1.0f), -1.0f, -1.0f}, {kInf, 1.0f, 1.0f}) == 0);
    CHECK(inBox({0.5f, 0.5f, 0.5f}, {0.5f, 0.5f, 0.5f}) >= 3);
    CHECK(inBox({1.0f, -1.0f, -1.0f}, {-1.0f, 1.0f, 1.0f}) == 0);
    CHECK(inBox({kNaN, -1.0f, -1.0f}, {1.0f, 1.0f, 1.0f}) == 0);
    CHECK(inBox({-1.0f, -1.0f, -1.0f}, {1.0f, 1.0f, kNaN}) == 0);
    CHECK(inBox({kInf, -1.0f, -1.0f}, {kInf, 1.0f, 1.0f}) == 0);

    const auto inRegion = [&](const std::vector<PlaneOf>& planes) {
      NearQuestion question;
      question.planes = planes;
      index.trianglesInRegion(question.planeData(), planes.size(), numbers);
      return numbers.size();
    };
    CHECK(inRegion({}) == 12);
    CHECK(inRegion({{1.0f, 0.0f, 0.0f, 0.5f}}) == 10);  // two touch the plane only
    CHECK(inRegion({{1.0f, 0.0f, 0.0f, 0.50001f}}) == 12);
    CHECK(inRegion({{1.0f, 0.0f, 0.0f, -0.5f}}) == 0);
    CHECK(inRegion({{1.0f, 0.0f, 0.0f, kNaN}}) == 0);
    CHECK(inRegion({{kNaN, 0.0f, 0.0f, 5.0f}}) == 0);
    CHECK(inRegion({{0.0f, 0.0f, 0.0f, 1.0f}}) == 12);
    CHECK(inRegion({{0.0f, 0.0f, 0.0f, 0.0f}}) == 0);
    CHECK(inRegion({{0.0f, 0.0f, 0.0f, kInf}}) == 12);
    CHECK(inRegion(std::vector<PlaneOf>(70, PlaneOf{1.0f, 0.0f, 0.0f, 0.25f})) == 10);
    std::vector<PlaneOf> many(40, PlaneOf{1.0f, 0.0f, 0.0f, 8.0f});
    many.push_back({0.0f, -1.0f, 0.0f, -0.25f});
    CHECK(inRegion(many) == 10);  // the last one cuts the upper part off
  });
}

TEST_CASE("an index without triangles finds nothing and clears lists") {
  const MeshIndex none;
  const float min[3] = {-1.0f, -1.0f, -1.0f}, max[3] = {1.0f, 1.0f, 1.0f};
  CHECK(!none.nearest(min));
  CHECK(std::isnan(none.nearest(min).point[0]));
  std::vector<std::uint32_t> numbers = {1, 2};
  none.trianglesInBox(min, max, numbers);
  CHECK(numbers.empty());
  numbers = {1, 2};
  none.trianglesInSphere(min, 5.0f, numbers);
  CHECK(numbers.empty());
  numbers = {1, 2};
  none.trianglesInRegion(nullptr, 0, numbers);
  CHECK(numbers.empty());
}
