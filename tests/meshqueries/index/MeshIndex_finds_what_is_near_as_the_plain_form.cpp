// What is nearest, and what lies in boxes, spheres and regions, against a loop over all triangles with the kernel: bit for
// bit, for trees of every quality and for every instruction set.

#include <doctest/doctest.h>

#include <cmath>

#include "meshqueries/qzQueryBuilds.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzNearChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

struct Asked {
  NearQuestion question;
  NearAnswers expected;
};

std::vector<Asked> questionsOn(const QueryMesh& mesh, std::size_t count, std::uint32_t seed) {
  const qzPlain::tNearQueries plain(mesh.view());
  NearQuestions questions(mesh, seed);
  std::vector<Asked> asked;
  while (asked.size() < count) {
    NearQuestion question = questions.any();
    // Now and then the limit is the distance of a triangle, or a step from it.
    if (questions.below(4) == 0) {
      const Nearest nearest = plain.nearest(question.point.data());
      const std::uint32_t step = questions.below(3);
      if (nearest)
        question.distance = step == 0 ? nearest.distance : std::nextafter(nearest.distance, step == 1 ? kInf : -kInf);
    }
    asked.push_back({question, nearAnswersOf(plain, question)});
  }
  return asked;
}

void checkAll(const QueryMesh& mesh, std::size_t count, std::uint32_t seed) {
  const std::vector<Asked> asked = questionsOn(mesh, count, seed);
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    for (const Asked& one : asked) {
      const std::string wrong = wrongAnswer(index, one.expected, one.question);
      if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ": ", wrong);
    }
  });
}

}  // namespace

TEST_CASE("what is near has the answers of the plain form on difficult meshes") {
  std::size_t nbNear = 0, nbInBox = 0, nbInSphere = 0, nbInRegion = 0, nbEmpty = 0;
  std::uint32_t seed = 1101;
  for (const QueryMesh& mesh : difficultMeshes()) {
    checkAll(mesh, 800, seed);
    for (const Asked& one : questionsOn(mesh, 100, seed)) {
      nbNear += one.expected.nearest ? 1 : 0;
      nbInBox += one.expected.inBox.size();
      nbInSphere += one.expected.inSphere.size();
      nbInRegion += one.expected.inRegion.size();
      nbEmpty += one.expected.inBox.empty() ? 1 : 0;
    }
    ++seed;
  }
  CHECK(nbNear > 1500);
  CHECK(nbInBox > 10000);
  CHECK(nbInSphere > 10000);
  CHECK(nbInRegion > 10000);
  CHECK(nbEmpty > 300);
}

TEST_CASE("what is near has the answers of the plain form on closed meshes of all sizes and places") {
  std::uint32_t seed = 1201;
  for (const QueryMesh& mesh : closedMeshes()) {
    checkAll(mesh, 100, ++seed);
    checkAll(transformed(mesh, 1e-6f, 0.0f, 0.0f, 0.0f), 40, ++seed);
    checkAll(transformed(mesh, 1e6f, -1e6f, 0.0f, 1e6f), 40, ++seed);
    checkAll(transformed(mesh, 1.0f, 1e7f, 1e7f, -1e7f), 40, ++seed);
  }
}

TEST_CASE("what is near has the answers of the plain form on meshes of thousands of triangles") {
  checkAll(queryMeshOf("terrain", terrainMesh(40, 1301)), 150, 1302);
  checkAll(queryMeshOf("soup", soupMesh(4000, 1303)), 150, 1304);
  checkAll(queryMeshOf("awkward", awkwardMesh(4000, 1305)), 150, 1306);
}

TEST_CASE("the caller's floating-point mode changes nothing of what is near, and is kept") {
  const QueryMesh mesh = joined("", transformed(starMesh(1, 1401), 1e-40f, 0.0f, 0.0f, 0.0f), starMesh(1, 1402));
  const std::vector<Asked> asked = questionsOn(mesh, 200, 1403);
  const qzPlain::tNearQueries plain(mesh.view());
  std::vector<Place> points;
  std::vector<Nearest> expected;
  for (const Asked& one : asked) {
    points.push_back(one.question.point);
    expected.push_back(plain.nearest(points.back().data()));
  }
  const MeshIndex index(mesh.view());
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    std::string wrong, wrongOfMany;
    bool isKept;
    {
      const CallersFloatMode callers(mode);
      for (const Asked& one : asked)
        if (wrong.empty()) wrong = wrongAnswer(index, one.expected, one.question);
      wrongOfMany = wrongBatch(index, expected, points);
      isKept = callers.isKept();
    }
    INFO("mode ", static_cast<unsigned int>(mode));
    CHECK(wrong == "");
    CHECK(wrongOfMany == "");
    CHECK(isKept);
  }
}
