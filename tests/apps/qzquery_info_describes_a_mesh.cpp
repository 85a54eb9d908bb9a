#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <toolkit/build/qzSAHFeeder.h>
#include <toolkit/inspect/qzTraversalCost.h>
#include <toolkit/query/qzHierarchy.h>

#include <nlohmann/json.hpp>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

#include <iostream>
#include <sstream>

using namespace qzTest;

namespace {

/// Whether the answer about a binary hierarchy is what the hierarchy says of itself.
void checkBinary(const nlohmann::json& info, const qzGenericBVH& bvh) {
  int nbNodes, nbLeaves, min, max;
  float average;
  std::ostringstream unwanted;  // getBVHInfo prints a line
  std::streambuf* const output = std::cout.rdbuf(unwanted.rdbuf());
  bvh.getBVHInfo(nbNodes, nbLeaves, min, max, average);
  std::cout.rdbuf(output);
  CHECK(info["nodes"] == 2 * nbLeaves - 1);
  CHECK(info["leaves"] == nbLeaves);
  CHECK(info["leafTriangles"]["min"] == min);
  CHECK(info["leafTriangles"]["max"] == max);
  CHECK(info["leafTriangles"]["average"].get<float>() == doctest::Approx(average));
  CHECK(info["expectedCost"] == qzToolkit::expectedTraversalCost(bvh, 1.0, 1.0));
}

}  // namespace

TEST_CASE("the JSON result has the sizes of the mesh and of the library's hierarchy") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = terrainMesh(20, 5);
  const std::string name = folder.write("mesh.ply", asPlyBytes(mesh, false));
  for (unsigned leafSize : {1u, 4u, 64u}) {
    const Outcome outcome = runQuery({"info", name, "--json", "--leaf", std::to_string(leafSize)});
    CHECK(outcome.exitCode == 0);
    CHECK(outcome.error.empty());
    const nlohmann::json info = nlohmann::json::parse(outcome.output);
    qzToolkit::qzHierarchy hierarchy;
    hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, leafSize);
    CHECK(info["file"] == name);
    CHECK(info["triangles"] == 800);
    CHECK(info["degenerateTriangles"] == 0);
    CHECK(info["vertices"] == 441);
    CHECK(info["leafSize"] == leafSize);
    CHECK(info["nodes"] == hierarchy.getNoNodes());
    CHECK(info["quadruplets"] == hierarchy.getNoTriangleQuadruplets());
    CHECK(info["bytes"] == hierarchy.getBytes());
    CHECK(info["buildSeconds"].get<double>() > 0.0);
    qzBBox box;
    for (int v = 0; v < 441; ++v) box.selfExpand(mesh.getVertexBuffer()->Position3(v));
    for (int axis = 0; axis < 3; ++axis) {
      CHECK(info["box"]["min"][static_cast<std::size_t>(axis)].get<float>() == box.getMinPoint()[axis]);
      CHECK(info["box"]["max"][static_cast<std::size_t>(axis)].get<float>() == box.getMaxPoint()[axis]);
    }
  }
}

TEST_CASE("the result has the leaves and the expected cost of the binary hierarchy, for either builder") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = terrainMesh(20, 5);
  const std::string name = folder.write("mesh.ply", asPlyBytes(mesh, false));

  qzLinearGenericBVHBuilder builder;
  builder.setMaxPrimitivesPerLeaf(7);
  qzGenericBVH linear;
  builder.build(qzBVHTriangleContainer(mesh), linear, nullptr, 20);
  nlohmann::json info = nlohmann::json::parse(runQuery({"info", name, "--json", "--leaf", "7"}).output);
  CHECK(info["builder"] == "linear");
  checkBinary(info["binary"], linear);

  qzToolkit::qzSAHFeeder feeder;
  feeder.setMesh(mesh);
  qzGenericBVH bySurface;
  feeder.build(bySurface);
  qzToolkit::qzHierarchy hierarchy;
  hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, bySurface, mesh);
  info = nlohmann::json::parse(runQuery({"info", name, "--json", "--builder", "sah"}).output);
  CHECK(info["builder"] == "sah");
  CHECK(info.find("leafSize") == info.end());
  CHECK(info["nodes"] == hierarchy.getNoNodes());
  CHECK(info["quadruplets"] == hierarchy.getNoTriangleQuadruplets());
  checkBinary(info["binary"], bySurface);
}

TEST_CASE("the result as text") {
  const TemporaryFolder folder;
  const std::string name = folder.write("mesh.obj", "v -1 0 0\nv 1 0 0\nv 0 2.5 0\nv 9 9 9\nf 1 2 3\nf 1 1 2\n");
  const Outcome outcome = runQuery({"info", name});
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.error.empty());
  const std::string expected = "file         " + name +
                               "\n"
                               "triangles    2, 1 of them degenerate\n"
                               "vertices     4\n"
                               "box          x -1 to 1, y 0 to 2.5, z 0 to 0\n"
                               "nodes        0\n"
                               "quadruplets  1\n"
                               "bytes        208\n"
                               "build time   ";
  CHECK(outcome.output.substr(0, expected.size()) == expected);
  CHECK(outcome.output.find("\nbinary tree  1 nodes, 1 leaves of 2 to 2 triangles, 2 on average\n"
                            "ray cost     2 expected tests per ray that hits the box, by the surface-area metric\n") !=
        std::string::npos);
}

TEST_CASE("degenerate triangles are those that no ray can hit") {
  const TemporaryFolder folder;
  const std::string name =
      folder.write("mesh.obj",
                   "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 1 0\nv 1e-30 0 0\nv 0 1e-30 0\nv 1e30 0 0\nv 0 1e30 0\n"
                   "f 1 2 4\nf 1 1 2\nf 2 2 2\nf 1 2 3\nf 1 5 6\nf 1 7 8\n");
  const nlohmann::json info = nlohmann::json::parse(runQuery({"info", name, "--json"}).output);
  CHECK(info["triangles"] == 6);
  CHECK(info["degenerateTriangles"] == 5);
}

TEST_CASE("a file name that is not UTF-8 still gives JSON") {
  const TemporaryFolder folder;
  const std::string name = folder.write("m\xFFsh.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const Outcome outcome = runQuery({"info", name, "--json"});
  CHECK(outcome.exitCode == 0);
  CHECK(nlohmann::json::parse(outcome.output)["triangles"] == 1);
}
