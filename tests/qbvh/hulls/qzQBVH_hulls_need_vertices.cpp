// The hull query on a hierarchy without eTrianglesVertices.

#include <doctest/doctest.h>

#include "support/qzObservers.h"
#include "support/qzStandardStream.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

const char kMessage[] = "error: QBVH is not built with the right data type (should be qzQBVH::eTrianglesVertices)";
const Planes kAllOfIt = cubeAround(Point(0.0f, 0.0f, 0.0f), 10.0f);

struct Hierarchies {
  qzQBVH empty, equations, vertices, both;
  Hierarchies() {
    const LogCapture quiet(false);
    const qz::qzTriMesh mesh = terrainMesh(4, 31);
    equations.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);
    vertices.buildFromMesh(qzQBVH::eTrianglesVertices, mesh, 4);
    both.buildFromMesh(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations, mesh, 4);
  }
};

}  // namespace

TEST_CASE("without vertices a hull query returns false and logs one record of type 2 without category") {
  const Hierarchies hierarchies;
  for (const qzQBVH* hierarchy : {&hierarchies.empty, &hierarchies.equations}) {
    for (const Planes& planes : {kAllOfIt, Planes()}) {
      const LogCapture log;
      CHECK_FALSE(meets(*hierarchy, planes));
      CHECK(log.records() == std::vector<Record>{{qz::eLogError, "", kMessage}});
    }
  }
}

TEST_CASE("the record is made only when type 2 is enabled") {
  const Hierarchies hierarchies;
  for (int type = 0; type <= 3; ++type) {
    CAPTURE(type);
    const LogOfOneType log(type);
    CHECK_FALSE(meets(hierarchies.equations, kAllOfIt));
    CHECK(log.records().size() == (type == 2 ? 1u : 0u));
  }
}

TEST_CASE("without a logger the record goes to std::clog") {
  const Hierarchies hierarchies;
  const NoLog noLog;
  const StandardStream clog(std::clog);
  CHECK_FALSE(meets(hierarchies.equations, kAllOfIt));
  CHECK(clog.text() == std::string(kMessage) + "\n");
}

TEST_CASE("with vertices a hull query logs nothing, with or without equations") {
  const Hierarchies hierarchies;
  const LogCapture log;
  CHECK(meets(hierarchies.vertices, kAllOfIt));
  CHECK(meets(hierarchies.both, kAllOfIt));
  CHECK(log.records().empty());
}
