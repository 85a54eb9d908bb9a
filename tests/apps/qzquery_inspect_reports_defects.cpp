#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

// A triangle with the same corner twice, a duplicate with opposite winding, a triangle with a non-finite vertex, and an
// unused vertex.
const std::string kBadMesh =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\nv nan 0 0\nv 9 9 inf\nv 0 0 0\nf 1 2 3\nf 1 3 2\nf 6 1 2\nf 1 2 4\n";

}  // namespace

TEST_CASE("all defects of a mesh are counted, with exit code 0") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.obj", kBadMesh);
  const Outcome outcome = runQuery({"inspect", name, "--json"});
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.error.empty());
  const nlohmann::json answer = nlohmann::json::parse(outcome.output);
  CHECK(answer["file"] == name);
  CHECK(answer["triangles"] == 4);
  CHECK(answer["degenerateTriangles"] == 1);
  CHECK(answer["repeatedCornerTriangles"] == 1);
  CHECK(answer["nonFiniteTriangles"] == 1);
  CHECK(answer["duplicateTriangles"] == 1);
  CHECK(answer["turnedDuplicateTriangles"] == 1);
  CHECK(answer["edges"] == 3);
  CHECK(answer["borderEdges"] == 0);
  CHECK(answer["crowdedEdges"] == 0);
  CHECK(answer["turnedEdges"] == 0);
  CHECK(answer["vertices"] == 6);
  CHECK(answer["unusedVertices"] == 1);
  CHECK(answer["repeatedVertices"] == 1);
  CHECK(answer["nonFiniteVertices"] == 2);
  CHECK(answer["box"]["max"] == nlohmann::json({1.0, 1.0, 0.0}));
  CHECK(answer["stepsAcross"] == 8388608.0);
  CHECK(answer["estimate"]["sampleTriangles"] == 3);
}

TEST_CASE("the text has the same numbers as the JSON") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.obj", kBadMesh);
  const Outcome outcome = runQuery({"inspect", name});
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.error.empty());
  const std::string expected =
      "file        " + name +
      "\n"
      "triangles   4: 1 degenerate (1 with two corners at the same position), 1 not finite\n"
      "duplicates  1, 1 of them with opposite winding\n"
      "edges       3: 0 boundary (in one triangle), 0 non-manifold (in more than two), 0 with inconsistent winding\n"
      "vertices    6: 1 unused, 1 at the position of another, 2 not finite\n"
      "box         x 0 to 1, y 0 to 1, z 0 to 0\n"
      "precision   floats are 1.19e-07 apart at the largest coordinate, 8.39e+06 steps along the longest side\n"
      "memory      about ";
  CHECK(outcome.output.substr(0, expected.size()) == expected);
  CHECK(outcome.output.find(" peak during the build, without the mesh\nbuild time  about ") != std::string::npos);
}

TEST_CASE("the memory estimate is exact for a small mesh") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.stl", asStlBytes(terrainMesh(40, 3)));
  for (const char* builder : {"linear", "sah"}) {
    CAPTURE(builder);
    const auto info = nlohmann::json::parse(runQuery({"info", name, "--json", "--builder", builder}).output);
    const auto answer = nlohmann::json::parse(runQuery({"inspect", name, "--json", "--builder", builder}).output);
    CHECK(answer["estimate"]["bytes"] == info["bytes"]);
    CHECK(answer["estimate"]["builder"] == builder);
    CHECK(answer["estimate"]["buildSeconds"].get<double>() > 0.0);
    CHECK((answer["estimate"].find("peakBytes") == answer["estimate"].end()) == (std::string(builder) == "sah"));
    CHECK(answer["degenerateTriangles"] == info["degenerateTriangles"]);
    CHECK(answer["repeatedVertices"].get<int>() == 3 * 3200 - 41 * 41);
    CHECK(answer["borderEdges"] == 160);
  }
}

TEST_CASE("memory and time of the finite triangles are scaled to all triangles") {
  const TemporaryFolder folder;
  constexpr int kNbOthers = 300000;
  std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 inf\nf 1 2 3\n";
  for (int i = 0; i < kNbOthers; ++i) text += "f 1 2 4\n";
  const auto answer = nlohmann::json::parse(runQuery({"inspect", folder.write("mesh.obj", text), "--json"}).output);
  CHECK(answer["estimate"]["sampleTriangles"] == 1);
  CHECK(answer["estimate"]["bytes"] == (kNbOthers + 1) * 208);
  CHECK(answer["estimate"]["buildSeconds"].get<double>() > 0.01);  // no build takes less than 30 nanoseconds
}

TEST_CASE("a mesh without a finite triangle has no estimate") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const Outcome outcome = runQuery({"inspect", name, "--json"});
  CHECK(outcome.exitCode == 0);
  const nlohmann::json answer = nlohmann::json::parse(outcome.output);
  CHECK(answer["nonFiniteTriangles"] == 1);
  CHECK(answer.find("box") == answer.end());
  CHECK(answer.find("estimate") == answer.end());
}

TEST_CASE("a file that cannot be read is exit code 2") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n");
  const Outcome outcome = runQuery({"inspect", name, "--json"});
  CHECK(outcome.exitCode == 2);
  CHECK(outcome.output.empty());
  CHECK(outcome.error == "qzquery: " + name + ":4: the face names vertex 4, the file has 3\n");
}
