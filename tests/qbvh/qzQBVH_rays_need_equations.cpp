// The ray queries on a hierarchy without eTrianglesEquations.

#include <doctest/doctest.h>

#include "support/qzObservers.h"
#include "support/qzStandardStream.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

const char kMessage[] = "error: QBVH is not built with the right data type (should be qzQBVH::eTrianglesEquations)";
const Ray kDown{Point(0.1f, 0.1f, 5.0f), Point(0.0f, 0.0f, -1.0f)};

bool isUntouched(const Answer& answer) {
  return sameAnswer(answer, Answer{false, kDown.t});
}

struct Hierarchies {
  OpenQBVH empty, vertices, equations;
  Hierarchies() {
    const qz::qzTriMesh mesh = terrainMesh(4, 31);
    buildFromMesh(vertices, qzQBVH::eTrianglesVertices, mesh, 4);
    buildFromMesh(equations, qzQBVH::eTrianglesEquations, mesh, 4);
  }
};

}  // namespace

TEST_CASE("intersectRay without equations logs one record of type 2 and does not change the outputs") {
  const Hierarchies hierarchies;
  for (const OpenQBVH* hierarchy : {&hierarchies.empty, &hierarchies.vertices}) {
    const LogCapture log;
    CHECK(isUntouched(cast(*hierarchy, kDown)));
    CHECK(log.records() == std::vector<Record>{{qz::eLogError, "", kMessage}});
    CHECK(isUntouched(cast(*hierarchy, kDown)));
    CHECK(log.records().size() == 2);
  }
}

TEST_CASE("the record is made only when type 2 is enabled") {
  const Hierarchies hierarchies;
  for (int type = 0; type <= 3; ++type) {
    CAPTURE(type);
    const LogOfOneType log(type);
    CHECK(isUntouched(cast(hierarchies.vertices, kDown)));
    CHECK(log.records().size() == (type == 2 ? 1u : 0u));
    CHECK(log.asked() == std::vector<int>{2});
  }
}

TEST_CASE("without a logger the record goes to std::clog") {
  const Hierarchies hierarchies;
  const NoLog noLog;
  const StandardStream clog(std::clog);
  CHECK(isUntouched(cast(hierarchies.vertices, kDown)));
  CHECK(clog.text() == std::string(kMessage) + "\n");
}

TEST_CASE("intersectRaySymmetric without equations returns false, logs nothing and does not change the outputs") {
  const Hierarchies hierarchies;
  const LogOfOneType log(2);
  CHECK(isUntouched(castSymmetric(hierarchies.empty, kDown)));
  CHECK(isUntouched(castSymmetric(hierarchies.vertices, kDown)));
  CHECK(log.records().empty());
  CHECK(log.asked().empty());
}

TEST_CASE("rays on a hierarchy with equations log nothing") {
  const Hierarchies hierarchies;
  const LogOfOneType log(2);
  CHECK(cast(hierarchies.equations, kDown).hit);
  CHECK(castSymmetric(hierarchies.equations, kDown).hit);
  CHECK(log.records().empty());
  CHECK(log.asked().empty());
}
